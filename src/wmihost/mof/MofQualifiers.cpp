#include "wmihost/mof/MofQualifiers.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "wmihost/mof/MofLiterals.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

struct Flavor
{
    std::wstring_view name;
    long sets;
    long clears;
};

constexpr std::array<Flavor, 9> FLAVOR_TABLE{{
    {L"ToInstance", WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE, 0},
    {L"NotToInstance", 0, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE},
    {L"ToSubclass", WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS, 0},
    {L"NotToSubclass", 0, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS},
    {L"Restricted", 0, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS},
    {L"DisableOverride", WBEM_FLAVOR_NOT_OVERRIDABLE, 0},
    {L"EnableOverride", 0, WBEM_FLAVOR_NOT_OVERRIDABLE},
    {L"Amended", WBEM_FLAVOR_AMENDED, 0},
    // The qualifier marks texts in several languages. This compiler supports one.
    {L"Translatable", 0, 0},
}};

struct ScopeWord
{
    std::wstring_view name;
    unsigned scopes;
};

// Schemas and qualifiers are elements of the model, but no text declares them with qualifiers.
constexpr std::array<ScopeWord, 10> SCOPE_TABLE{{
    {L"Any", SCOPE_ANY},
    {L"Association", SCOPE_ASSOCIATION},
    {L"Class", SCOPE_CLASS},
    {L"Indication", SCOPE_INDICATION},
    {L"Method", SCOPE_METHOD},
    {L"Parameter", SCOPE_PARAMETER},
    {L"Property", SCOPE_PROPERTY},
    {L"Qualifier", 0},
    {L"Reference", SCOPE_REFERENCE},
    {L"Schema", 0},
}};

template <class Table>
auto entryOf(const Table& table, std::wstring_view name)
{
    const auto* found =
        std::find_if(table.begin(), table.end(), [name](const auto& entry) { return sameName(entry.name, name); });
    return found == table.end() ? nullptr : found;
}

unsigned scopesOf(const Node& node)
{
    unsigned scopes = 0;
    bool limited = false;
    for (const auto& child : node.children) {
        if (child->is_type<scope_word>()) {
            const auto* word = entryOf(SCOPE_TABLE, nameOf(*child));
            if (word == nullptr) {
                fail(*child, "the scope " + inQuotes(*child) + " is unknown");
            }
            scopes |= word->scopes;
            limited = true;
        }
    }
    return limited ? scopes : unsigned{SCOPE_ANY};
}

// The type of a declaration; none if a flavor stands in its place.
std::optional<CIMTYPE> declaredType(const Node& node)
{
    const Node& typeNode = *childOf<qualifier_type>(node);
    const CimTypeInfo* info = findCimType(nameOf(typeNode));
    if (info == nullptr && isFlavor(nameOf(typeNode))) {
        return std::nullopt;
    }
    if (info == nullptr || info->type == CIM_OBJECT) {
        fail(typeNode, "a qualifier is of a simple type, not of " + inQuotes(typeNode));
    }
    return childOf<array_mark>(node) == nullptr ? info->type : info->type | CIM_FLAG_ARRAY;
}

// WMI gives these qualifiers their flavor in every MOF. Without it, instances would have no keys.
bool hasFixedFlavor(std::wstring_view name)
{
    constexpr std::array<std::wstring_view, 4> NAMES{L"key", L"in", L"out", L"ID"};
    return std::any_of(NAMES.begin(), NAMES.end(), [name](const auto& fixed) { return sameName(fixed, name); });
}

}  // namespace

bool isFlavor(std::wstring_view word)
{
    return entryOf(FLAVOR_TABLE, word) != nullptr;
}

long withFlavors(long flavor, const Node& node)
{
    for (const auto& child : node.children) {
        if (!child->is_type<mof::flavor>()) {
            continue;
        }
        const auto* word = entryOf(FLAVOR_TABLE, nameOf(*child));
        if (word == nullptr) {
            fail(*child, "the flavor " + inQuotes(*child) + " is unknown");
        }
        flavor = (flavor | word->sets) & ~word->clears;
    }
    return flavor;
}

const QualifierDeclaration* QualifierTable::find(std::wstring_view name) const
{
    const auto found = m_declarations.find(foldName(name));
    return found == m_declarations.end() ? nullptr : &found->second;
}

void QualifierTable::add(std::wstring_view name, QualifierDeclaration declaration)
{
    m_declarations.insert_or_assign(foldName(name), std::move(declaration));
}

void QualifierTable::declare(const Node& node)
{
    const Node& nameNode = *childOf<declared_qualifier>(node);
    const QualifierDeclaration* earlier = find(nameOf(nameNode));
    if (earlier != nullptr && !earlier->isStandard) {
        fail(nameNode, "the qualifier " + inQuotes(nameNode) + " is declared twice");
    }
    QualifierDeclaration result;
    result.type = declaredType(node);
    result.scopes = scopesOf(node);
    if (result.type) {
        // Without the word Restricted, derived classes inherit the qualifier.
        result.flavor = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
        if (const Node* defaultNode = childOf<default_value>(node)) {
            result.defaultValue = m_readValue(*defaultNode->children.front(), *result.type);
        }
    } else {
        const Flavor* first = entryOf(FLAVOR_TABLE, nameIn<qualifier_type>(node));
        result.flavor = first->sets;
    }
    result.flavor = withFlavors(result.flavor, node);
    add(nameOf(nameNode), std::move(result));
}

Qualifiers QualifierTable::read(const Node* list, Qualifiers inherited) const
{
    Qualifiers result = std::move(inherited);
    if (list == nullptr) {
        return result;
    }
    std::set<std::wstring> seen;
    for (const auto& node : list->children) {
        Qualifier next = qualifier(*node);
        if (!seen.insert(foldName(next.name)).second) {
            fail(*node, "the qualifier " + inQuotes(next.name) + " stands here twice");
        }
        const auto same = [&next](const Qualifier& q) { return sameName(q.name, next.name); };
        const auto earlier = std::find_if(result.begin(), result.end(), same);
        if (earlier == result.end()) {
            result.push_back(std::move(next));
            continue;
        }
        const bool fixed = (earlier->flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) != 0;
        if (fixed && !sameValue(earlier->value.get(), next.value.get())) {
            fail(*node, "the qualifier " + inQuotes(next.name) + " of the superclass cannot be overridden");
        }
        if (!fixed) {
            *earlier = std::move(next);
        }
    }
    return result;
}

Qualifier QualifierTable::qualifier(const Node& node) const
{
    Qualifier result;
    result.name = nameIn<qualifier_name>(node);
    result.value = Variant::ofBool(true);
    const QualifierDeclaration* declaration = find(result.name);
    const bool isTyped = declaration != nullptr && declaration->type;
    if (declaration != nullptr) {
        result.flavor = declaration->flavor;
    }
    // A boolean qualifier without a value is true, even if its declaration has the default false.
    if (isTyped && *declaration->type != CIM_BOOLEAN) {
        result.value = declaration->defaultValue;
    }
    result.type = isTyped ? *declaration->type : result.type;
    for (const auto& child : node.children) {
        if (!child->is_type<mof::flavor>() && !child->is_type<qualifier_name>()) {
            result.type = isTyped ? result.type : literalType(*child);
            result.value = m_readValue(*child, result.type);
        }
    }
    result.flavor = withFlavors(result.flavor, node);
    if (hasFixedFlavor(result.name)) {
        result.flavor |= keyQualifier().flavor;
    }
    return result;
}

bool QualifierTable::outputsAreInputs() const
{
    const QualifierDeclaration* in = find(L"In");
    return in != nullptr && !in->isStandard && in->type == CIMTYPE{CIM_BOOLEAN} && !in->defaultValue.isNull() &&
           in->defaultValue.get().boolVal != VARIANT_FALSE;
}

}  // namespace wmihost::mof
