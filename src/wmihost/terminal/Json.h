#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "wmihost/repository/CimType.h"

namespace wmihost {

// JSON that keeps the order of the properties.
using Json = nlohmann::ordered_json;

// A value as JSON: numbers as numbers (including 64-bit ones), texts, dates and references as texts, null values as
// null.
Json jsonOf(const VARIANT& value, CIMTYPE type);

// JSON for people, in indented lines. Control characters are escaped.
std::string jsonText(const Json& json);

}  // namespace wmihost
