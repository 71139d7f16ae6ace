#include "Os/Windows/AnsiText.h"

#include <comdef.h>

#include <cwchar>

namespace utils {

namespace {

std::string narrowCharacters(const wchar_t* text, int length)
{
    if (length == 0) {
        return {};
    }
    // A process may run with UTF-8 as its ANSI code page; the platform then refuses a replacement character.
    const char* replacement = GetACP() == CP_UTF8 ? nullptr : "?";
    const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, replacement, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, length, result.data(), size, replacement, nullptr);
    return result;
}

}  // namespace

std::string narrow(const wchar_t* text)
{
    return text == nullptr ? std::string() : narrowCharacters(text, static_cast<int>(std::wcslen(text)));
}

std::string narrowBstr(BSTR text)
{
    return narrowCharacters(text, static_cast<int>(SysStringLen(text)));
}

BSTR toBstr(const std::string& text)
{
    const int length = static_cast<int>(text.size());
    const int size = length == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    const BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(size));
    if (result == nullptr) {
        throw _com_error(E_OUTOFMEMORY);
    }
    if (size != 0) {
        MultiByteToWideChar(CP_ACP, 0, text.data(), length, result, size);
    }
    return result;
}

}  // namespace utils
