#include "wmihost/mof/StrictRules.h"

#include <algorithm>
#include <array>

#include "wmihost/mof/MofLiterals.h"
#include "wmihost/mof/StandardQualifiers.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

bool isStandardPragma(std::wstring_view name)
{
    constexpr std::array<std::wstring_view, 8> NAMES{L"include",  L"instancelocale", L"locale", L"namespace",
                                                     L"nonlocal", L"nonlocaltype",   L"source", L"sourcetype"};
    return std::any_of(NAMES.begin(), NAMES.end(), [name](const auto& known) { return sameName(known, name); });
}

// The word for the element in messages.
std::string_view wordFor(Scope element)
{
    switch (element) {
        case SCOPE_CLASS:
            return "a class";
        case SCOPE_ASSOCIATION:
            return "an association";
        case SCOPE_INDICATION:
            return "an indication";
        case SCOPE_PROPERTY:
            return "a property";
        case SCOPE_REFERENCE:
            return "a reference";
        case SCOPE_METHOD:
            return "a method";
        default:
            return "a parameter";
    }
}

}  // namespace

Scope classScope(const Qualifiers& qualifiers)
{
    if (hasQualifier(qualifiers, L"Association")) {
        return SCOPE_ASSOCIATION;
    }
    return hasQualifier(qualifiers, L"Indication") ? SCOPE_INDICATION : SCOPE_CLASS;
}

void StrictRules::enable(QualifierTable& qualifiers)
{
    addStandardQualifiers(qualifiers);
    m_enabled = true;
}

void StrictRules::note(const Node& node, std::string_view reason)
{
    m_violations.push_back(at(node.begin(), reason));
}

void StrictRules::checkPragma(const Node& name)
{
    if (m_enabled && !isStandardPragma(nameOf(name))) {
        note(name, "the pragma " + inQuotes(name) + " is not in the standard");
    }
}

void StrictRules::checkInclude(const Node& directive)
{
    if (m_enabled) {
        note(directive, "the standard includes files by #pragma include");
    }
}

void StrictRules::checkType(const Node& owner, std::wstring_view className, const Namespace& nameSpace)
{
    if (!m_enabled) {
        return;
    }
    const Node& typeNode = *childOf<type_name>(owner);
    const bool isReference = childOf<ref_mark>(owner) != nullptr;
    const CimTypeInfo* info = findCimType(nameOf(typeNode));
    const bool isClass = info == nullptr && !sameName(nameOf(typeNode), L"void");
    if (info != nullptr && info->type == CIM_OBJECT) {
        note(typeNode, "the type 'object' is not in the standard");
    } else if (isClass && !isReference) {
        note(typeNode,
             "an embedded object is a string with the qualifier EmbeddedInstance, not a " + inQuotes(typeNode));
    } else if (isClass) {
        checkReference(typeNode, nameOf(typeNode), className, nameSpace);
    }
}

void StrictRules::checkReference(const Node& place, std::wstring_view referred, std::wstring_view className,
                                 const Namespace& nameSpace)
{
    if (m_enabled && !sameName(referred, className) && !nameSpace.findClass(referred)) {
        note(place, "the class " + inQuotes(referred) + " is not declared above");
    }
}

void StrictRules::checkParameterDefault(const Node& parameter)
{
    if (m_enabled && childOf<default_value>(parameter) != nullptr) {
        note(*childOf<parameter_name>(parameter), "a parameter has no default value");
    }
}

void StrictRules::checkQualifiers(const Node* list, Scope element, const QualifierTable& qualifiers)
{
    if (!m_enabled || list == nullptr) {
        return;
    }
    for (const auto& node : list->children) {
        checkQualifier(*node, element, qualifiers);
    }
}

void StrictRules::checkQualifier(const Node& node, Scope element, const QualifierTable& qualifiers)
{
    const std::wstring name = nameIn<qualifier_name>(node);
    const QualifierDeclaration* declaration = qualifiers.find(name);
    if (declaration == nullptr) {
        note(node, "the qualifier " + inQuotes(name) + " is not declared");
        return;
    }
    if ((declaration->scopes & element) == 0) {
        note(node, "the qualifier " + inQuotes(name) + " may not stand at " + std::string(wordFor(element)));
    }
    if (withFlavors(declaration->flavor, node) != declaration->flavor) {
        note(node, "the qualifier " + inQuotes(name) + " was declared with other flavors");
    }
}

}  // namespace wmihost::mof
