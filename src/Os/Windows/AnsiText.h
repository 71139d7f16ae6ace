#pragma once

#include <string>

#include "Os/Windows/Platform.h"

// Wide text exists only at the WMI boundary. Both directions use the process's ANSI code page, never UTF-8.
namespace utils {

// A zero-terminated wide text; characters outside the code page become '?'. Null is an empty text.
std::string narrow(const wchar_t* text);

// The same for a BSTR, by its length.
std::string narrowBstr(BSTR text);

// A new BSTR that the caller owns. Throws _com_error(E_OUTOFMEMORY) when it cannot be allocated.
BSTR toBstr(const std::string& text);

}  // namespace utils
