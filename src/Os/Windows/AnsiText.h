#pragma once

#include <array>
#include <string>

#include "Os/Windows/Platform.h"

// Wide text exists only at the WMI boundary. Both directions use the process's ANSI code page, never UTF-8.
namespace utils {

// A zero-terminated wide text. A character outside the code page becomes '?', never one that looks like it. Null is an
// empty text.
std::string narrow(const wchar_t* text);

// The same for a BSTR, by its length.
std::string narrowBstr(BSTR text);

// A text as wide characters, for the length of a call that only reads them. Short texts take no memory but the stack's.
// Holds a pointer into itself: neither copied nor moved.
class WideText
{
public:
    explicit WideText(const std::string& text);
    WideText(const WideText&) = delete;
    WideText& operator=(const WideText&) = delete;

    // Zero-terminated; the text may also contain zeros.
    const wchar_t* get() const noexcept { return m_text; }
    int length() const noexcept { return m_length; }

private:
    std::array<wchar_t, 256> m_buffer;
    std::wstring m_long;
    const wchar_t* m_text;
    int m_length = 0;
};

// A new BSTR that the caller owns. Throws _com_error(E_OUTOFMEMORY) when it cannot be allocated.
BSTR toBstr(const std::string& text);

}  // namespace utils
