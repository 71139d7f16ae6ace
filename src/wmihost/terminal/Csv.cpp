#include "wmihost/terminal/Csv.h"

#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::string quoted(const std::string& text)
{
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string result = "\"";
    for (const char c : text) {
        result += c == '"' ? "\"\"" : std::string(1, c);
    }
    return result + "\"";
}

}  // namespace

std::string csvRecord(const std::vector<std::optional<std::string>>& fields)
{
    std::string record;
    const char* comma = "";
    for (const auto& field : fields) {
        record += comma + (field ? quoted(*field) : std::string());
        comma = ",";
    }
    return record + "\r\n";
}

std::optional<std::string> csvField(const VARIANT& value, CIMTYPE type)
{
    if (value.vt == VT_NULL || value.vt == VT_EMPTY) {
        return std::nullopt;
    }
    return (value.vt & VT_ARRAY) != 0 ? jsonOf(value, type).dump() : toUtf8(scalarText(value, type));
}

}  // namespace wmihost
