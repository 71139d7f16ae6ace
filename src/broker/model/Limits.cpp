#include "broker/model/Limits.h"

#include <optional>

#include "Utils/Exception.h"
#include "Utils/Utils.h"

namespace broker {

namespace {

std::optional<std::uint64_t> numberOf(const core::CimProperty& property)
{
    switch (property.getType()) {
        case core::CimProperty::EPT_UINT8:
            return static_cast<const core::CimPropertyUint8&>(property).getValue();
        case core::CimProperty::EPT_UINT16:
            return static_cast<const core::CimPropertyUint16&>(property).getValue();
        case core::CimProperty::EPT_UINT64:
            return static_cast<const core::CimPropertyUint64&>(property).getValue();
        default:
            return std::nullopt;
    }
}

}  // namespace

void RangeListener::onVerify(core::CimProperty* property, const core::CimProperty* newValue)
{
    const std::optional<std::uint64_t> number = numberOf(*newValue);
    if (number && !newValue->isNull() && !m_range.contains(*number)) {
        throw utils::EInvalidParameter(
            utils::format("Value of %s property has to be from %llu to %llu", property->getName().c_str(),
                          static_cast<unsigned long long>(m_range.min), static_cast<unsigned long long>(m_range.max)));
    }
}

void limitLength(core::CimProperty& property, Lengths lengths)
{
    auto& text = static_cast<core::CimPropertyString&>(property);
    text.setMinLength(lengths.min);
    text.setMaxLength(lengths.max);
    text.registerLengthListeners();
}

}  // namespace broker
