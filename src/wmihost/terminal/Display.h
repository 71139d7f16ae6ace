#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// A value for people, in UTF-8: words from the property's value map, speeds with a unit, dates and intervals spelled
// out, references without server and namespace, arrays as a list, and control characters escaped. A null value is an
// empty text.
std::string displayText(const Property& property, const VARIANT& value);

// The word that the property's value map has for a value; empty if there is none.
std::wstring wordFor(const Qualifiers& qualifiers, const VARIANT& value, CIMTYPE type);

// A value of a value map, as the qualifier ValueMap spells it, and the word for it.
struct ValueWord
{
    std::wstring value;
    std::wstring word;
};

// The value map of a property, a parameter or a method; empty if it has none.
std::vector<ValueWord> valueWords(const Qualifiers& qualifiers);

// The value of a word in the value map (without case). Nothing if the word does not exist or stands for a range of
// values.
std::optional<std::wstring> valueForWord(const Qualifiers& qualifiers, std::wstring_view word);

// Whether the values of the property are numbers without words, which are aligned to the right.
bool isNumber(const Property& property);

// A number of units per second with a metric prefix: 1500 and "bit/s" give "1.5 kbit/s".
std::string rateText(double perSecond, const std::string& unit);

}  // namespace wmihost
