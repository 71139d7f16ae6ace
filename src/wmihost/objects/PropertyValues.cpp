#include "wmihost/objects/PropertyValues.h"

#include <algorithm>
#include <new>
#include <vector>

namespace wmihost {
namespace {

// A copy of the class object behind the interface. Throws std::bad_alloc.
Variant objectCopy(IUnknown* unknown)
{
    ComPtr<IWbemClassObject> object;
    ComPtr<IWbemClassObject> copy;
    if (unknown != nullptr &&
        (FAILED(unknown->QueryInterface(IID_PPV_ARGS(object.put()))) || FAILED(object->Clone(copy.put()))))
    {
        throw std::bad_alloc();
    }
    return Variant::ofObject(std::move(copy));
}

bool isOfClass(IUnknown* unknown, const std::wstring& className)
{
    ComPtr<IWbemClassObject> object;
    return className.empty() || (SUCCEEDED(unknown->QueryInterface(IID_PPV_ARGS(object.put()))) &&
                                 object->InheritsFrom(className.c_str()) == WBEM_S_NO_ERROR);
}

bool areOfClass(const Variant& value, const std::wstring& className)
{
    if (value.type() == VT_UNKNOWN) {
        return isOfClass(value.get().punkVal, className);
    }
    if (value.type() != (VT_ARRAY | VT_UNKNOWN)) {
        return true;
    }
    const std::vector<Variant> elements = elementsOf(value.get());
    return std::ranges::all_of(
        elements, [&className](const Variant& element) { return isOfClass(element.get().punkVal, className); });
}

}  // namespace

std::optional<Variant> storedValue(const Property& property, const VARIANT& value)
{
    auto coerced = coerce(value, property.type);
    if (!coerced || (elementTypeOf(property.type) == CIM_OBJECT && !areOfClass(*coerced, property.className))) {
        return std::nullopt;
    }
    return ownCopy(*coerced);
}

Variant ownCopy(const Variant& value)
{
    if (value.type() == VT_UNKNOWN) {
        return objectCopy(value.get().punkVal);
    }
    if (value.type() != (VT_ARRAY | VT_UNKNOWN)) {
        return value;
    }
    std::vector<Variant> copies;
    for (const Variant& element : elementsOf(value.get())) {
        copies.push_back(objectCopy(element.get().punkVal));
    }
    return Variant::ofArray(VT_UNKNOWN, copies);
}

}  // namespace wmihost
