#pragma once

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "broker/model/Column.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"

namespace broker {

// Finds what a reference points to.
class ReferenceResolver
{
public:
    // The instance that a path names, with or without host and namespace; null when there is none or the text is no
    // path.
    virtual core::CimInstance* resolve(const std::string& path) = 0;

    ReferenceResolver(const ReferenceResolver&) = delete;
    ReferenceResolver& operator=(const ReferenceResolver&) = delete;

protected:
    ReferenceResolver() = default;
    ~ReferenceResolver() = default;
};

// The instances of one class in one workspace. Belongs to the thread that has leased the workspace.
class InstanceStore
{
public:
    // An instance with its properties in the order of the columns: a property list costs a lock per step.
    struct Record
    {
        std::string identity;
        std::unique_ptr<core::CimInstance> instance;
        std::vector<core::CimProperty*> properties;
    };

    virtual ~InstanceStore() = default;
    InstanceStore(const InstanceStore&) = delete;
    InstanceStore& operator=(const InstanceStore&) = delete;

    // In the order of the rows.
    const std::vector<Record>& records() const noexcept { return m_records; }

    // The record whose keys are those of the path, or null. Key names are compared without case, values exactly; all
    // keys and no others must be given. The path's class is not looked at.
    const Record* find(const core::CimPath& path, ReferenceResolver& references) const;

    // What becomes of values put to the properties, in the order of the columns.
    virtual PutRule putRule(std::size_t column) const = 0;

protected:
    InstanceStore() = default;

    std::vector<Record> m_records;
};

template <class Row>
struct ClassDescription
{
    const char* name;
    std::span<const Column<Row>> columns;
    // Tells the rows of one moment apart, and is the same for one thing at all times.
    std::string (*identity)(const Row& row);
    // Null: a plain instance will do.
    std::unique_ptr<core::CimInstance> (*make)(const Row& row) = nullptr;
};

// The store of a class that is described by columns.
template <class Row>
class DescribedStore : public InstanceStore
{
public:
    // The description must outlive the store.
    explicit DescribedStore(const ClassDescription<Row>& description) noexcept : m_description(&description) {}

    // Makes the instances match the rows. An instance whose row is still there stays, and only its values that differ
    // are set: making a property costs several kernel locks. When it throws, the store is empty.
    void refresh(const std::vector<Row>& rows)
    {
        std::vector<Record> before = std::exchange(m_records, {});
        std::vector<Record> after;
        after.reserve(rows.size());
        std::size_t expected = 0;
        for (const Row& row : rows) {
            std::string identity = m_description->identity(row);
            const std::size_t found = position(before, identity, expected);
            if (found != before.size()) {
                expected = found + 1;
                after.push_back(std::move(before[found]));
            } else {
                after.push_back(make(row, std::move(identity)));
            }
            assign(after.back(), row);
        }
        m_records = std::move(after);
    }

    PutRule putRule(std::size_t column) const override { return m_description->columns[column].rule; }

private:
    // Where the record of the identity stands, looking first where the platform's order lets it be expected.
    static std::size_t position(const std::vector<Record>& records, const std::string& identity, std::size_t expected)
    {
        const auto matches = [&identity](const Record& record) {
            return record.instance != nullptr && record.identity == identity;
        };
        const auto middle = records.begin() + static_cast<std::ptrdiff_t>(expected);
        auto found = std::find_if(middle, records.end(), matches);
        if (found == records.end()) {
            found = std::find_if(records.begin(), middle, matches);
            if (found == middle) {
                return records.size();
            }
        }
        return static_cast<std::size_t>(found - records.begin());
    }

    Record make(const Row& row, std::string identity) const
    {
        Record record;
        record.identity = std::move(identity);
        record.instance = m_description->make != nullptr ? m_description->make(row)
                                                         : std::make_unique<core::CimInstance>(m_description->name);
        record.properties.reserve(m_description->columns.size());
        for (const Column<Row>& column : m_description->columns) {
            core::CimProperty* property = column.make(column.name, *record.instance);
            property->setKey(column.isKey);
            property->setModifiable(column.rule == PutRule::WRITABLE);
            if (column.limit != nullptr) {
                column.limit(*property);
            }
            record.properties.push_back(property);
        }
        return record;
    }

    void assign(Record& record, const Row& row) const
    {
        for (std::size_t i = 0; i < record.properties.size(); ++i) {
            m_description->columns[i].refresh(*record.properties[i], row);
        }
    }

    const ClassDescription<Row>* m_description;
};

}  // namespace broker
