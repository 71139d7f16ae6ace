#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The system properties in the order in which WMI enumerates them.
extern const std::array<std::wstring_view, 10> SYSTEM_PROPERTY_NAMES;

// Whether the name begins like that of a system property, and whether it is the name of one.
bool isSystemName(std::wstring_view name);
bool isSystemProperty(std::wstring_view name);

// The system properties as a class would declare them, and the one of that name; null if there is none.
const std::vector<Property>& systemProperties();
const Property* findSystemProperty(std::wstring_view name);

struct SystemValue
{
    Variant value;
    CIMTYPE type;
};

// The value of a system property of a class, or of its instance with those values. Nothing if the property does not
// exist.
std::optional<SystemValue> systemValue(const ClassDefinition& definition,
                                       const std::optional<std::vector<Variant>>& values, std::wstring_view name);

}  // namespace wmihost
