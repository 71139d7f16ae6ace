#include "wmihost/mof/MofSource.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <string_view>

#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

constexpr std::string_view UTF16_LITTLE_MARK = "\xFF\xFE";
constexpr std::string_view UTF16_BIG_MARK = "\xFE\xFF";
constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";

std::string fromUtf16(std::string_view bytes, bool bigEndian)
{
    std::wstring wide;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        wide += static_cast<wchar_t>(bigEndian ? (first << 8) | second : (second << 8) | first);
    }
    return toUtf8(wide);
}

}  // namespace

std::optional<std::string> readSource(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (text.starts_with(UTF16_LITTLE_MARK) || text.starts_with(UTF16_BIG_MARK)) {
        const std::string_view bytes = std::string_view(text).substr(UTF16_LITTLE_MARK.size());
        return fromUtf16(bytes, text.starts_with(UTF16_BIG_MARK));
    }
    return text.starts_with(UTF8_MARK) ? text.substr(UTF8_MARK.size()) : text;
}

}  // namespace wmihost::mof
