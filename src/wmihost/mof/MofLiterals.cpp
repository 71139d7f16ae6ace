#include "wmihost/mof/MofLiterals.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cwctype>
#include <optional>

#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

// The character of an escape such as \x20AC; `place` is moved from the x to the last digit.
wchar_t escapedByNumber(std::wstring_view text, std::size_t& place)
{
    constexpr std::size_t MOST_DIGITS = 4;
    const std::size_t begin = place + 1;
    std::size_t end = begin;
    while (end < text.size() && end - begin < MOST_DIGITS && iswxdigit(text[end]) != 0) {
        ++end;
    }
    place = end - 1;
    return static_cast<wchar_t>(*parseUnsigned(L"0x" + std::wstring(text.substr(begin, end - begin))));
}

// The character behind an escape's backslash; `place` is moved to the escape's last character.
wchar_t escaped(std::wstring_view text, std::size_t& place)
{
    constexpr std::wstring_view LETTERS = L"btnfr";
    constexpr std::wstring_view MEANINGS = L"\b\t\n\f\r";
    const wchar_t letter = text[place];
    if (letter == L'x' || letter == L'X') {
        return escapedByNumber(text, place);
    }
    const std::size_t found = LETTERS.find(letter);
    return found == std::wstring_view::npos ? letter : MEANINGS[found];
}

std::wstring unescaped(std::wstring_view text)
{
    std::wstring result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result += text[i] == L'\\' && i + 1 < text.size() ? escaped(text, ++i) : text[i];
    }
    return result;
}

// The node ends with what stands between the literal and the next word.
wchar_t characterOf(const Node& node)
{
    const std::wstring text = nameOf(node);
    std::size_t place = 2;
    return text[1] == L'\\' ? escaped(text, place) : text[1];
}

// The digits of an integer without the sign and the marks of its notation, and the base.
struct Digits
{
    std::string_view text;
    int base;
};

Digits digitsOf(const Node& node, std::string_view text)
{
    if (node.is_type<hexadecimal>()) {
        return {text.substr(2), 16};
    }
    if (node.is_type<binary>()) {
        return {text.substr(0, text.size() - 1), 2};
    }
    return {text, node.is_type<octal>() ? 8 : 10};
}

// How many bits the signed integer types have; 0 for any other type.
unsigned signedBits(CIMTYPE type)
{
    struct Width
    {
        CIMTYPE type;
        unsigned bits;
    };
    constexpr std::array<Width, 4> WIDTHS{{{CIM_SINT8, 8}, {CIM_SINT16, 16}, {CIM_SINT32, 32}, {CIM_SINT64, 64}}};
    const auto* found = std::find_if(WIDTHS.begin(), WIDTHS.end(), [type](const Width& w) { return w.type == type; });
    return found == WIDTHS.end() ? 0 : found->bits;
}

// An integer of any notation in decimal. A number that no type can hold stays as it is written.
std::wstring decimalText(const Node& node, CIMTYPE type)
{
    std::string_view text = node.string_view();
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') {
        text.remove_prefix(1);
    }
    const Digits digits = digitsOf(node, text);
    unsigned long long number = 0;
    const char* end = digits.text.data() + digits.text.size();
    if (std::from_chars(digits.text.data(), end, number, digits.base).ec != std::errc()) {
        return nameOf(node);
    }
    const unsigned bits = signedBits(type);
    const bool isBitPattern = digits.base != 10 && !negative && bits != 0 && (number >> (bits - 1)) == 1;
    if (isBitPattern) {
        // Two's complement; for 64 bits the difference wraps around as it should.
        const unsigned long long magnitude = (bits == 64 ? 0 : 1ULL << bits) - number;
        return L"-" + std::to_wstring(magnitude);
    }
    return (negative ? L"-" : L"") + std::to_wstring(number);
}

bool isReal(CIMTYPE type)
{
    return type == CIM_REAL32 || type == CIM_REAL64;
}

// Whether a literal of that kind may stand for a value of that type.
bool suits(const Node& node, CIMTYPE type)
{
    return (node.is_type<text>() && isTextual(type)) ||
           ((node.is_type<kw_true>() || node.is_type<kw_false>()) && type == CIM_BOOLEAN) ||
           (node.is_type<character>() && type == CIM_CHAR16) || (isInteger(node) && isNumeric(type)) ||
           (node.is_type<real>() && isReal(type));
}

std::wstring spelled(const Node& node, CIMTYPE type)
{
    if (node.is_type<text>()) {
        return textOf(node);
    }
    return isInteger(node) ? decimalText(node, type) : nameOf(node);
}

}  // namespace

std::wstring textOf(const Node& node)
{
    std::wstring result;
    for (const auto& piece : node.children) {
        result += unescaped(nameOf(*piece));
    }
    return result;
}

bool isInteger(const Node& node)
{
    return node.is_type<decimal>() || node.is_type<hexadecimal>() || node.is_type<octal>() || node.is_type<binary>();
}

CIMTYPE literalType(const Node& node)
{
    if (node.is_type<list>()) {
        return (node.children.empty() ? CIMTYPE{CIM_STRING} : literalType(*node.children.front())) | CIM_FLAG_ARRAY;
    }
    if (node.is_type<kw_true>() || node.is_type<kw_false>()) {
        return CIM_BOOLEAN;
    }
    if (node.is_type<real>()) {
        return CIM_REAL64;
    }
    if (node.is_type<character>()) {
        return CIM_CHAR16;
    }
    if (isInteger(node)) {
        const auto number = parseSigned(decimalText(node, CIM_UINT64));
        const bool small = number && *number >= LONG_MIN && *number <= LONG_MAX;
        return small ? CIM_SINT32 : CIM_SINT64;
    }
    return CIM_STRING;
}

Variant literal(const Node& node, CIMTYPE type)
{
    if (!suits(node, type)) {
        fail(node, "expected a value of type " + toUtf8(infoOf(type).name));
    }
    if (type == CIM_BOOLEAN) {
        return Variant::ofBool(node.is_type<kw_true>());
    }
    if (node.is_type<character>()) {
        return Variant::ofShort(static_cast<short>(characterOf(node)));
    }
    try {
        return valueFromText(spelled(node, type), type);
    } catch (const ValueError& error) {
        fail(node, error.what());
    }
}

}  // namespace wmihost::mof
