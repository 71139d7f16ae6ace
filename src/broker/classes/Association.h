#pragma once

#include <string>

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

// Both ids, separated by a blank. No id contains a blank, so the result is unique.
inline std::string associationId(const Association& row)
{
    return row.first.id + " " + row.second.id;
}

}  // namespace broker
