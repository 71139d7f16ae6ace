#include "broker/model/InstanceStore.h"

#include "broker/model/Names.h"

namespace broker {

namespace {

// The value that a path has for a key column. A reference is resolved once, when the first candidate needs it.
class KeyValue
{
public:
    KeyValue(std::size_t column, bool ignoresCase, const std::string& text) noexcept
        : m_column(column), m_ignoresCase(ignoresCase), m_text(&text)
    {
    }

    bool matches(const InstanceStore::Record& record, ReferenceResolver& references)
    {
        const core::CimProperty& property = *record.properties[m_column];
        if (property.getType() == core::CimProperty::EPT_REF) {
            if (!m_isResolved) {
                m_instance = references.resolve(*m_text);
                m_isResolved = true;
            }
            return m_instance != nullptr && static_cast<const core::CimPropertyRef&>(property).getValue() == m_instance;
        }
        const std::string value = property.toString();
        return m_ignoresCase ? sameName(value, *m_text) : value == *m_text;
    }

private:
    std::size_t m_column;
    bool m_ignoresCase;
    const std::string* m_text;
    core::CimInstance* m_instance = nullptr;
    bool m_isResolved = false;
};

}  // namespace

const InstanceStore::Record* InstanceStore::withId(const std::string& id) const
{
    const auto index = m_indexOfId.find(id);
    return index == m_indexOfId.end() ? nullptr : &m_records[index->second];
}

void InstanceStore::clear() noexcept
{
    m_records.clear();
    m_indexOfId.clear();
}

const InstanceStore::Record* InstanceStore::find(const core::CimPath& path, ReferenceResolver& references) const
{
    if (m_records.empty()) {
        return nullptr;
    }
    std::vector<KeyValue> keys;
    const std::vector<core::CimProperty*>& properties = m_records.front().properties;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i]->isKey()) {
            const auto key = std::find_if(path.begin(), path.end(), [&](const auto& candidate) {
                return sameName(candidate.first, properties[i]->getName());
            });
            if (key == path.end()) {
                return nullptr;
            }
            keys.emplace_back(i, ignoresCase(i), key->second);
        }
    }
    if (keys.size() != path.size()) {
        return nullptr;
    }
    const auto record = std::find_if(m_records.begin(), m_records.end(), [&](const Record& candidate) {
        return std::all_of(keys.begin(), keys.end(), [&](KeyValue& key) { return key.matches(candidate, references); });
    });
    return record == m_records.end() ? nullptr : &*record;
}

}  // namespace broker
