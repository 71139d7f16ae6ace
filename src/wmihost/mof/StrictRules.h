#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "wmihost/mof/MofNode.h"
#include "wmihost/mof/MofQualifiers.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost::mof {

// The rules of DSP0004 that the platform's compiler does not enforce: a class is declared before anything refers to
// it, qualifiers are declared and stand where their scope lets them, with the flavors that they were declared with,
// and pragmas, directives and types are those of the standard. Collects violations; reading goes on after each.
class StrictRules
{
public:
    // Until this is called, no rule is checked. Declares the standard's qualifiers and WMI's in the table.
    void enable(QualifierTable& qualifiers);
    bool enabled() const { return m_enabled; }

    // A directive: "pragma autorecover", "include".
    void checkPragma(const Node& name);
    void checkInclude(const Node& directive);
    // The type that stands before a property, method or parameter of `className`. A class that it names has to be
    // declared in the namespace.
    void checkType(const Node& owner, std::wstring_view className, const Namespace& nameSpace);
    // A class that a text names, as in EmbeddedInstance.
    void checkReference(const Node& place, std::wstring_view referred, std::wstring_view className,
                        const Namespace& nameSpace);
    void checkParameterDefault(const Node& parameter);
    // The qualifiers of an element of that kind. The list may be null.
    void checkQualifiers(const Node* list, Scope element, const QualifierTable& qualifiers);

    // "file:line:column: what the standard says", in the order of the text.
    const std::vector<std::string>& violations() const { return m_violations; }

private:
    void note(const Node& node, std::string_view reason);
    void checkQualifier(const Node& node, Scope element, const QualifierTable& qualifiers);

    bool m_enabled = false;
    std::vector<std::string> m_violations;
};

// The kind of a class with these qualifiers.
Scope classScope(const Qualifiers& qualifiers);

}  // namespace wmihost::mof
