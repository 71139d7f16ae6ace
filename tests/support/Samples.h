#pragma once

#include <string>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/Platform.h"
#include "support/SampleProperties.h"

// Sample values for the tests of the provider.
namespace samples {

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
