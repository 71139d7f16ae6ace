#include "wmihost/objects/ObjectReader.h"

#include <utility>

#include "wmihost/com/Com.h"
#include "wmihost/com/Guard.h"

namespace wmihost {

HRESULT readProperties(IWbemClassObject& object, std::vector<NamedValue>& properties)
{
    ComPtr<IWbemClassObject> copy;
    HRESULT result = object.Clone(copy.put());
    if (SUCCEEDED(result)) {
        result = copy->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    }
    while (result == WBEM_S_NO_ERROR) {
        Bstr name;
        NamedValue next;
        result = copy->Next(0, name.put(), next.value.put(), &next.type, nullptr);
        if (result == WBEM_S_NO_ERROR) {
            next.name = name.view();
            properties.push_back(std::move(next));
        }
    }
    return FAILED(result) ? result : code(WBEM_S_NO_ERROR);
}

Variant valueOf(IWbemClassObject& object, std::wstring_view name)
{
    Variant value;
    object.Get(std::wstring(name).c_str(), 0, value.put(), nullptr, nullptr);
    return value;
}

std::wstring textOf(IWbemClassObject& object, std::wstring_view name)
{
    Variant value;
    CIMTYPE type = CIM_STRING;
    object.Get(std::wstring(name).c_str(), 0, value.put(), &type, nullptr);
    return scalarText(value.get(), type);
}

}  // namespace wmihost
