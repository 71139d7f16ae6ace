#include "wmihost/repository/CimType.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr std::array<CimTypeInfo, 16> TYPES{{
    {CIM_SINT8, L"sint8", VT_I2},
    {CIM_UINT8, L"uint8", VT_UI1},
    {CIM_SINT16, L"sint16", VT_I2},
    {CIM_UINT16, L"uint16", VT_I4},
    {CIM_SINT32, L"sint32", VT_I4},
    {CIM_UINT32, L"uint32", VT_I4},
    {CIM_SINT64, L"sint64", VT_BSTR},
    {CIM_UINT64, L"uint64", VT_BSTR},
    {CIM_REAL32, L"real32", VT_R4},
    {CIM_REAL64, L"real64", VT_R8},
    {CIM_BOOLEAN, L"boolean", VT_BOOL},
    {CIM_STRING, L"string", VT_BSTR},
    {CIM_DATETIME, L"datetime", VT_BSTR},
    {CIM_CHAR16, L"char16", VT_I2},
    {CIM_OBJECT, L"object", VT_UNKNOWN},
    {CIM_REFERENCE, L"ref", VT_BSTR},
}};

auto entryOf(CIMTYPE type)
{
    return std::find_if(TYPES.begin(), TYPES.end(),
                        [type](const CimTypeInfo& info) { return info.type == elementTypeOf(type); });
}

std::optional<Variant> changed(const VARIANT& value, VARTYPE type)
{
    Variant result;
    // Numbers must not depend on the user's locale.
    if (FAILED(VariantChangeTypeEx(result.put(), const_cast<VARIANT*>(&value), LOCALE_INVARIANT, 0, type))) {
        return std::nullopt;
    }
    return result;
}

std::optional<unsigned long long> unsignedOf(const VARIANT& value)
{
    const auto number = changed(value, VT_UI8);
    return number ? std::optional<unsigned long long>(number->get().ullVal) : std::nullopt;
}

std::optional<long long> signedOf(const VARIANT& value)
{
    const auto number = changed(value, VT_I8);
    return number ? std::optional<long long>(number->get().llVal) : std::nullopt;
}

// A class object behind any of its interfaces. An interface that is null is no value.
std::optional<Variant> classObjectOf(const VARIANT& value)
{
    if (value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) {
        return std::nullopt;
    }
    ComPtr<IWbemClassObject> object;
    if (value.punkVal != nullptr && FAILED(value.punkVal->QueryInterface(IID_PPV_ARGS(object.put())))) {
        return std::nullopt;
    }
    return Variant::ofObject(std::move(object));
}

// Whether the text has one of the two forms yyyymmddhhmmss.ffffff(+|-)uuu and ddddddddhhmmss.ffffff:000; an asterisk
// replaces a digit that is not specified.
bool isDatetime(std::wstring_view text)
{
    if (text.size() != 25 || text[14] != L'.') {
        return false;
    }
    const wchar_t sign = text[21];
    if (sign != L'+' && sign != L'-' && sign != L':') {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = (text[i] >= L'0' && text[i] <= L'9') || text[i] == L'*';
        if (i != 14 && i != 21 && !digit) {
            return false;
        }
    }
    return sign != L':' || text.substr(22) == L"000";
}

std::optional<Variant> textOnly(const VARIANT& value)
{
    return value.vt == VT_BSTR ? std::optional(Variant(value)) : std::nullopt;
}

template <class Number>
std::optional<Variant> textOf(const std::optional<Number>& number)
{
    return number ? std::optional(Variant::ofText(std::to_wstring(*number))) : std::nullopt;
}

std::optional<Variant> uint32Of(const VARIANT& value)
{
    if (value.vt == VT_I4) {
        return Variant(value);
    }
    // WMI does not extend a 16-bit value, neither with nor without its sign.
    const auto number = value.vt == VT_I2 ? std::nullopt : changed(value, VT_UI4);
    return number ? std::optional(Variant::ofLong(number->get().lVal)) : std::nullopt;
}

std::optional<Variant> coerceScalar(const VARIANT& value, CIMTYPE type)
{
    switch (type) {
        case CIM_STRING:
            return value.vt == VT_BSTR ? Variant(value) : changed(value, VT_BSTR);
        case CIM_DATETIME:
            return value.vt == VT_BSTR && !isDatetime(viewOf(value.bstrVal)) ? std::nullopt : textOnly(value);
        case CIM_REFERENCE:
            return textOnly(value);
        case CIM_UINT64:
            return textOf(value.vt == VT_BSTR ? parseUnsigned(viewOf(value.bstrVal)) : unsignedOf(value));
        case CIM_SINT64:
            return textOf(value.vt == VT_BSTR ? parseSigned(viewOf(value.bstrVal)) : signedOf(value));
        case CIM_UINT32:
            return uint32Of(value);
        case CIM_UINT16:
            if (const auto number = changed(value, VT_UI2)) {
                return Variant::ofLong(number->get().uiVal);
            }
            return std::nullopt;
        case CIM_SINT8:
            if (const auto number = changed(value, VT_I1)) {
                return Variant::ofShort(number->get().cVal);
            }
            return std::nullopt;
        case CIM_OBJECT:
            return classObjectOf(value);
        default: {
            const VARTYPE wanted = infoOf(type).variant;
            return value.vt == wanted ? Variant(value) : changed(value, wanted);
        }
    }
}

template <class Real>
std::wstring realText(Real number)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return std::wstring(text.data(), end);
}

// The number that a text spells in decimal, with or without fraction and exponent; none if it does not fit.
template <class Real>
std::optional<Real> realFromText(std::wstring_view wide)
{
    const std::string text = toUtf8(wide.starts_with(L'+') ? wide.substr(1) : wide);
    Real number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool complete = end == text.data() + text.size();
    return error == std::errc() && complete && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

// The range of an integer type in messages for the user.
struct Range
{
    long long low;
    unsigned long long high;
};

std::optional<Range> rangeOf(CIMTYPE type)
{
    switch (type) {
        case CIM_SINT8:
            return Range{-128, 127};
        case CIM_UINT8:
            return Range{0, 255};
        case CIM_SINT16:
            return Range{-32768, 32767};
        case CIM_UINT16:
        case CIM_CHAR16:
            return Range{0, 65535};
        case CIM_SINT32:
            return Range{std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        case CIM_UINT32:
            return Range{0, std::numeric_limits<unsigned>::max()};
        case CIM_SINT64:
            return Range{std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()};
        case CIM_UINT64:
            return Range{0, std::numeric_limits<unsigned long long>::max()};
        default:
            return std::nullopt;
    }
}

[[noreturn]] void fail(std::wstring_view text, std::string_view meaning)
{
    throw ValueError("'" + toUtf8(text) + "' is no " + std::string(meaning));
}

Variant integerFromText(std::wstring_view text, CIMTYPE type, Range range)
{
    const std::string meaning = toUtf8(infoOf(type).name) + ": a whole number from " + std::to_string(range.low) +
                                " to " + std::to_string(range.high);
    if (range.low == 0) {
        const auto number = parseUnsigned(text);
        if (!number || *number > range.high) {
            fail(text, meaning);
        }
        if (type == CIM_UINT64) {
            return Variant::ofText(std::to_wstring(*number));
        }
        if (type == CIM_UINT8) {
            return Variant::ofByte(static_cast<unsigned char>(*number));
        }
        return type == CIM_CHAR16 ? Variant::ofShort(static_cast<short>(*number))
                                  : Variant::ofLong(static_cast<long>(*number));
    }
    const auto number = parseSigned(text);
    if (!number || *number < range.low || *number > static_cast<long long>(range.high)) {
        fail(text, meaning);
    }
    if (type == CIM_SINT64) {
        return Variant::ofText(std::to_wstring(*number));
    }
    return type == CIM_SINT32 ? Variant::ofLong(static_cast<long>(*number))
                              : Variant::ofShort(static_cast<short>(*number));
}

Variant scalarFromText(std::wstring_view text, CIMTYPE type)
{
    if (const auto range = rangeOf(type)) {
        return integerFromText(text, type, *range);
    }
    switch (type) {
        case CIM_BOOLEAN:
            if (sameName(text, L"true") || sameName(text, L"false")) {
                return Variant::ofBool(sameName(text, L"true"));
            }
            fail(text, "boolean: true or false");
        case CIM_DATETIME:
            if (!isDatetime(text)) {
                fail(text, "datetime: yyyymmddhhmmss.ffffff+uuu or, for an interval, ddddddddhhmmss.ffffff:000");
            }
            return Variant::ofText(text);
        case CIM_REAL32:
            if (const auto number = realFromText<float>(text)) {
                return Variant::ofFloat(*number);
            }
            fail(text, "real32: a number such as 1.5");
        case CIM_REAL64:
            if (const auto number = realFromText<double>(text)) {
                return Variant::ofDouble(*number);
            }
            fail(text, "real64: a number such as 1.5");
        case CIM_STRING:
        case CIM_REFERENCE:
            return Variant::ofText(text);
        default:
            fail(text, "value that can be given as text");
    }
}

}  // namespace

const CimTypeInfo* findCimType(std::wstring_view name)
{
    const auto found = std::find_if(TYPES.begin(), TYPES.end(), [name](const CimTypeInfo& info) {
        return info.type != CIM_REFERENCE && sameName(info.name, name);
    });
    return found == TYPES.end() ? nullptr : &*found;
}

bool isCimType(CIMTYPE type)
{
    return entryOf(type) != TYPES.end();
}

const CimTypeInfo& infoOf(CIMTYPE type)
{
    const auto* found = entryOf(type);
    if (found == TYPES.end()) {
        throw std::logic_error("no CIM type " + std::to_string(type));
    }
    return *found;
}

std::optional<Variant> coerce(const VARIANT& value, CIMTYPE type)
{
    const auto read = dereferenced(value);
    if (!read) {
        return std::nullopt;
    }
    const VARIANT& target = read->get();
    if (target.vt == VT_NULL || target.vt == VT_EMPTY) {
        return Variant();
    }
    if (((target.vt & VT_ARRAY) != 0) != isArray(type)) {
        return std::nullopt;
    }
    if (!isArray(type)) {
        return coerceScalar(target, type);
    }
    if (!isList(target)) {
        return std::nullopt;
    }
    std::vector<Variant> elements;
    for (const Variant& element : elementsOf(target)) {
        auto coerced = element.isArray() ? std::nullopt : coerce(element.get(), elementTypeOf(type));
        // Every element of an array must have a value.
        if (!coerced || coerced->isNull()) {
            return std::nullopt;
        }
        elements.push_back(std::move(*coerced));
    }
    return Variant::ofArray(infoOf(type).variant, elements);
}

std::wstring scalarText(const VARIANT& value, CIMTYPE type)
{
    switch (value.vt) {
        case VT_NULL:
        case VT_EMPTY:
            return {};
        case VT_BSTR:
            return std::wstring(viewOf(value.bstrVal));
        case VT_BOOL:
            return value.boolVal != VARIANT_FALSE ? L"TRUE" : L"FALSE";
        case VT_UI1:
            return std::to_wstring(value.bVal);
        case VT_I2:
            return elementTypeOf(type) == CIM_CHAR16 ? std::to_wstring(static_cast<unsigned short>(value.iVal))
                                                     : std::to_wstring(value.iVal);
        case VT_I4:
            return elementTypeOf(type) == CIM_UINT32 ? std::to_wstring(static_cast<unsigned long>(value.lVal))
                                                     : std::to_wstring(value.lVal);
        case VT_R4:
            return realText(value.fltVal);
        case VT_R8:
            return realText(value.dblVal);
        default: {
            const auto text = changed(value, VT_BSTR);
            return text ? std::wstring(viewOf(text->get().bstrVal)) : L"(object)";
        }
    }
}

Variant valueFromText(std::wstring_view text, CIMTYPE type)
{
    if (!isArray(type)) {
        return scalarFromText(text, type);
    }
    std::vector<Variant> elements;
    while (!text.empty()) {
        const std::size_t comma = text.find(L',');
        elements.push_back(scalarFromText(text.substr(0, comma), elementTypeOf(type)));
        text.remove_prefix(comma == std::wstring_view::npos ? text.size() : comma + 1);
    }
    return Variant::ofArray(infoOf(type).variant, elements);
}

}  // namespace wmihost
