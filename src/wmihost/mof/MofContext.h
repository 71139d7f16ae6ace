#pragma once

#include <map>
#include <optional>
#include <string>

#include "wmihost/mof/MofQualifiers.h"
#include "wmihost/mof/StrictRules.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost::mof {

// The meaning of an alias: an instance or a class.
struct Alias
{
    std::wstring path;  // empty for an instance of a class without keys
    std::optional<InstanceData> instance;
    ClassPointer definition;  // null for an instance
};

// How #pragma classflags or instanceflags treats classes or instances that exist already.
struct UpdateRule
{
    bool createOnly = false;
    bool updateOnly = false;
};

// The state that the statements of one compilation share.
class Context
{
public:
    explicit Context(ClassRepository& target);

    // The namespace of the last #pragma namespace; root\default before the first.
    Namespace& nameSpace();

    // The class that the node names in the current namespace. Throws MofError if it is not declared; `role` is its
    // description in the message.
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
