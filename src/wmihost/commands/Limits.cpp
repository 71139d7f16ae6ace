#include "wmihost/commands/Limits.h"

#include <algorithm>
#include <array>
#include <optional>

#include "wmihost/commands/Requests.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// This type represents every integer of 64 bits, signed or unsigned.
using Number = long double;

std::optional<Number> numberOf(const std::wstring& text)
{
    if (const auto number = parseSigned(text)) {
        return static_cast<Number>(*number);
    }
    const auto number = parseUnsigned(text);
    return number ? std::optional(static_cast<Number>(*number)) : std::nullopt;
}

// The length of a text in bytes of the machine's code page, which is what the limits of classes mean.
int bytesOf(std::wstring_view text)
{
    return WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
}

struct Limit
{
    const wchar_t* qualifier;
    bool isUpper;
    bool ofLength;
};

constexpr std::array LIMITS{Limit{L"MinValue", false, false}, Limit{L"MaxValue", true, false},
                            Limit{L"MinLen", false, true}, Limit{L"MaxLen", true, true}};

// "SampleCount: 601 is above its MaxValue, 600"; empty if the value keeps the limit, or if the property has no such
// limit.
std::string beyond(const Property& property, const VARIANT& value, const Limit& limit)
{
    const Qualifier* stated = findQualifier(property.qualifiers, limit.qualifier);
    if (stated == nullptr || limit.ofLength != (value.vt == VT_BSTR && property.type == CIM_STRING)) {
        return {};
    }
    const std::wstring text = scalarText(value, property.type);
    const std::wstring measure = limit.ofLength ? std::to_wstring(bytesOf(text)) : text;
    const std::wstring bound = scalarText(stated->value.get(), stated->type);
    const auto number = numberOf(measure);
    const auto most = numberOf(bound);
    if (!number || !most || (limit.isUpper ? *number <= *most : *number >= *most)) {
        return {};
    }
    return (limit.ofLength ? "its length in bytes, " + toUtf8(measure) + "," : toUtf8(measure)) + " is " +
           (limit.isUpper ? "above" : "below") + " its " + toUtf8(limit.qualifier) + ", " + toUtf8(bound);
}

std::string outsideMap(const Property& property, const VARIANT& value)
{
    const auto words = valueWords(property.qualifiers);
    const std::wstring text = scalarText(value, property.type);
    std::string list;
    for (const ValueWord& entry : words) {
        // A range of values is left to the provider.
        if (entry.value == text || entry.value.find(L"..") != std::wstring::npos) {
            return {};
        }
        list += (list.empty() ? "" : ", ") + toUtf8(entry.value) + " " + toUtf8(entry.word);
    }
    return words.empty() ? std::string() : toUtf8(text) + " is not in its ValueMap: " + list;
}

// The limit of the property that the value violates; empty if none. Arrays and null values have no limits.
std::string objectionTo(const Property& property, const VARIANT& value)
{
    if (value.vt == VT_NULL || value.vt == VT_EMPTY || (value.vt & VT_ARRAY) != 0) {
        return {};
    }
    for (const Limit& limit : LIMITS) {
        if (std::string text = beyond(property, value, limit); !text.empty()) {
            return text;
        }
    }
    return outsideMap(property, value);
}

void add(std::string& sentences, const Property& property, const std::string& objection)
{
    if (!objection.empty()) {
        sentences += (sentences.empty() ? "" : "; ") + toUtf8(property.name) + ": " + objection;
    }
}

}  // namespace

std::string refusedChanges(const ClassDefinition& definition, const std::vector<Assignment>& changes)
{
    std::string sentences;
    for (const Assignment& change : changes) {
        const Property& property = propertyOf(definition, change.first);
        const bool isWritable = hasQualifier(property.qualifiers, L"write");
        add(sentences, property,
            isWritable ? objectionTo(property, valueOfText(property, change.second).get())
                       : "the class does not declare it with the qualifier write");
    }
    return sentences;
}

std::string refusedArguments(const ClassDefinition& parameters, const std::vector<Assignment>& arguments)
{
    std::string sentences;
    for (const Assignment& argument : arguments) {
        // The method may not have the parameter; that was reported before.
        if (const Property* property = parameters.findProperty(argument.first)) {
            add(sentences, *property, objectionTo(*property, valueOfText(*property, argument.second).get()));
        }
    }
    return sentences;
}

void throwWithObjections(const RequestError& error, const std::string& objections)
{
    const std::string known = error.what();
    throw RequestError(error.status(), known + (known.empty() || objections.empty() ? "" : "; ") + objections);
}

}  // namespace wmihost
