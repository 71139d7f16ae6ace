#include "core/CimPath.h"

#include <algorithm>
#include <optional>

#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace core {

namespace {

constexpr char QUOTE = '"';

[[noreturn]] void refuse(const char* problem, std::string_view text)
{
    throw utils::ESyntaxError(problem + (": '" + std::string(text)) + "'");
}

// The letters of the default locale. The locale of the process is ignored, so that a path means the same everywhere.
constexpr bool isLetter(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

constexpr bool isLetterOrDigit(char c) noexcept
{
    return isLetter(c) || (c >= '0' && c <= '9');
}

bool isIdentifier(std::string_view text)
{
    return !text.empty() && isLetter(text.front()) && std::ranges::all_of(text, isLetterOrDigit);
}

struct TwoSides
{
    std::string_view left;
    std::string_view right;
};

// The two sides of the one separator outside quotes; empty where there is none, or more than one.
std::optional<TwoSides> cutInTwo(std::string_view text, char separator)
{
    utils::Pieces pieces(text, separator, QUOTE);
    const std::optional<std::string_view> left = pieces.next();
    const std::optional<std::string_view> right = pieces.next();
    if (!right || pieces.next()) {
        return std::nullopt;
    }
    return TwoSides{*left, *right};
}

// The path behind its namespace, if it has one. The text must not be empty.
std::string_view withoutNamespace(const utils::LogSite& here, const std::string& text)
{
    utils::Pieces pieces(text, ':', QUOTE);
    const std::optional<std::string_view> first = pieces.next();
    const std::optional<std::string_view> second = pieces.next();
    if (!second) {
        return *first;
    }
    if (pieces.next()) {
        refuse("model path not found", text);
    }
    if (utils::LogSite::debugOn()) {
        here.debugAt(99, "namespace is stripped [%s]", std::string(*first).c_str());
    }
    return *second;
}

}  // namespace

CimPath::CimPath(const std::string& text)
{
    static constexpr utils::LogSite here{"CimPath", "core::CimPath::CimPath"};
    here.debugAt(81, "Creating path %s", text.c_str());
    if (text.empty()) {
        throw utils::ESyntaxError("empty path");
    }
    const std::string_view modelPath = withoutNamespace(here, text);
    const std::optional<TwoSides> sides = cutInTwo(modelPath, '.');
    if (!sides) {
        // Also the answer for a path with no separator at all.
        refuse("too many classname separators", text);
    }
    const auto [className, keys] = *sides;
    if (className.empty()) {
        refuse("empty class name", text);
    }
    if (!isIdentifier(className)) {
        refuse("invalid class name", text);
    }
    m_className = className;
    if (keys.empty()) {
        // No closing quote, unlike every other message: log filters match this text to its end.
        throw utils::ESyntaxError("no properties: '" + text);
    }
    utils::Pieces items(keys, ',', QUOTE);
    while (const std::optional<std::string_view> item = items.next()) {
        parseKey(*item);
    }
    m_modelPath = modelPath;
}

void CimPath::parseKey(std::string_view item)
{
    const std::optional<TwoSides> sides = cutInTwo(item, '=');
    if (!sides) {
        refuse("only one '=' allowed", item);
    }
    const auto [name, value] = *sides;
    if (!isIdentifier(name)) {
        refuse("invalid property name", item);
    }
    // Checked before the quotes are removed: two quotes are a value, the empty text.
    if (value.empty()) {
        refuse("property value empty", item);
    }
    const std::string key(name);
    if (contains(key)) {
        refuse("property already exists", item);
    }
    set(key, utils::unquote(std::string(value)));
}

}  // namespace core
