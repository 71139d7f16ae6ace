#include "Os/Windows/AnsiText.h"

#include <comdef.h>

#include <array>
#include <cwchar>
#include <type_traits>

namespace utils {

namespace {

// Every ANSI code page gives the characters below 128 their own numbers, in both directions, so that a text of those
// alone needs no table. Returns whether the text was such a one. If not, the contents of `target` are unspecified.
template <class Source, class Target>
bool copyAscii(const Source* text, std::size_t length, Target* target) noexcept
{
    unsigned seen = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const auto character = static_cast<std::make_unsigned_t<Source>>(text[i]);
        seen |= character;
        target[i] = static_cast<Target>(character);
    }
    return seen < 128;
}

constexpr const char* REPLACEMENT = "?";

void convert(UINT codePage, DWORD flags, const wchar_t* text, int length, const char* replacement, std::string& result)
{
    const int size = WideCharToMultiByte(codePage, flags, text, length, nullptr, 0, replacement, nullptr);
    result.resize(static_cast<std::size_t>(size));
    WideCharToMultiByte(codePage, flags, text, length, result.data(), size, replacement, nullptr);
}

// UTF-8 has bytes for every character but for half of a pair, and the platform takes neither the flag nor a replacement
// with it.
std::wstring withoutLoneSurrogates(const wchar_t* text, std::size_t length)
{
    std::wstring result(text, length);
    for (std::size_t i = 0; i < length; ++i) {
        if (i + 1 < length && IS_SURROGATE_PAIR(result[i], result[i + 1])) {
            ++i;
        } else if (IS_HIGH_SURROGATE(result[i]) || IS_LOW_SURROGATE(result[i])) {
            result[i] = L'?';
        }
    }
    return result;
}

std::string narrowCharacters(const wchar_t* text, int length)
{
    if (length == 0) {
        return {};
    }
    std::string result(static_cast<std::size_t>(length), '\0');
    if (copyAscii(text, result.size(), result.data())) {
        return result;
    }
    const UINT codePage = GetACP();
    if (codePage == CP_UTF8) {
        const std::wstring whole = withoutLoneSurrogates(text, result.size());
        convert(codePage, 0, whole.data(), length, nullptr, result);
    } else {
        // A character that only looks like one of the code page would make one text of two, and a path could name
        // another instance than the client wrote.
        convert(codePage, WC_NO_BEST_FIT_CHARS, text, length, REPLACEMENT, result);
    }
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

WideText::WideText(const std::string& text)
{
    wchar_t* target = m_buffer.data();
    // A text has at most as many wide characters as it has bytes.
    if (text.size() >= m_buffer.size()) {
        m_long.resize(text.size());
        target = m_long.data();
    }
    m_text = target;
    const auto bytes = static_cast<int>(text.size());
    m_length = bytes;
    if (!copyAscii(text.data(), text.size(), target)) {
        m_length = MultiByteToWideChar(GetACP(), 0, text.data(), bytes, target, bytes);
    }
    target[m_length] = L'\0';
}

BSTR toBstr(const std::string& text)
{
    const WideText wide(text);
    const BSTR result = SysAllocStringLen(wide.get(), static_cast<UINT>(wide.length()));
    if (result == nullptr) {
        throw _com_error(E_OUTOFMEMORY);
    }
    return result;
}

}  // namespace utils
