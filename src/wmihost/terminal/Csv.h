#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wmihost/repository/CimType.h"

namespace wmihost {

// A record of a CSV file as RFC 4180 has it, with its end of line (CR LF). No text is an empty field, an empty text is
// "".
std::string csvRecord(const std::vector<std::optional<std::string>>& fields);

// A value as a field: numbers, dates and references as WMI spells them, an array as JSON, no value as no text.
std::optional<std::string> csvField(const VARIANT& value, CIMTYPE type);

}  // namespace wmihost
