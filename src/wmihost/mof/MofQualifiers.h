#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "wmihost/mof/MofNode.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost::mof {

// The kinds of elements that carry qualifiers, as a declaration's Scope names them.
enum Scope : unsigned
{
    SCOPE_CLASS = 1,
    SCOPE_ASSOCIATION = 2,
    SCOPE_INDICATION = 4,
    SCOPE_PROPERTY = 8,
    SCOPE_REFERENCE = 16,
    SCOPE_METHOD = 32,
    SCOPE_PARAMETER = 64,
    SCOPE_ANY = 127
};

// The declaration of a qualifier, which applies to each use of it.
struct QualifierDeclaration
{
    // None if the declaration only names flavors, as in "Qualifier Description : ToSubclass Amended;".
    std::optional<CIMTYPE> type;
    Variant defaultValue;
    long flavor = 0;  // WBEM_FLAVOR_ bits
    unsigned scopes = SCOPE_ANY;
    // Whether it is declared by the standard and not by the file, which may declare it again.
    bool isStandard = false;
};

// The flavor of a qualifier after the words of the list have changed `flavor`. Throws MofError for a word that is not a
// flavor.
long withFlavors(long flavor, const Node& node);

// Whether the word is a flavor.
bool isFlavor(std::wstring_view word);

// The declarations of qualifiers of one compilation, and the qualifiers of elements as these declare them.
class QualifierTable
{
public:
    // Reads the value that the node spells for a type.
    using ReadValue = std::function<Variant(const Node&, CIMTYPE)>;

    explicit QualifierTable(ReadValue readValue) : m_readValue(std::move(readValue)) {}

    // Null if the qualifier is not declared.
    const QualifierDeclaration* find(std::wstring_view name) const;

    // Adds a declaration that does not come from the text.
    void add(std::wstring_view name, QualifierDeclaration declaration);

    // Adds the declaration that the node spells. Throws MofError.
    void declare(const Node& node);

    // The qualifiers of an element: those of `list`, which may be null, over those that the element inherits.
    // Throws MofError.
    Qualifiers read(const Node* list, Qualifiers inherited = {}) const;

    // Whether an output parameter without the qualifier In is an input as well. True if a file declares In with the
    // default TRUE, as the schema of the DMTF does.
    bool outputsAreInputs() const;

private:
    Qualifier qualifier(const Node& node) const;

    ReadValue m_readValue;
    std::map<std::wstring, QualifierDeclaration> m_declarations;  // by folded name
};

}  // namespace wmihost::mof
