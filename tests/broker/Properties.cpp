#include "broker/Properties.h"

#include "core/PropertyVisit.h"

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
    return core::visit(
        property,
        core::Visitor{[](const core::CimPropertyUint32& value) { return number(value.getValue()); },
                      [](const core::CimPropertyUint16_arr& array) { return arrayText(array.getValue(), number); },
                      [](const core::CimPropertyUint32_arr& array) { return arrayText(array.getValue(), number); },
                      [](const core::CimPropertyString_arr& array) {
                          return arrayText(array.getValue(), [](const std::string& text) { return text; });
                      },
                      [](const core::CimPropertyBool& flag) { return std::string(flag.getValue() ? "true" : "false"); },
                      [](const core::CimPropertyDatetime& datetime) {
                          const utils::Time time = datetime.getValue();
                          return (time.isTimestamp ? "at " : "for ") + std::to_string(time.value);
                      },
                      [](const core::CimProperty& other) { return other.toString(); }});
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

}  // namespace support
