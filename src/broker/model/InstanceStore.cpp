#include "broker/model/InstanceStore.h"

#include "broker/model/Names.h"

namespace broker {

namespace {

// A key value of a path. A reference is resolved once, when the first candidate needs it.
class KeyValue
{
public:
    KeyValue(const std::string& name, const std::string& text) noexcept : m_name(&name), m_text(&text) {}

    const std::string& name() const noexcept { return *m_name; }

    bool equals(const core::CimProperty& property, bool ignoresCase, ReferenceResolver& references)
    {
        if (property.getType() == core::CimProperty::EPT_REF) {
            if (!m_isResolved) {
                m_instance = references.resolve(*m_text);
                m_isResolved = true;
            }
            return m_instance != nullptr && static_cast<const core::CimPropertyRef&>(property).getValue() == m_instance;
        }
        const std::string value = property.toString();
        return ignoresCase ? sameName(value, *m_text) : value == *m_text;
    }

private:
    const std::string* m_name;
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
    std::vector<KeyValue> keys;
    for (const auto& [name, value] : path) {
        keys.emplace_back(name, value);
    }
    const auto matches = [&](const Record& record) {
        std::size_t matched = 0;
        for (std::size_t i = 0; i < record.properties.size(); ++i) {
            const core::CimProperty& property = *record.properties[i];
            if (!property.isKey()) {
                continue;
            }
            const auto key = std::find_if(keys.begin(), keys.end(), [&property](const KeyValue& candidate) {
                return sameName(candidate.name(), property.getName());
            });
            if (key == keys.end() || !key->equals(property, ignoresCase(i), references)) {
                return false;
            }
            ++matched;
        }
        return matched == keys.size();
    };
    const auto record = std::find_if(m_records.begin(), m_records.end(), matches);
    return record == m_records.end() ? nullptr : &*record;
}

}  // namespace broker
