#include "broker/model/Modification.h"

#include <algorithm>
#include <array>
#include <vector>

#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/model/Names.h"
#include "core/PropertyVisit.h"

namespace broker {

namespace {

// A change that a put asks for.
struct Change
{
    core::CimProperty* property;
    const core::CimProperty* value;
};

bool equalToTheSecond(const core::CimPropertyDatetime& property, const core::CimProperty& value)
{
    constexpr std::uint64_t MICROSECONDS_PER_SECOND = 1'000'000;
    const utils::Time a = property.getValue();
    const utils::Time b = static_cast<const core::CimPropertyDatetime&>(value).getValue();
    return a.isTimestamp == b.isTimestamp && a.value / MICROSECONDS_PER_SECOND == b.value / MICROSECONDS_PER_SECOND;
}

bool pointToSame(const core::CimPropertyRef& property, const core::CimProperty& value, ReferenceResolver& references)
{
    const core::CimInstance* target = property.getValue();
    return target != nullptr && references.resolve(value.toString()) == target;
}

// Whether a client may have read the value from the property, now or a moment ago.
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
    constexpr std::array TYPES{core::CimProperty::EPT_UINT8, core::CimProperty::EPT_UINT16,
                               core::CimProperty::EPT_UINT32, core::CimProperty::EPT_UINT64,
                               core::CimProperty::EPT_STRING};
    return std::ranges::find(TYPES, property.getType()) != TYPES.end();
}

// Throws unless the property may take the value.
void verify(core::CimProperty& property, const core::CimProperty& value)
{
    if (!canBeVerified(property)) {
        // No class has a writable property of these types, so the answer is that for any property that may not change.
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
        const auto found = std::ranges::find_if(record.properties, [value](const core::CimProperty* property) {
            return sameName(property->getName(), value->getName());
        });
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
    return core::visit(
        property,
        core::Visitor{[&](const core::CimPropertyDatetime& time) { return equalToTheSecond(time, value); },
                      [&](const core::CimPropertyRef& reference) { return pointToSame(reference, value, references); },
                      [&]<class Property>(const Property& typed) {
                          return typed.getValue() == static_cast<const Property&>(value).getValue();
                      },
                      [](const core::CimProperty& /*unknown*/) { return false; }});
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
    // Storing comes first because it can fail. The properties are then still unchanged.
    settings.write(store.storageKey(record), stored);
    for (const Change& change : asked) {
        change.property->modify(change.value);
    }
}

}  // namespace broker
