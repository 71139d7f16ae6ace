#include "broker/model/InstanceStore.h"

#include "broker/model/Names.h"

namespace broker {

namespace {

// A key value of a path. A reference is looked up once, when the first candidate asks for it.
class KeyValue
{
public:
    KeyValue(const std::string& name, const std::string& text) noexcept : m_name(&name), m_text(&text) {}

    const std::string& name() const noexcept { return *m_name; }

    bool equals(const core::CimProperty& property, ReferenceResolver& references)
    {
        switch (property.getType()) {
            case core::CimProperty::EPT_STRING:
                return static_cast<const core::CimPropertyString&>(property).getValue() == *m_text;
            case core::CimProperty::EPT_REF:
                if (!m_isResolved) {
                    m_instance = references.resolve(*m_text);
                    m_isResolved = true;
                }
                return m_instance != nullptr &&
                       static_cast<const core::CimPropertyRef&>(property).getValue() == m_instance;
            default:
                return property.toString() == *m_text;
        }
    }

private:
    const std::string* m_name;
    const std::string* m_text;
    core::CimInstance* m_instance = nullptr;
    bool m_isResolved = false;
};

bool matches(const InstanceStore::Record& record, std::vector<KeyValue>& keys, ReferenceResolver& references)
{
    std::size_t matched = 0;
    for (const core::CimProperty* property : record.properties) {
        if (!property->isKey()) {
            continue;
        }
        const auto key = std::find_if(keys.begin(), keys.end(), [property](const KeyValue& candidate) {
            return sameName(candidate.name(), property->getName());
        });
        if (key == keys.end() || !key->equals(*property, references)) {
            return false;
        }
        ++matched;
    }
    return matched == keys.size();
}

}  // namespace

const InstanceStore::Record* InstanceStore::find(const core::CimPath& path, ReferenceResolver& references) const
{
    std::vector<KeyValue> keys;
    for (const auto& [name, value] : path) {
        keys.emplace_back(name, value);
    }
    const auto record = std::find_if(m_records.begin(), m_records.end(), [&keys, &references](const Record& candidate) {
        return matches(candidate, keys, references);
    });
    return record == m_records.end() ? nullptr : &*record;
}

}  // namespace broker
