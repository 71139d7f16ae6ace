#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wmihost/repository/CimType.h"

namespace wmihost {

// A record of a CSV file as RFC 4180 has it, with its end of line (CR LF). A missing text is an empty field; an empty
// text is "".
std::string csvRecord(const std::vector<std::optional<std::string>>& fields);

// A value as a field: numbers, dates and references in WMI's spelling, an array as JSON, a null value as a missing
// text.
std::optional<std::string> csvField(const VARIANT& value, CIMTYPE type);

}  // namespace wmihost
