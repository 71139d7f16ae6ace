#include "broker/model/Fields.h"

#include <charconv>

#include "Utils/Utils.h"

namespace broker {

namespace {

constexpr char SEPARATOR = ';';
constexpr char ESCAPE = '%';

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        if (c == ESCAPE || c == SEPARATOR || c < ' ' || c > '~') {
            result += utils::format("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        } else {
            result += c;
        }
    }
    return result;
}

std::optional<std::string> unescaped(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != ESCAPE) {
            result += text[i];
            continue;
        }
        constexpr std::size_t DIGITS = 2;
        if (text.size() - i <= DIGITS) {
            return std::nullopt;
        }
        unsigned value = 0;
        const char* begin = text.data() + i + 1;
        if (std::from_chars(begin, begin + DIGITS, value, 16).ptr != begin + DIGITS) {
            return std::nullopt;
        }
        result += static_cast<char>(value);
        i += DIGITS;
    }
    return result;
}

}  // namespace

std::string joinFields(const std::vector<std::pair<std::string, std::string>>& fields)
{
    std::string result;
    for (const auto& [name, text] : fields) {
        if (!result.empty()) {
            result += SEPARATOR;
        }
        result += name + "=" + escaped(text);
    }
    return result;
}

std::optional<std::map<std::string, std::string>> splitFields(const std::string& text)
{
    std::map<std::string, std::string> result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(SEPARATOR, begin), text.size());
        const std::string field = text.substr(begin, end - begin);
        const std::size_t equals = field.find('=');
        if (equals == std::string::npos) {
            return std::nullopt;
        }
        std::optional<std::string> value = unescaped(field.substr(equals + 1));
        if (!value || !result.emplace(field.substr(0, equals), std::move(*value)).second) {
            return std::nullopt;
        }
        begin = end + 1;
    }
    return result;
}

std::optional<std::uint64_t> numberIn(const std::string& text)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::make_optional(number) : std::nullopt;
}

}  // namespace broker
