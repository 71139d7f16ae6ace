#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace utils {

// Compile-time check of printf-style formats: number of arguments, and the kind and width of each.
// A mismatch does not compile; the log can therefore never read an argument that is not there.
namespace formatcheck {

enum class Kind
{
    INT32,
    INT64,
    TEXT,
    POINTER,
    OTHER
};

template <class T>
constexpr Kind kindOf()
{
    if constexpr (std::is_convertible_v<T, const char*>) {
        return Kind::TEXT;
    } else if constexpr (std::is_pointer_v<T>) {
        return Kind::POINTER;
    } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
        return sizeof(T) <= sizeof(std::int32_t) ? Kind::INT32 : Kind::INT64;
    } else {
        return Kind::OTHER;
    }
}

// Never defined: a constant expression that reaches it does not compile, and the compiler names it.
void formatDoesNotMatchItsArguments();

// Reads one conversion after its '%' and moves `text` behind it.
constexpr Kind conversion(const char*& text)
{
    while (*text == '0' || *text == '-' || (*text >= '1' && *text <= '9')) {
        ++text;
    }
    bool wide = false;
    if (text[0] == 'I' && text[1] == '6' && text[2] == '4') {
        wide = true;
        text += 3;
    } else if (text[0] == 'l' && text[1] == 'l') {
        wide = true;
        text += 2;
    }
    switch (*text++) {
        case 'd':
        case 'u':
        case 'x':
        case 'X':
            return wide ? Kind::INT64 : Kind::INT32;
        case 's':
            return Kind::TEXT;
        case 'p':
            return Kind::POINTER;
        default:
            return Kind::OTHER;
    }
}

template <class... Args>
constexpr void check(const char* text)
{
    constexpr std::array<Kind, sizeof...(Args) + 1> expected{kindOf<Args>()..., Kind::OTHER};
    std::size_t used = 0;
    while (*text != '\0') {
        if (*text++ != '%') {
            continue;
        }
        if (*text == '%') {
            ++text;
            continue;
        }
        const Kind found = conversion(text);
        if (used == sizeof...(Args) || found == Kind::OTHER || found != expected[used]) {
            formatDoesNotMatchItsArguments();
        }
        ++used;
    }
    if (used != sizeof...(Args)) {
        formatDoesNotMatchItsArguments();
    }
}

}  // namespace formatcheck

// A format literal that fits arguments of the types Args.
template <class... Args>
class CheckedFormat
{
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a literal at the call site is the intended use
    consteval CheckedFormat(const char* text) : m_text(text) { formatcheck::check<Args...>(text); }

    constexpr const char* text() const noexcept { return m_text; }

private:
    const char* m_text;
};

// The same together with the line of the call.
template <class... Args>
class FormatHere
{
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a literal at the call site is the intended use
    consteval FormatHere(const char* text, std::uint32_t line = __builtin_LINE()) : m_text(text), m_line(line) {}

    constexpr CheckedFormat<Args...> text() const noexcept { return m_text; }
    constexpr std::uint32_t line() const noexcept { return m_line; }

private:
    CheckedFormat<Args...> m_text;
    std::uint32_t m_line;
};

}  // namespace utils
