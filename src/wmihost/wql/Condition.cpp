#include "wmihost/wql/Condition.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <string>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/objects/SystemProperties.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/DateConstant.h"
#include "wmihost/wql/LikePattern.h"

namespace wmihost::wql {
namespace {

// This type represents every integer of 64 bits exactly.
using Number = long double;

constexpr std::wstring_view THIS_OBJECT = L"__THIS";

std::optional<Number> numberOf(std::wstring_view text)
{
    if (const auto natural = parseUnsigned(text)) {
        return static_cast<Number>(*natural);
    }
    if (const auto whole = parseSigned(text)) {
        return static_cast<Number>(*whole);
    }
    std::string plain = toUtf8(text);
    plain.erase(0, plain.starts_with('+') ? 1 : 0);
    double real = 0;
    const auto [end, error] = std::from_chars(plain.data(), plain.data() + plain.size(), real);
    const bool whole = error == std::errc() && end == plain.data() + plain.size();
    return whole && std::isfinite(real) ? std::optional<Number>(real) : std::nullopt;
}

// The number of that word in the value map.
std::optional<Number> numberForWord(const Qualifiers& qualifiers, std::wstring_view word)
{
    const Qualifier* words = findQualifier(qualifiers, L"Values");
    const Qualifier* keys = findQualifier(qualifiers, L"ValueMap");
    if (words == nullptr || keys == nullptr || !words->value.isArray() || !keys->value.isArray()) {
        return std::nullopt;
    }
    const auto spelled = elementsOf(words->value.get());
    const auto numbers = elementsOf(keys->value.get());
    for (std::size_t i = 0; i < spelled.size() && i < numbers.size(); ++i) {
        if (sameName(scalarText(spelled[i].get(), CIM_STRING), word)) {
            return numberOf(scalarText(numbers[i].get(), CIM_STRING));
        }
    }
    return std::nullopt;
}

std::optional<Number> wantedNumber(const Constant& constant, const Qualifiers& qualifiers)
{
    if (constant.kind == Constant::Kind::BOOLEAN) {
        return std::nullopt;
    }
    const auto number = numberOf(constant.text);
    return number ? number : numberForWord(qualifiers, constant.text);
}

// The words that tables show for booleans are accepted as well.
std::optional<bool> wantedBoolean(const Constant& constant)
{
    const auto isOneOf = [&constant](std::initializer_list<std::wstring_view> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](std::wstring_view word) { return sameName(constant.text, word); });
    };
    if (isOneOf({L"TRUE", L"1", L"yes"})) {
        return true;
    }
    return isOneOf({L"FALSE", L"0", L"no"}) ? std::optional(false) : std::nullopt;
}

template <class Value>
bool compare(const Value& left, const Value& right, Operator op)
{
    switch (op) {
        case Operator::EQUAL:
            return left == right;
        case Operator::NOT_EQUAL:
            return left != right;
        case Operator::LESS:
            return left < right;
        case Operator::LESS_OR_EQUAL:
            return left <= right;
        case Operator::GREATER:
            return left > right;
        default:
            return left >= right;
    }
}

bool compareTexts(std::wstring_view left, std::wstring_view right, Operator op)
{
    const int order = CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                           static_cast<int>(right.size()), TRUE);
    return compare(order, CSTR_EQUAL, op);
}

// The object that a property embeds; null if there is none.
ComPtr<IWbemClassObject> embedded(const VARIANT& value)
{
    ComPtr<IWbemClassObject> object;
    if (value.vt == VT_UNKNOWN && value.punkVal != nullptr) {
        value.punkVal->QueryInterface(IID_PPV_ARGS(object.put()));
    }
    return object;
}

bool isA(IWbemClassObject& object, std::wstring_view className)
{
    if (sameName(textOf(object, L"__CLASS"), className)) {
        return true;
    }
    const Variant ancestors = valueOf(object, L"__DERIVATION");
    if (!ancestors.isArray()) {
        return false;
    }
    const auto list = elementsOf(ancestors.get());
    return std::any_of(list.begin(), list.end(), [className](const Variant& ancestor) {
        return sameName(scalarText(ancestor.get(), CIM_STRING), className);
    });
}

[[noreturn]] void refuse(const Condition& whole, std::size_t place, const std::string& reason)
{
    throw QueryError(errorAt(whole.source, place, reason));
}

std::string wordsOf(const Property& property)
{
    std::string text;
    const Qualifier* words = findQualifier(property.qualifiers, L"Values");
    if (words != nullptr && words->value.isArray()) {
        for (const Variant& word : elementsOf(words->value.get())) {
            text += (text.empty() ? "" : ", ") + toUtf8(scalarText(word.get(), CIM_STRING));
        }
    }
    return text;
}

void checkValue(const Condition& whole, const Comparison& comparison, const Property& property)
{
    const Constant& constant = comparison.constant;
    const std::string value = "'" + toUtf8(constant.text) + "'";
    const std::string name = toUtf8(property.name);
    if (property.type == CIM_BOOLEAN && !wantedBoolean(constant)) {
        refuse(whole, constant.place, name + " is a boolean; " + value + " is not TRUE, FALSE, 1 or 0");
    }
    if (property.type == CIM_DATETIME && !isInterval(constant.text) && !pointInTime(constant.text)) {
        refuse(whole, constant.place,
               name + " is a datetime; " + value +
                   " is neither a date (2026-11-21, 20261121094500.000000+060) nor an interval "
                   "(00000001020304.000000:000)");
    }
    if (isNumeric(property.type) && !wantedNumber(constant, property.qualifiers)) {
        const std::string words = wordsOf(property);
        refuse(whole, constant.place,
               name + " is a number; " + value +
                   (words.empty() ? " is not" : " is neither one nor a word for one (" + words + ")"));
    }
}

void checkComparison(const Condition& whole, const Comparison& comparison, const ClassDefinition& definition)
{
    const std::wstring& name = comparison.property.front();
    const bool tests = comparison.op == Operator::IS_NULL || comparison.op == Operator::IS_NOT_NULL;
    if (sameName(name, THIS_OBJECT)) {
        if (comparison.op != Operator::IS_A) {
            refuse(whole, comparison.place, "__THIS is the object itself, and takes ISA alone");
        }
        return;
    }
    const Property* property = isSystemName(name) ? findSystemProperty(name) : definition.findProperty(name);
    if (property == nullptr) {
        throw RequestError(code(WBEM_E_INVALID_PROPERTY), "the class " + toUtf8(definition.name) + " has no property " +
                                                              toUtf8(name) +
                                                              suggestionAmong(name, definition.properties));
    }
    const bool holdsObject = property->type == CIM_OBJECT;
    if (comparison.property.size() > 1) {
        if (!holdsObject) {
            refuse(whole, comparison.place, toUtf8(name) + " holds no object, so that it has no properties");
        }
        // The class of an embedded object is known only when there is one.
        return;
    }
    if (tests) {
        return;
    }
    if (isArray(property->type)) {
        refuse(whole, comparison.place, toUtf8(name) + " is an array, which takes IS NULL and IS NOT NULL alone");
    }
    if (holdsObject != (comparison.op == Operator::IS_A)) {
        refuse(whole, comparison.place,
               holdsObject ? toUtf8(name) + " holds an object, which takes ISA and IS NULL alone"
                           : toUtf8(name) + " holds no object, which ISA needs");
    }
    if (holdsObject) {
        return;
    }
    if (comparison.op == Operator::LIKE) {
        if (isNumeric(property->type) || property->type == CIM_BOOLEAN) {
            refuse(whole, comparison.place, toUtf8(name) + " is not a text, which LIKE needs");
        }
        return;
    }
    const bool orders = comparison.op != Operator::EQUAL && comparison.op != Operator::NOT_EQUAL;
    if (property->type == CIM_BOOLEAN && orders) {
        refuse(whole, comparison.place, toUtf8(name) + " is a boolean, which takes = and <> alone");
    }
    checkValue(whole, comparison, *property);
}

void check(const Condition& whole, const Condition& condition, const ClassDefinition& definition)
{
    if (condition.kind == Condition::Kind::COMPARISON) {
        checkComparison(whole, condition.comparison, definition);
    }
    for (const Condition& part : condition.parts) {
        check(whole, part, definition);
    }
}

std::optional<bool> compareValue(const Comparison& comparison, const VARIANT& value, CIMTYPE type,
                                 const Qualifiers& qualifiers)
{
    const std::wstring text = scalarText(value, type);
    const std::wstring& wanted = comparison.constant.text;
    if (comparison.op == Operator::LIKE) {
        return LikePattern(wanted).matches(text);
    }
    if (type == CIM_BOOLEAN) {
        return compare(std::optional(value.boolVal != VARIANT_FALSE), wantedBoolean(comparison.constant),
                       comparison.op);
    }
    if (type == CIM_DATETIME) {
        const auto left = pointInTime(text);
        const auto right = pointInTime(wanted);
        if (left && right) {
            return compare(*left, *right, comparison.op);
        }
    }
    const auto number = isNumeric(type) ? wantedNumber(comparison.constant, qualifiers) : std::nullopt;
    const auto own = number ? numberOf(text) : std::nullopt;
    return own ? compare(*own, *number, comparison.op) : compareTexts(text, wanted, comparison.op);
}

std::optional<bool> holdsComparison(const Comparison& comparison, const ClassDefinition& definition,
                                    IWbemClassObject& object)
{
    if (sameName(comparison.property.front(), THIS_OBJECT)) {
        return isA(object, comparison.constant.text);
    }
    ComPtr<IWbemClassObject> holder(&object);
    for (std::size_t i = 0; i + 1 < comparison.property.size(); ++i) {
        holder = embedded(valueOf(*holder.get(), comparison.property[i]).get());
        if (!holder) {
            return comparison.op == Operator::IS_NULL ? std::optional(true) : std::nullopt;
        }
    }
    const std::wstring& name = comparison.property.back();
    Variant value;
    CIMTYPE type = CIM_STRING;
    holder->Get(name.c_str(), 0, value.put(), &type, nullptr);
    if (comparison.op == Operator::IS_NULL || comparison.op == Operator::IS_NOT_NULL) {
        return value.isNull() == (comparison.op == Operator::IS_NULL);
    }
    if (value.isNull() || value.isArray()) {
        return std::nullopt;
    }
    if (comparison.op == Operator::IS_A) {
        const auto inner = embedded(value.get());
        return inner && isA(*inner.get(), comparison.constant.text);
    }
    const Property* property = comparison.property.size() == 1 ? definition.findProperty(name) : nullptr;
    static const Qualifiers none;
    return compareValue(comparison, value.get(), type, property == nullptr ? none : property->qualifiers);
}

}  // namespace

void checkCondition(const Condition& condition, const ClassDefinition& definition)
{
    check(condition, condition, definition);
}

std::optional<bool> holds(const Condition& condition, const ClassDefinition& definition, IWbemClassObject& object)
{
    switch (condition.kind) {
        case Condition::Kind::COMPARISON:
            return holdsComparison(condition.comparison, definition, object);
        case Condition::Kind::NEGATION: {
            const auto part = holds(condition.parts.front(), definition, object);
            return part ? std::optional(!*part) : std::nullopt;
        }
        default: {
            // One part can decide: false decides AND, true decides OR.
            const bool deciding = condition.kind == Condition::Kind::ANY;
            std::optional<bool> result = !deciding;
            for (const Condition& part : condition.parts) {
                const auto value = holds(part, definition, object);
                if (value == deciding) {
                    return deciding;
                }
                if (!value) {
                    result = std::nullopt;
                }
            }
            return result;
        }
    }
}

}  // namespace wmihost::wql
