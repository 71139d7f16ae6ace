#include "core/CimPath.h"

#include <algorithm>

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

// The letters of the default locale, whatever the process around has set: a path means the same everywhere.
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
    return !text.empty() && isLetter(text.front()) && std::all_of(text.begin(), text.end(), isLetterOrDigit);
}

// The two sides of the one separator outside quotes; false where there is none, or more than one.
bool cutInTwo(std::string_view text, char separator, std::string_view& left, std::string_view& right)
{
    utils::Pieces pieces(text, separator, QUOTE);
    std::string_view further;
    return pieces.next(left) && pieces.next(right) && !pieces.next(further);
}

// The path behind its namespace, if it has one.
std::string_view withoutNamespace(const utils::LogSite& here, const std::string& text)
{
    utils::Pieces pieces(text, ':', QUOTE);
    std::string_view first;
    std::string_view second;
    std::string_view further;
    pieces.next(first);
    if (!pieces.next(second)) {
        return first;
    }
    if (pieces.next(further)) {
        refuse("model path not found", text);
    }
    if (utils::LogSite::debugOn()) {
        here.debugAt(99, "namespace is stripped [%s]", std::string(first).c_str());
    }
    return second;
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
    std::string_view className;
    std::string_view keys;
    if (!cutInTwo(modelPath, '.', className, keys)) {
        // Also the answer for a path with no separator at all.
        refuse("too many classname separators", text);
    }
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
    std::string_view item;
    while (items.next(item)) {
        parseKey(item);
    }
    m_modelPath = modelPath;
}

void CimPath::parseKey(std::string_view item)
{
    std::string_view name;
    std::string_view value;
    if (!cutInTwo(item, '=', name, value)) {
        refuse("only one '=' allowed", item);
    }
    if (!isIdentifier(name)) {
        refuse("invalid property name", item);
    }
    // Asked before the quotes go: a value of two quotes is a value, the empty text.
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
