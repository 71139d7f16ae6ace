#include "wmihost/mof/MofContext.h"

#include <utility>

#include "wmihost/mof/MofValues.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {

Context::Context(ClassRepository& target)
    : repository(target), qualifiers([this](const Node& node, CIMTYPE type) { return readValue(*this, node, type); })
{
}

Namespace& Context::nameSpace()
{
    if (current == nullptr) {
        current = &repository.openNamespace(L"root\\default");
    }
    return *current;
}

ClassPointer Context::requiredClass(const Node& nameNode, std::string_view role)
{
    ClassPointer definition = nameSpace().findClass(nameOf(nameNode));
    if (!definition) {
        fail(nameNode,
             std::string(role) + " " + inQuotes(nameNode) + " is not declared in " + toUtf8(nameSpace().name()));
    }
    return definition;
}

void Context::define(const Node& aliasNode, Alias alias)
{
    if (!m_aliases.emplace(foldName(nameOf(aliasNode)), std::move(alias)).second) {
        fail(aliasNode, "the alias " + std::string(aliasNode.string_view()) + " is defined twice");
    }
}

const Alias* Context::findAlias(const Node& aliasNode) const
{
    const auto found = m_aliases.find(foldName(nameOf(aliasNode)));
    return found == m_aliases.end() ? nullptr : &found->second;
}

}  // namespace wmihost::mof
