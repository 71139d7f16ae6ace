#include "broker/Properties.h"

#include "core/CimPropertyTypes.h"

namespace support {

namespace {

template <class Values, class ToText>
std::string arrayText(const Values& values, ToText toText)
{
    std::string result;
    for (const auto& value : values) {
        result += (result.empty() ? "" : ", ") + toText(value);
    }
    return "{" + result + "}";
}

std::string number(std::uint32_t value)
{
    return std::to_string(value);
}

}  // namespace

std::string valueText(const core::CimProperty& property)
{
    if (property.isNull()) {
        return "null";
    }
    switch (property.getType()) {
        case core::CimProperty::EPT_UINT32:
            return number(static_cast<const core::CimPropertyUint32&>(property).getValue());
        case core::CimProperty::EPT_UINT16_ARR:
            return arrayText(static_cast<const core::CimPropertyUint16_arr&>(property).getValue(), number);
        case core::CimProperty::EPT_UINT32_ARR:
            return arrayText(static_cast<const core::CimPropertyUint32_arr&>(property).getValue(), number);
        case core::CimProperty::EPT_STRING_ARR:
            return arrayText(static_cast<const core::CimPropertyString_arr&>(property).getValue(),
                             [](const std::string& text) { return text; });
        case core::CimProperty::EPT_BOOL:
            return static_cast<const core::CimPropertyBool&>(property).getValue() ? "true" : "false";
        case core::CimProperty::EPT_DATETIME: {
            const utils::Time time = static_cast<const core::CimPropertyDatetime&>(property).getValue();
            return (time.isTimestamp ? "at " : "for ") + std::to_string(time.value);
        }
        default:
            return property.toString();
    }
}

std::vector<std::string> values(core::CimInstance& instance)
{
    std::vector<std::string> result;
    auto iterator = instance.propertyIterator();
    while (const core::CimProperty* property = iterator.next()) {
        result.push_back(property->getName() + "=" + valueText(*property));
    }
    return result;
}

std::string value(core::CimInstance& instance, const std::string& name)
{
    const core::CimProperty* property = instance.getProperties().findProperty(name);
    return property == nullptr ? "missing" : valueText(*property);
}

std::vector<std::string> paths(utils::SafeList<core::CimInstance*>& instances)
{
    std::vector<std::string> result;
    auto iterator = instances.getIterator();
    while (core::CimInstance* instance = iterator.next()) {
        result.push_back(instance->toPathString());
    }
    return result;
}

}  // namespace support
