#include "broker/model/Limits.h"

#include <optional>

#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "core/PropertyVisit.h"

namespace broker {

namespace {

using Number = std::optional<std::uint64_t>;

// Empty for a property whose type has no range.
Number numberOf(const core::CimProperty& property)
{
    return core::visit(property,
                       core::Visitor{[](const core::CimPropertyUint8& number) -> Number { return number.getValue(); },
                                     [](const core::CimPropertyUint16& number) -> Number { return number.getValue(); },
                                     [](const core::CimPropertyUint64& number) -> Number { return number.getValue(); },
                                     [](const core::CimProperty& /*other*/) -> Number { return std::nullopt; }});
}

}  // namespace

void RangeListener::onVerify(core::CimProperty* property, const core::CimProperty* newValue)
{
    const Number number = numberOf(*newValue);
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
