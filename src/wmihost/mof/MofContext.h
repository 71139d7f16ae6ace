#pragma once

#include <map>
#include <optional>
#include <string>

#include "wmihost/mof/MofQualifiers.h"
#include "wmihost/mof/StrictRules.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost::mof {

// What an alias of a text stands for: an instance or a class.
struct Alias
{
    std::wstring path;  // empty for an instance of a class without keys
    std::optional<InstanceData> instance;
    ClassPointer definition;  // null for an instance
};

// What #pragma classflags or instanceflags demands of what exists already.
struct UpdateRule
{
    bool createOnly = false;
    bool updateOnly = false;
};

// What the statements of one compilation share.
class Context
{
public:
    explicit Context(ClassRepository& target);

    // The namespace of the last #pragma namespace; root\default before the first.
    Namespace& nameSpace();

    // The class that the node names in the current namespace. Throws MofError if it is not declared; `role` is what
    // the message calls it.
    ClassPointer requiredClass(const Node& nameNode, std::string_view role);

    // Remembers what an alias stands for. Throws MofError if the text defined it already.
    void define(const Node& aliasNode, Alias alias);
    // Null if the alias is not defined so far.
    const Alias* findAlias(const Node& aliasNode) const;

    ClassRepository& repository;
    Namespace* current = nullptr;
    QualifierTable qualifiers;
    UpdateRule classRule;
    UpdateRule instanceRule;
    StrictRules strict;

private:
    std::map<std::wstring, Alias> m_aliases;  // by the folded name, with the $
};

}  // namespace wmihost::mof
