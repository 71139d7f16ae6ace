#include "wmihost/terminal/Text.h"

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
    unsigned base = 10;
    if (text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    constexpr auto limit = std::numeric_limits<unsigned long long>::max();
    unsigned long long value = 0;
    for (const wchar_t c : text) {
        unsigned digit = base;
        if (c >= L'0' && c <= L'9') {
            digit = static_cast<unsigned>(c - L'0');
        } else if (c >= L'a' && c <= L'f') {
            digit = static_cast<unsigned>(c - L'a') + 10;
        } else if (c >= L'A' && c <= L'F') {
            digit = static_cast<unsigned>(c - L'A') + 10;
        }
        if (digit >= base || value > (limit - digit) / base) {
            return std::nullopt;
        }
        value = value * base + digit;
    }
    return value;
}

std::optional<long long> parseSigned(std::wstring_view text)
{
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        text.remove_prefix(1);
    }
    const auto magnitude = parseUnsigned(text);
    constexpr auto most = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    if (!magnitude || *magnitude > most + (negative ? 1 : 0)) {
        return std::nullopt;
    }
    return negative ? static_cast<long long>(0 - *magnitude) : static_cast<long long>(*magnitude);
}

}  // namespace wmihost
