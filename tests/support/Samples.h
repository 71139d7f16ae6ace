#pragma once

#include <string>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/Platform.h"
#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"

// Sample instances and values for the tests of the provider.
namespace samples {

// Adds a property to the instance, which takes ownership.
template <class Property, class Value>
Property* add(core::CimInstance& instance, const char* name, Value value)
{
    auto* property = new Property(name, &instance);
    property->setValue(value);
    return property;
}

inline void addKey(core::CimInstance& instance, const char* name, const char* value)
{
    add<core::CimPropertyString>(instance, name, value)->setKey(true);
}

// Values that the caller owns.
inline VARIANT bstr(const std::string& text)
{
    VARIANT value{};
    value.bstrVal = utils::toBstr(text);
    value.vt = VT_BSTR;
    return value;
}

inline VARIANT i4(LONG number)
{
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

inline VARIANT null()
{
    VARIANT value{};
    value.vt = VT_NULL;
    return value;
}

}  // namespace samples
