#include "wmihost/objects/PropertySelection.h"

#include "wmihost/objects/SystemProperties.h"

namespace wmihost {
namespace {

constexpr LONG ORIGIN_FLAGS = WBEM_MASK_CONDITION_ORIGIN;
constexpr LONG KEY_OR_REF = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY;

// Whether the flags name at most one condition of each group.
bool areConsistent(LONG flags)
{
    constexpr LONG KNOWN = KEY_OR_REF | ORIGIN_FLAGS | WBEM_MASK_CLASS_CONDITION;
    const LONG origin = flags & ORIGIN_FLAGS;
    return (flags & ~KNOWN) == 0 && (flags & KEY_OR_REF) != KEY_OR_REF && origin <= WBEM_FLAG_NONSYSTEM_ONLY &&
           (flags & WBEM_MASK_CLASS_CONDITION) != WBEM_MASK_CLASS_CONDITION;
}

bool selects(LONG flags, const Property& property)
{
    const LONG origin = flags & ORIGIN_FLAGS;
    return ((flags & WBEM_FLAG_KEYS_ONLY) == 0 || property.isKey()) &&
           ((flags & WBEM_FLAG_REFS_ONLY) == 0 || elementTypeOf(property.type) == CIM_REFERENCE) &&
           (origin != WBEM_FLAG_LOCAL_ONLY || property.local) &&
           (origin != WBEM_FLAG_PROPAGATED_ONLY || !property.local) && origin != WBEM_FLAG_SYSTEM_ONLY &&
           ((flags & WBEM_FLAG_CLASS_OVERRIDES_ONLY) == 0 || property.overridden) &&
           ((flags & WBEM_FLAG_CLASS_LOCAL_AND_OVERRIDES) == 0 || property.local);
}

}  // namespace

std::optional<std::vector<std::wstring>> selectedNames(const ClassDefinition& definition, bool isInstance, LONG flags)
{
    if (!areConsistent(flags) || (isInstance && (flags & WBEM_MASK_CLASS_CONDITION) != 0)) {
        return std::nullopt;
    }
    std::vector<std::wstring> names;
    const LONG origin = flags & ORIGIN_FLAGS;
    const bool withSystem =
        (origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY) && (flags & (KEY_OR_REF | WBEM_MASK_CLASS_CONDITION)) == 0;
    if (withSystem) {
        names.assign(SYSTEM_PROPERTY_NAMES.begin(), SYSTEM_PROPERTY_NAMES.end());
    }
    for (const Property& property : definition.properties) {
        if (selects(flags, property)) {
            names.push_back(property.name);
        }
    }
    return names;
}

}  // namespace wmihost
