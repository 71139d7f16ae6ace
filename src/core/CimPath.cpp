#include "core/CimPath.h"

#include <algorithm>
#include <cctype>

#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace core {

namespace {

[[noreturn]] void refuse(const char* problem, const std::string& text)
{
    throw utils::ESyntaxError(problem + (": '" + text) + "'");
}

bool isIdentifier(const std::string& text)
{
    const auto letter = [](unsigned char c) { return std::isalpha(c) != 0 || c == '_'; };
    const auto letterOrDigit = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; };
    return !text.empty() && letter(static_cast<unsigned char>(text.front())) &&
           std::all_of(text.begin(), text.end(), letterOrDigit);
}

}  // namespace

CimPath::CimPath(const std::string& text)
{
    static constexpr utils::LogSite here{"CimPath", "core::CimPath::CimPath"};
    here.debugAt(81, "Creating path %s", text.c_str());
    if (text.empty()) {
        throw utils::ESyntaxError("empty path");
    }
    const std::vector<std::string> pathPieces = utils::split(text, ':', '"');
    if (pathPieces.size() > 2) {
        refuse("model path not found", text);
    }
    if (pathPieces.size() == 2) {
        here.debugAt(99, "namespace is stripped [%s]", pathPieces.front().c_str());
    }
    const std::string& modelPath = pathPieces.back();
    const std::vector<std::string> modelPieces = utils::split(modelPath, '.', '"');
    if (modelPieces.size() != 2) {
        // Also the answer for a path with no separator at all.
        refuse("too many classname separators", text);
    }
    const std::string& className = modelPieces.front();
    if (className.empty()) {
        refuse("empty class name", text);
    }
    if (!isIdentifier(className)) {
        refuse("invalid class name", text);
    }
    m_className = className;
    const std::vector<std::string> items = utils::split(modelPieces.back(), ',', '"');
    if (items.empty()) {
        // No closing quote, unlike every other message: log filters match this text to its end.
        throw utils::ESyntaxError("no properties: '" + text);
    }
    for (const std::string& item : items) {
        parseKey(item);
    }
    m_modelPath = modelPath;
}

void CimPath::parseKey(const std::string& item)
{
    const std::vector<std::string> sides = utils::split(item, '=', '"');
    if (sides.size() != 2) {
        refuse("only one '=' allowed", item);
    }
    const std::string& name = sides.front();
    const std::string& value = sides.back();
    if (!isIdentifier(name)) {
        refuse("invalid property name", item);
    }
    // Asked before the quotes go: a value of two quotes is a value, the empty text.
    if (value.empty()) {
        refuse("property value empty", item);
    }
    if (contains(name)) {
        refuse("property already exists", item);
    }
    set(name, utils::unquote(value));
}

}  // namespace core
