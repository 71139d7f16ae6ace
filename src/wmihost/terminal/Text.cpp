#include "wmihost/terminal/Text.h"

#include <charconv>
#include <cstddef>
#include <limits>

#include "wmihost/com/Platform.h"

namespace wmihost {

std::wstring toWide(std::string_view text)
{
    const int length = static_cast<int>(text.size());
    std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string toUtf8(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), 0);
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

bool sameName(std::wstring_view left, std::wstring_view right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring foldName(std::wstring_view name)
{
    std::wstring folded(name);
    CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

bool nameBefore(std::wstring_view left, std::wstring_view right)
{
    return foldName(left) < foldName(right);
}

std::optional<unsigned long long> parseUnsigned(std::wstring_view text)
{
    const bool hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
    const std::string digits = toUtf8(hexadecimal ? text.substr(2) : text);
    const char* end = digits.data() + digits.size();
    unsigned long long value = 0;
    const auto read = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    return read.ec == std::errc() && read.ptr == end ? std::optional(value) : std::nullopt;
}

std::optional<long long> parseSigned(std::wstring_view text)
{
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        text.remove_prefix(1);
    }
    const auto magnitude = parseUnsigned(text);
    constexpr auto MOST = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    if (!magnitude || *magnitude > MOST + (negative ? 1 : 0)) {
        return std::nullopt;
    }
    return negative ? static_cast<long long>(0 - *magnitude) : static_cast<long long>(*magnitude);
}

}  // namespace wmihost
