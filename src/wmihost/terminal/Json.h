#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "wmihost/repository/CimType.h"

namespace wmihost {

// JSON that keeps the order of the properties.
using Json = nlohmann::ordered_json;

// A value as JSON: numbers as numbers (64-bit ones too), texts, dates and references as texts, no value as
// null.
Json jsonOf(const VARIANT& value, CIMTYPE type);

// JSON for a reader, in lines. What would steer a terminal is escaped.
std::string jsonText(const Json& json);

}  // namespace wmihost
