#include "wmihost/mof/MofNode.h"

#include "wmihost/mof/MofCompiler.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {

std::string at(const p::position& where, std::string_view reason)
{
    return where.source + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " +
           std::string(reason);
}

void fail(const p::position& where, std::string_view reason)
{
    throw MofError(at(where, reason));
}

void fail(const Node& node, std::string_view reason)
{
    fail(node.begin(), reason);
}

std::string inQuotes(std::wstring_view name)
{
    return "'" + toUtf8(name) + "'";
}

std::string inQuotes(const Node& name)
{
    return "'" + std::string(name.string_view()) + "'";
}

std::wstring nameOf(const Node& node)
{
    return toWide(node.string_view());
}

}  // namespace wmihost::mof
