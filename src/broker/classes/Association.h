#pragma once

#include <string>

#include "broker/classes/Rows.h"
#include "broker/model/InstanceStore.h"

// Common parts of the classes of associations.
namespace broker {

// The two ends of an association: records of the same workspace, brought up to date before the row is made.
struct Association
{
    const InstanceStore::Record& first;
    const InstanceStore::Record& second;
};

inline core::CimInstance* firstEnd(const Association& row)
{
    return row.first.instance.get();
}

inline core::CimInstance* secondEnd(const Association& row)
{
    return row.second.instance.get();
}

// Associates each record with the record of the same id, which must exist.
inline std::vector<Association> withSameId(const InstanceStore& firsts, const InstanceStore& seconds)
{
    return rowsOf(firsts.records(), [&seconds](const InstanceStore::Record& first) {
        return Association{first, *seconds.withId(first.id)};
    });
}

// Associates each record with each of the others.
inline std::vector<Association> everyPair(const InstanceStore& firsts, const InstanceStore& seconds)
{
    std::vector<Association> pairs;
    pairs.reserve(firsts.records().size() * seconds.records().size());
    for (const InstanceStore::Record& first : firsts.records()) {
        for (const InstanceStore::Record& second : seconds.records()) {
            pairs.push_back({first, second});
        }
    }
    return pairs;
}

// Both ids, separated by a blank. No id contains a blank, so the result is unique.
inline std::string associationId(const Association& row)
{
    return row.first.id + " " + row.second.id;
}

}  // namespace broker
