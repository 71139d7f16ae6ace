#pragma once

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "broker/model/Column.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"

namespace broker {

class Workspace;

// Finds the target of a reference.
class ReferenceResolver
{
public:
    // The instance that references to the path's target point at; null if the target does not exist or the text is not
    // a path. The path may have a host and a namespace.
    virtual core::CimInstance* resolve(const std::string& path) = 0;

    ReferenceResolver(const ReferenceResolver&) = delete;
    ReferenceResolver& operator=(const ReferenceResolver&) = delete;

protected:
    ReferenceResolver() = default;
    ~ReferenceResolver() = default;
};

// Which properties the instances of a store have.
enum class Shape
{
    // Every property, as clients get them.
    WHOLE,
    // The keys only, for the targets of references. A path consists of keys, and each step over a property takes a
    // lock.
    KEYS
};

// The instances of one class in one workspace. Belongs to the thread that the workspace belongs to.
class InstanceStore
{
public:
    // An instance and its properties in the order of the columns. Walking the instance's own list would cost a lock a
    // step.
    struct Record
    {
        // A stable, unique id of the row, such as the adapter's GUID.
        std::string id;
        std::unique_ptr<core::CimInstance> instance;
        std::vector<core::CimProperty*> properties;
    };

    virtual ~InstanceStore() = default;
    InstanceStore(const InstanceStore&) = delete;
    InstanceStore& operator=(const InstanceStore&) = delete;

    // In the order of the rows.
    const std::vector<Record>& records() const noexcept { return m_records; }

    // The record of the id, or null.
    const Record* withId(const std::string& id) const;

    // The record with the keys of the path, or null. Key names are compared without case, values as their columns say.
    // The path must have all keys and no others. Its class is ignored.
    const Record* find(const core::CimPath& path, ReferenceResolver& references) const;

    // Makes the instances match the class's present rows. If it throws, the store is empty.
    virtual void update(Workspace& workspace) = 0;

    // As update, and returns what find() does. Of the other instances only the keys are up to date, since their values
    // may take calls of the platform.
    virtual const Record* updateOne(Workspace& workspace, const core::CimPath& path, ReferenceResolver& references) = 0;

    // Deletes the instances.
    void clear() noexcept;

    // What happens to a value that is put to the property of that column.
    virtual PutRule putRule(std::size_t column) const = 0;

    // The key under which the settings store keeps what clients change. Only for a class with writable properties.
    virtual std::string storageKey(const Record& record) const = 0;

protected:
    InstanceStore() = default;

    virtual bool ignoresCase(std::size_t column) const = 0;

    std::vector<Record> m_records;
    std::unordered_map<std::string, std::size_t> m_indexOfId;
};

// The description of a class whose instances are made from rows of that type.
template <class Row>
struct ClassDescription
{
    using RowType = Row;

    const char* name;
    std::span<const Column<Row>> columns;
    // A stable, unique id of the row.
    std::string (*id)(const Row& row);
    // The rows at this moment. They may refer to data that the workspace has read for the request.
    std::vector<Row> (*rows)(Workspace& workspace);
    // Makes an instance without properties; null if a plain instance is enough.
    std::unique_ptr<core::CimInstance> (*make)(const Row& row) = nullptr;
    // The key under which the settings store keeps what clients change in the instance of the id; null for a class
    // that clients cannot change.
    std::string (*storageKey)(const std::string& id) = nullptr;
};

// The store of a class that is described by columns.
template <class Row>
class DescribedStore : public InstanceStore
{
public:
    // The description must outlive the store.
    explicit DescribedStore(const ClassDescription<Row>& description, Shape shape = Shape::WHOLE)
        : m_description(&description), m_shape(shape)
    {
        for (const Column<Row>& column : description.columns) {
            if (shape == Shape::WHOLE || column.isKey) {
                m_columns.push_back(&column);
            }
        }
    }

    void update(Workspace& workspace) override
    {
        try {
            show(m_description->rows(workspace));
        } catch (...) {
            clear();
            throw;
        }
    }

    const Record* updateOne(Workspace& workspace, const core::CimPath& path, ReferenceResolver& references) override
    {
        try {
            const std::vector<Row> rows = m_description->rows(workspace);
            arrange(rows);
            for (std::size_t i = 0; i < rows.size(); ++i) {
                assign(m_records[i], rows[i], Shape::KEYS);
            }
            const Record* const found = find(path, references);
            if (found != nullptr) {
                assign(*found, rows[static_cast<std::size_t>(found - m_records.data())], Shape::WHOLE);
            }
            return found;
        } catch (...) {
            clear();
            throw;
        }
    }

    // Makes the instances match the rows. An instance whose row still exists stays, and only its differing values are
    // set. If it throws, the instances are unspecified until the next call or clear().
    void show(const std::vector<Row>& rows)
    {
        arrange(rows);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            assign(m_records[i], rows[i], Shape::WHOLE);
        }
    }

    PutRule putRule(std::size_t column) const override { return m_columns[column]->rule; }

    std::string storageKey(const Record& record) const override { return m_description->storageKey(record.id); }

protected:
    bool ignoresCase(std::size_t column) const override { return m_columns[column]->ignoresCase; }

private:
    // Makes one record for each row, in their order.
    void arrange(const std::vector<Row>& rows)
    {
        std::vector<std::string> ids;
        ids.reserve(rows.size());
        for (const Row& row : rows) {
            ids.push_back(m_description->id(row));
        }
        const bool areTheSame = std::equal(ids.begin(), ids.end(), m_records.begin(), m_records.end(),
                                           [](const std::string& id, const Record& record) { return id == record.id; });
        if (!areTheSame) {
            rearrange(rows, std::move(ids));
        }
    }

    // Makes one record for each row. The ids are those of the rows, in the same order. Deletes the instances of missing
    // rows before it makes new ones, since each instance holds handles.
    void rearrange(const std::vector<Row>& rows, std::vector<std::string> ids)
    {
        std::unordered_map<std::string, std::size_t> indexOfId;
        for (std::size_t i = 0; i < ids.size(); ++i) {
            indexOfId.emplace(ids[i], i);
        }
        std::vector<Record> arranged(rows.size());
        for (Record& record : std::exchange(m_records, {})) {
            const auto index = indexOfId.find(record.id);
            if (index != indexOfId.end()) {
                arranged[index->second] = std::move(record);
            }
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (arranged[i].instance == nullptr) {
                arranged[i] = make(rows[i], std::move(ids[i]));
            }
        }
        m_records = std::move(arranged);
        m_indexOfId = std::move(indexOfId);
    }

    Record make(const Row& row, std::string id) const
    {
        std::vector<std::unique_ptr<core::CimProperty>> properties;
        properties.reserve(m_columns.size());
        Record record{std::move(id), nullptr, {}};
        record.properties.reserve(m_columns.size());
        for (const Column<Row>* column : m_columns) {
            properties.push_back(column->make(column->name));
            core::CimProperty& property = *properties.back();
            property.setKey(column->isKey);
            property.setModifiable(column->rule == PutRule::WRITABLE);
            if (column->limit != nullptr) {
                column->limit(property);
            }
            record.properties.push_back(&property);
        }
        record.instance = m_description->make != nullptr && m_shape == Shape::WHOLE
                              ? m_description->make(row)
                              : std::make_unique<core::CimInstance>(m_description->name);
        record.instance->fill(std::move(properties));
        return record;
    }

    // Sets the properties that belong to the shape.
    void assign(const Record& record, const Row& row, Shape shape) const
    {
        for (std::size_t i = 0; i < record.properties.size(); ++i) {
            if (shape == Shape::WHOLE || m_columns[i]->isKey) {
                m_columns[i]->refresh(*record.properties[i], row);
            }
        }
    }

    const ClassDescription<Row>* m_description;
    Shape m_shape;
    std::vector<const Column<Row>*> m_columns;
};

}  // namespace broker
