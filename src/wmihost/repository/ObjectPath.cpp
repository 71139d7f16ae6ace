#include "wmihost/repository/ObjectPath.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "wmihost/repository/PathGrammar.h"
#include "wmihost/repository/QuotedText.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Node = path_grammar::p::parse_tree::node;

bool isNumberOrBoolean(std::wstring_view text)
{
    return parseSigned(text) || parseUnsigned(text) || sameName(text, L"TRUE") || sameName(text, L"FALSE");
}

std::wstring withBackslashes(std::string_view text)
{
    std::wstring result = toWide(text);
    std::replace(result.begin(), result.end(), L'/', L'\\');
    return result;
}

// Adds the value of the last key; the relative path has it between double quotes where quotes of either kind stood.
void addValue(const Node& node, ObjectPath& path)
{
    PathKey& key = path.keys.back();
    key.quoted = !node.is_type<path_grammar::bare>();
    key.value = key.quoted ? unescapedText(node.string_view()) : toWide(node.string_view());
    if (node.is_type<path_grammar::double_body>()) {
        path.relative += L'"' + toWide(node.string_view()) + L'"';
    } else {
        path.relative += key.quoted ? quotedText(key.value) : key.value;
    }
}

void addKey(const Node& node, ObjectPath& path)
{
    const bool isShort = node.is_type<path_grammar::short_form>();
    if (isShort && node.children.front()->is_type<path_grammar::singleton>()) {
        path.singleton = true;
        path.relative += L"=@";
        return;
    }
    const std::wstring name = isShort ? std::wstring() : toWide(node.children.front()->string_view());
    const wchar_t* const separator = path.keys.empty() ? L"." : L",";
    path.relative += (isShort ? L"" : separator) + name + L"=";
    path.keys.push_back({name, {}, false});
    addValue(*node.children.back(), path);
}

// Whether the path has a text for a value, and no quotes at all: a shell may have taken them away.
bool lacksQuotes(std::wstring_view text)
{
    const std::size_t equals = std::min(text.find(L'='), text.size());
    const std::wstring_view value = text.substr(std::min(equals + 1, text.size()));
    const std::wstring_view first = value.substr(0, value.find(L','));
    return !first.empty() && text.find_first_of(L"\"'") == std::wstring_view::npos && !isNumberOrBoolean(first);
}

std::wstring keyText(const VARIANT& value, CIMTYPE type)
{
    if (type != CIM_STRING && type != CIM_DATETIME && type != CIM_REFERENCE) {
        return scalarText(value, type);
    }
    return quotedText(viewOf(value.bstrVal));
}

}  // namespace

std::string quotesAdvice()
{
    return "where a shell took the quotes away, write \"Class.Key='value'\", with double quotes around the whole path "
           "and single quotes around each text";
}

ObjectPath ObjectPath::parse(std::wstring_view text)
{
    const std::string utf8 = toUtf8(text);
    path_grammar::p::memory_input input(utf8, "");
    std::unique_ptr<Node> root;
    try {
        root = path_grammar::p::parse_tree::parse<path_grammar::path, path_grammar::selector, path_grammar::p::nothing,
                                                  path_grammar::control>(input);
    } catch (const path_grammar::p::parse_error& error) {
        const std::size_t place = toWide(std::string_view(utf8).substr(0, error.positions().front().byte)).size();
        throw PathError("'" + utf8 + "' is not an object path: " + std::string(error.message()) + " at character " +
                        std::to_string(place + 1) + (lacksQuotes(text) ? "; " + quotesAdvice() : std::string()));
    }
    ObjectPath path;
    for (const auto& node : root->children) {
        if (node->is_type<path_grammar::server>()) {
            path.server = toWide(node->string_view());
        } else if (node->is_type<path_grammar::class_name>()) {
            path.className = toWide(node->string_view());
            path.relative = path.className;
            path.prefix = withBackslashes(std::string_view(utf8).substr(0, node->begin().byte));
        } else if (node->is_type<path_grammar::name_space>() || node->is_type<path_grammar::local_name_space>()) {
            path.nameSpace = withBackslashes(node->string_view());
        } else {
            addKey(*node, path);
        }
    }
    return path;
}

std::optional<std::wstring> relativePath(const ClassDefinition& definition, const std::vector<Variant>& values)
{
    if (hasQualifier(definition.qualifiers, L"singleton")) {
        return definition.name + L"=@";
    }
    std::vector<std::pair<std::wstring, std::wstring>> keys;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Property& property = definition.properties[i];
        if (!property.isKey()) {
            continue;
        }
        if (values[i].isNull()) {
            return std::nullopt;
        }
        keys.emplace_back(property.name, keyText(values[i].get(), property.type));
    }
    if (keys.empty()) {
        return std::nullopt;
    }
    std::sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return nameBefore(a.first, b.first); });
    std::wstring text = definition.name;
    wchar_t separator = L'.';
    for (const auto& [name, value] : keys) {
        text += separator + name + L"=" + value;
        separator = L',';
    }
    return text;
}

std::wstring fullPath(std::wstring_view nameSpace, std::wstring_view relativePath)
{
    std::wstring text = L"\\\\" + serverName() + L"\\";
    text += nameSpace;
    text += L':';
    text += relativePath;
    return text;
}

const std::wstring& serverName()
{
    static const std::wstring name = [] {
        std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> buffer{};
        auto size = static_cast<DWORD>(buffer.size());
        return GetComputerNameW(buffer.data(), &size) != 0 ? std::wstring(buffer.data(), size) : std::wstring(L".");
    }();
    return name;
}

}  // namespace wmihost
