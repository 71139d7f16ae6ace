#include "wmihost/objects/PropertySelection.h"

#include "wmihost/objects/SystemProperties.h"

namespace wmihost {
namespace {

constexpr LONG originFlags = WBEM_MASK_CONDITION_ORIGIN;
constexpr LONG keyOrRef = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY;

// Whether the flags name at most one condition of each group.
bool areConsistent(LONG flags)
{
    constexpr LONG known = keyOrRef | originFlags | WBEM_MASK_CLASS_CONDITION;
    const LONG origin = flags & originFlags;
    return (flags & ~known) == 0 && (flags & keyOrRef) != keyOrRef && origin <= WBEM_FLAG_NONSYSTEM_ONLY &&
           (flags & WBEM_MASK_CLASS_CONDITION) != WBEM_MASK_CLASS_CONDITION;
}

bool selects(LONG flags, const Property& property)
{
    const LONG origin = flags & originFlags;
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
    const LONG origin = flags & originFlags;
    const bool withSystem =
        (origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY) && (flags & (keyOrRef | WBEM_MASK_CLASS_CONDITION)) == 0;
    if (withSystem) {
        names.assign(systemPropertyNames.begin(), systemPropertyNames.end());
    }
    for (const Property& property : definition.properties) {
        if (selects(flags, property)) {
            names.push_back(property.name);
        }
    }
    return names;
}

}  // namespace wmihost
