#include "wmihost/objects/ObjectComparison.h"

#include <algorithm>
#include <vector>

#include "wmihost/com/Guard.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// Whether two values are equal. Texts are compared without case if requested.
bool equalValues(const VARIANT& left, const VARIANT& right, bool ignoreCase)
{
    if (ignoreCase && left.vt == VT_BSTR && right.vt == VT_BSTR) {
        return sameName(viewOf(left.bstrVal), viewOf(right.bstrVal));
    }
    return sameValue(left, right);
}

bool sameSystemValue(IWbemClassObject& left, IWbemClassObject& right, const wchar_t* name)
{
    return equalValues(valueOf(left, name).get(), valueOf(right, name).get(), true);
}

bool sameText(IWbemClassObject& left, IWbemClassObject& right, LONG flags)
{
    Bstr a;
    Bstr b;
    return SUCCEEDED(left.GetObjectText(flags, a.put())) && SUCCEEDED(right.GetObjectText(flags, b.put())) &&
           a.view() == b.view();
}

bool sameIdentity(IWbemClassObject& left, IWbemClassObject& right, LONG flags)
{
    const bool ignoresClass = (flags & WBEM_FLAG_IGNORE_CLASS) != 0;
    const bool ignoresSource = (flags & WBEM_FLAG_IGNORE_OBJECT_SOURCE) != 0;
    return sameSystemValue(left, right, L"__GENUS") && (ignoresClass || sameSystemValue(left, right, L"__CLASS")) &&
           (ignoresSource ||
            (sameSystemValue(left, right, L"__SERVER") && sameSystemValue(left, right, L"__NAMESPACE")));
}

HRESULT compareValues(IWbemClassObject& left, IWbemClassObject& right, bool withValues, bool ignoreCase)
{
    std::vector<NamedValue> ours;
    std::vector<NamedValue> theirs;
    const HRESULT readOurs = readProperties(left, ours);
    const HRESULT readTheirs = readProperties(right, theirs);
    if (FAILED(readOurs) || FAILED(readTheirs)) {
        return FAILED(readOurs) ? readOurs : readTheirs;
    }
    const auto equal = [&](const NamedValue& mine) {
        const auto found = std::find_if(theirs.begin(), theirs.end(),
                                        [&mine](const NamedValue& their) { return sameName(mine.name, their.name); });
        return found != theirs.end() && found->type == mine.type &&
               (!withValues || equalValues(mine.value.get(), found->value.get(), ignoreCase));
    };
    const bool same = ours.size() == theirs.size() && std::all_of(ours.begin(), ours.end(), equal);
    return code(same ? WBEM_S_SAME : WBEM_S_DIFFERENT);
}

}  // namespace

HRESULT compare(IWbemClassObject& left, IWbemClassObject& right, LONG flags)
{
    constexpr LONG KNOWN = WBEM_FLAG_IGNORE_QUALIFIERS | WBEM_FLAG_IGNORE_OBJECT_SOURCE |
                           WBEM_FLAG_IGNORE_DEFAULT_VALUES | WBEM_FLAG_IGNORE_CLASS | WBEM_FLAG_IGNORE_CASE |
                           WBEM_FLAG_IGNORE_FLAVOR;
    if ((flags & ~KNOWN) != 0) {
        return code(WBEM_E_INVALID_PARAMETER);
    }
    if (!sameIdentity(left, right, flags)) {
        return code(WBEM_S_DIFFERENT);
    }
    const bool isInstance = valueOf(left, L"__GENUS").get().lVal == WBEM_GENUS_INSTANCE;
    constexpr LONG WITHOUT_QUALIFIERS =
        WBEM_FLAG_IGNORE_QUALIFIERS | WBEM_FLAG_IGNORE_CLASS | WBEM_FLAG_IGNORE_DEFAULT_VALUES;
    const LONG textFlags = (flags & WBEM_FLAG_IGNORE_FLAVOR) != 0 ? WBEM_FLAG_NO_FLAVORS : 0;
    // Only classes can differ in their qualifiers, which their texts contain.
    if (!isInstance && (flags & WITHOUT_QUALIFIERS) == 0 && !sameText(left, right, textFlags)) {
        return code(WBEM_S_DIFFERENT);
    }
    const bool withValues = isInstance || (flags & WBEM_FLAG_IGNORE_DEFAULT_VALUES) == 0;
    return compareValues(left, right, withValues, (flags & WBEM_FLAG_IGNORE_CASE) != 0);
}

}  // namespace wmihost
