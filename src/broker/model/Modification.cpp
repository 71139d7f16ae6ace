#include "broker/model/Modification.h"

#include <algorithm>
#include <vector>

#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/model/Names.h"

namespace broker {

namespace {

// A change that a put asks for.
struct Change
{
    core::CimProperty* property;
    const core::CimProperty* value;
};

template <class Property>
bool equal(const core::CimProperty& left, const core::CimProperty& right)
{
    return static_cast<const Property&>(left).getValue() == static_cast<const Property&>(right).getValue();
}

bool equalToTheSecond(const core::CimProperty& left, const core::CimProperty& right)
{
    constexpr std::uint64_t MICROSECONDS_PER_SECOND = 1'000'000;
    const utils::Time a = static_cast<const core::CimPropertyDatetime&>(left).getValue();
    const utils::Time b = static_cast<const core::CimPropertyDatetime&>(right).getValue();
    return a.isTimestamp == b.isTimestamp && a.value / MICROSECONDS_PER_SECOND == b.value / MICROSECONDS_PER_SECOND;
}

bool pointToSame(const core::CimProperty& property, const core::CimProperty& value, ReferenceResolver& references)
{
    const core::CimInstance* target = static_cast<const core::CimPropertyRef&>(property).getValue();
    return target != nullptr && references.resolve(value.toString()) == target;
}

// A value that could have been read from the property, now or a moment ago.
bool mayComeFrom(const core::CimProperty& property, const core::CimProperty& value)
{
    return value.isNull() || value.getType() == property.getType();
}

bool isEmptyArrayOfTexts(const core::CimProperty& property)
{
    return property.getType() == core::CimProperty::EPT_STRING_ARR &&
           (property.isNull() || static_cast<const core::CimPropertyString_arr&>(property).getValue().empty());
}

bool canBeVerified(const core::CimProperty& property)
{
    switch (property.getType()) {
        case core::CimProperty::EPT_UINT8:
        case core::CimProperty::EPT_UINT16:
        case core::CimProperty::EPT_UINT32:
        case core::CimProperty::EPT_UINT64:
        case core::CimProperty::EPT_STRING:
            return true;
        default:
            return false;
    }
}

// Throws unless the property may take the value.
void verify(core::CimProperty& property, const core::CimProperty& value)
{
    if (!canBeVerified(property)) {
        // None of these is writable in any class, so the answer is that of any other property that may not change.
        throw utils::EForbidden(utils::format("Modyfying of %s property is not allowed", property.getName().c_str()));
    }
    property.verify(&value);
}

// The changes that the values ask for, in their order.
std::vector<Change> changes(const InstanceStore& store, const InstanceStore::Record& record,
                            core::CimPropertyList& values, ReferenceResolver& references)
{
    std::vector<Change> result;
    auto iterator = values.getIterator();
    while (const core::CimProperty* value = iterator.next()) {
        const auto found = std::find_if(
            record.properties.begin(), record.properties.end(),
            [value](const core::CimProperty* property) { return sameName(property->getName(), value->getName()); });
        if (found == record.properties.end()) {
            if (!value->isNull()) {
                throw utils::EInvalidParameter("Unknown property " + value->getName());
            }
            continue;
        }
        const PutRule rule = store.putRule(static_cast<std::size_t>(found - record.properties.begin()));
        const bool isIgnored = rule == PutRule::VOLATILE && mayComeFrom(**found, *value);
        if (!isIgnored && !holdSame(**found, *value, references)) {
            result.push_back({*found, value});
        }
    }
    return result;
}

}  // namespace

bool holdSame(const core::CimProperty& property, const core::CimProperty& value, ReferenceResolver& references)
{
    if (property.getType() != value.getType()) {
        return false;
    }
    if (isEmptyArrayOfTexts(property) && isEmptyArrayOfTexts(value)) {
        return true;
    }
    if (property.isNull() || value.isNull()) {
        return property.isNull() && value.isNull();
    }
    switch (property.getType()) {
        case core::CimProperty::EPT_UINT8:
            return equal<core::CimPropertyUint8>(property, value);
        case core::CimProperty::EPT_UINT16:
            return equal<core::CimPropertyUint16>(property, value);
        case core::CimProperty::EPT_UINT16_ARR:
            return equal<core::CimPropertyUint16_arr>(property, value);
        case core::CimProperty::EPT_UINT32:
            return equal<core::CimPropertyUint32>(property, value);
        case core::CimProperty::EPT_UINT32_ARR:
            return equal<core::CimPropertyUint32_arr>(property, value);
        case core::CimProperty::EPT_UINT64:
            return equal<core::CimPropertyUint64>(property, value);
        case core::CimProperty::EPT_STRING:
            return equal<core::CimPropertyString>(property, value);
        case core::CimProperty::EPT_STRING_ARR:
            return equal<core::CimPropertyString_arr>(property, value);
        case core::CimProperty::EPT_BOOL:
            return equal<core::CimPropertyBool>(property, value);
        case core::CimProperty::EPT_DATETIME:
            return equalToTheSecond(property, value);
        case core::CimProperty::EPT_REF:
            return pointToSame(property, value, references);
    }
    return false;
}

void modify(const InstanceStore& store, const InstanceStore::Record& record, core::CimPropertyList& values,
            ReferenceResolver& references, SettingsStore& settings)
{
    const std::vector<Change> asked = changes(store, record, values, references);
    if (asked.empty()) {
        return;
    }
    std::vector<std::pair<std::string, std::string>> stored;
    for (const Change& change : asked) {
        verify(*change.property, *change.value);
        stored.emplace_back(change.property->getName(), change.value->toString());
    }
    // Stored first: that can fail, and the properties then still are what they were.
    settings.write(store.storageKey(record), stored);
    for (const Change& change : asked) {
        change.property->modify(change.value);
    }
}

}  // namespace broker
