#pragma once

#include <string>

#include "Utils/Exception.h"
#include "core/CimInstance.h"

namespace support {

// Returns whether the property accepts the number, or a text of that length. All kinds of refusal count alike.
template <class Property>
bool takes(core::CimInstance& instance, const char* name, std::uint64_t number)
{
    using Value = std::decay_t<decltype(Property(name).getValue())>;
    Property newValue(name);
    if constexpr (std::is_same_v<Value, std::string>) {
        newValue.setValue(std::string(number, 'x'));
    } else {
        newValue.setValue(static_cast<Value>(number));
    }
    try {
        instance.getProperties().findProperty(name)->verify(&newValue);
        return true;
    } catch (const utils::EInvalidParameter&) {
        return false;
    }
}

// Returns whether the property accepts the two numbers or lengths and neither the one below nor the one above.
template <class Property>
bool isLimitedTo(core::CimInstance& instance, const char* name, std::uint64_t least, std::uint64_t most)
{
    return takes<Property>(instance, name, least) && takes<Property>(instance, name, most) &&
           !takes<Property>(instance, name, most + 1) && (least == 0 || !takes<Property>(instance, name, least - 1));
}

}  // namespace support
