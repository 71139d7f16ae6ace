#include "wmihost/terminal/Display.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr std::size_t DATETIME_LENGTH = 25;
constexpr std::size_t DATETIME_SIGN = 21;

// "20261121094145.000000+000" -> "2026-11-21 09:41:45 +000 min"; "00000001020304.000000:000" -> "1 d 02:03:04"
std::wstring datetimeText(const std::wstring& text)
{
    if (text.size() != DATETIME_LENGTH) {
        return text;
    }
    if (text[DATETIME_SIGN] == L':') {
        const auto days = parseUnsigned(text.substr(0, 8));
        const std::wstring clock = text.substr(8, 2) + L":" + text.substr(10, 2) + L":" + text.substr(12, 2);
        return days && *days > 0 ? std::to_wstring(*days) + L" d " + clock : clock;
    }
    std::wstring result = text.substr(0, 4) + L"-" + text.substr(4, 2) + L"-" + text.substr(6, 2) + L" " +
                          text.substr(8, 2) + L":" + text.substr(10, 2) + L":" + text.substr(12, 2);
    const std::wstring offset = text.substr(DATETIME_SIGN);
    return result + (offset == L"+000" ? L" UTC" : L" " + offset + L" min");
}

std::wstring referenceText(const std::wstring& text)
{
    const std::size_t colon = text.starts_with(L"\\\\") ? text.find(L':') : std::wstring::npos;
    return colon == std::wstring::npos ? text : text.substr(colon + 1);
}

std::vector<std::wstring> textsOf(const Qualifiers& qualifiers, std::wstring_view name)
{
    std::vector<std::wstring> texts;
    const Qualifier* qualifier = findQualifier(qualifiers, name);
    if (qualifier != nullptr && qualifier->type == (CIM_STRING | CIM_FLAG_ARRAY)) {
        for (const Variant& element : elementsOf(qualifier->value.get())) {
            texts.emplace_back(viewOf(element.get().bstrVal));
        }
    }
    return texts;
}

std::string scalarDisplay(const Property& property, const VARIANT& value)
{
    const CIMTYPE type = elementTypeOf(property.type);
    if (const std::wstring word = wordFor(property.qualifiers, value, type); !word.empty()) {
        return toUtf8(word);
    }
    const std::wstring text = scalarText(value, type);
    if (type == CIM_BOOLEAN) {
        return text == L"TRUE" ? "yes" : "no";
    }
    if (type == CIM_DATETIME) {
        return toUtf8(datetimeText(text));
    }
    if (type == CIM_REFERENCE) {
        return toUtf8(referenceText(text));
    }
    if (sameName(qualifierText(property.qualifiers, L"Units"), L"Bits per Second")) {
        if (const auto number = parseUnsigned(text)) {
            return rateText(static_cast<double>(*number), "bit/s");
        }
    }
    return toUtf8(text);
}

}  // namespace

std::vector<ValueWord> valueWords(const Qualifiers& qualifiers)
{
    const auto words = textsOf(qualifiers, L"Values");
    const auto keys = textsOf(qualifiers, L"ValueMap");
    std::vector<ValueWord> result;
    for (std::size_t i = 0; i < keys.size() && i < words.size(); ++i) {
        result.push_back({keys[i], words[i]});
    }
    // Without ValueMap the words are those of 0, 1, 2 and so on.
    for (std::size_t i = 0; keys.empty() && i < words.size(); ++i) {
        result.push_back({std::to_wstring(i), words[i]});
    }
    return result;
}

std::wstring wordFor(const Qualifiers& qualifiers, const VARIANT& value, CIMTYPE type)
{
    const std::wstring text = scalarText(value, type);
    for (ValueWord& entry : valueWords(qualifiers)) {
        if (entry.value == text) {
            return std::move(entry.word);
        }
    }
    return {};
}

std::optional<std::wstring> valueForWord(const Qualifiers& qualifiers, std::wstring_view word)
{
    for (ValueWord& entry : valueWords(qualifiers)) {
        // A range such as "7..100" has a word and is not a value.
        if (sameName(entry.word, word) && entry.value.find(L"..") == std::wstring::npos) {
            return std::move(entry.value);
        }
    }
    return std::nullopt;
}

std::string displayText(const Property& property, const VARIANT& value)
{
    if (value.vt == VT_NULL || value.vt == VT_EMPTY) {
        return {};
    }
    if ((value.vt & VT_ARRAY) == 0) {
        return visible(scalarDisplay(property, value));
    }
    std::string list;
    for (const Variant& element : elementsOf(value)) {
        list += (list.empty() ? "" : ", ") + visible(scalarDisplay(property, element.get()));
    }
    return list;
}

bool isNumber(const Property& property)
{
    return isNumeric(property.type) && findQualifier(property.qualifiers, L"Values") == nullptr;
}

std::string rateText(double perSecond, const std::string& unit)
{
    constexpr std::array<const char*, 6> PREFIXES{"", "k", "M", "G", "T", "P"};
    constexpr double STEP = 1000;
    std::size_t power = 0;
    while (perSecond >= STEP && power + 1 < PREFIXES.size()) {
        perSecond /= STEP;
        ++power;
    }
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.4g %s", perSecond, PREFIXES[power]);
    return buffer.data() + unit;
}

}  // namespace wmihost
