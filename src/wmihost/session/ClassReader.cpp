#include "wmihost/session/ClassReader.h"

#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// The CIM type of a qualifier whose value has that VARIANT type.
CIMTYPE typeOf(VARTYPE variant)
{
    const CIMTYPE array = (variant & VT_ARRAY) != 0 ? CIM_FLAG_ARRAY : 0;
    switch (variant & VT_TYPEMASK) {
        case VT_BOOL:
            return CIM_BOOLEAN | array;
        case VT_I4:
            return CIM_SINT32 | array;
        case VT_R8:
            return CIM_REAL64 | array;
        default:
            return CIM_STRING | array;
    }
}

Qualifiers readQualifiers(IWbemQualifierSet* set)
{
    Qualifiers result;
    if (set == nullptr || FAILED(set->BeginEnumeration(0))) {
        return result;
    }
    while (true) {
        Bstr name;
        Qualifier next;
        if (set->Next(0, name.put(), next.value.put(), &next.flavor) != WBEM_S_NO_ERROR) {
            break;
        }
        next.name = name.view();
        next.type = typeOf(next.value.type());
        result.push_back(std::move(next));
    }
    set->EndEnumeration();
    return result;
}

// "ref:Zerix_EthernetPort" -> "Zerix_EthernetPort"
std::wstring classOfReference(const Qualifiers& qualifiers)
{
    const std::wstring text = qualifierText(qualifiers, L"CIMTYPE");
    const std::size_t colon = text.find(L':');
    return colon == std::wstring::npos ? std::wstring() : text.substr(colon + 1);
}

void readPropertyList(IWbemClassObject& object, bool isClass, ClassDefinition& definition)
{
    const HRESULT begun = object.BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    if (FAILED(begun)) {
        throw RequestError(begun, "the class " + toUtf8(definition.name) + " does not list its properties");
    }
    while (true) {
        Bstr name;
        Variant value;
        Property property;
        LONG flavor = 0;
        if (object.Next(0, name.put(), value.put(), &property.type, &flavor) != WBEM_S_NO_ERROR) {
            break;
        }
        if (!isCimType(property.type)) {
            continue;
        }
        property.name = name.view();
        property.local = flavor != WBEM_FLAVOR_ORIGIN_PROPAGATED;
        if (isClass) {
            property.defaultValue = std::move(value);
        }
        definition.properties.push_back(std::move(property));
    }
    object.EndEnumeration();
    for (Property& property : definition.properties) {
        ComPtr<IWbemQualifierSet> qualifiers;
        object.GetPropertyQualifierSet(property.name.c_str(), qualifiers.put());
        property.qualifiers = readQualifiers(qualifiers.get());
        property.className = classOfReference(property.qualifiers);
        Bstr origin;
        if (SUCCEEDED(object.GetPropertyOrigin(property.name.c_str(), origin.put()))) {
            property.origin = origin.view();
        }
    }
}

ClassPointer readSignature(IWbemClassObject* signature, const std::wstring& nameSpace)
{
    return signature == nullptr ? nullptr : readClass(*signature, nameSpace);
}

void readMethods(IWbemClassObject& object, const std::wstring& nameSpace, ClassDefinition& definition)
{
    if (FAILED(object.BeginMethodEnumeration(0))) {
        return;
    }
    while (true) {
        Bstr name;
        ComPtr<IWbemClassObject> in;
        ComPtr<IWbemClassObject> out;
        if (object.NextMethod(0, name.put(), in.put(), out.put()) != WBEM_S_NO_ERROR) {
            break;
        }
        Method method;
        method.name = name.view();
        method.in = readSignature(in.get(), nameSpace);
        method.out = readSignature(out.get(), nameSpace);
        definition.methods.push_back(std::move(method));
    }
    object.EndMethodEnumeration();
    for (Method& method : definition.methods) {
        ComPtr<IWbemQualifierSet> qualifiers;
        object.GetMethodQualifierSet(method.name.c_str(), qualifiers.put());
        method.qualifiers = readQualifiers(qualifiers.get());
    }
}

}  // namespace

ClassPointer readClass(IWbemClassObject& object, const std::wstring& nameSpace)
{
    ClassDefinition definition;
    definition.name = textOf(object, L"__CLASS");
    definition.nameSpace = nameSpace;
    if (const Variant ancestors = valueOf(object, L"__DERIVATION"); ancestors.isArray()) {
        for (const Variant& ancestor : elementsOf(ancestors.get())) {
            definition.ancestors.push_back(scalarText(ancestor.get(), CIM_STRING));
        }
    }
    ComPtr<IWbemQualifierSet> qualifiers;
    object.GetQualifierSet(qualifiers.put());
    definition.qualifiers = readQualifiers(qualifiers.get());
    const bool isClass = textOf(object, L"__GENUS") == std::to_wstring(WBEM_GENUS_CLASS);
    readPropertyList(object, isClass, definition);
    readMethods(object, nameSpace, definition);
    return std::make_shared<const ClassDefinition>(std::move(definition));
}

}  // namespace wmihost
