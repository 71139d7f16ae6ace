#include "wmihost/session/ProviderRegistration.h"

#include <cstddef>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

const VARIANT& valueOf(const InstanceData& instance, std::wstring_view name)
{
    static const Variant nothing;
    const int place = instance.definition->indexOf(name);
    return place < 0 ? nothing.get() : instance.values[static_cast<std::size_t>(place)].get();
}

std::wstring textOf(const InstanceData& instance, std::wstring_view name)
{
    return scalarText(valueOf(instance, name), CIM_STRING);
}

bool isTrue(const InstanceData& instance, std::wstring_view name)
{
    const VARIANT& value = valueOf(instance, name);
    return value.vt == VT_BOOL && value.boolVal != VARIANT_FALSE;
}

// Whether the registration refers to the provider of that name.
bool refersTo(const InstanceData& registration, std::wstring_view providerName)
{
    try {
        const ObjectPath path = ObjectPath::parse(textOf(registration, L"Provider"));
        return path.keys.size() == 1 && sameName(path.keys.front().value, providerName);
    } catch (const PathError&) {
        return false;
    }
}

}  // namespace

ProviderRegistration findRegistration(const Namespace& nameSpace, const ClassDefinition& definition)
{
    const std::string className = toUtf8(definition.name);
    ProviderRegistration result;
    result.name = qualifierText(definition.qualifiers, L"provider");
    if (result.name.empty()) {
        throw RequestError(code(WBEM_E_PROVIDER_NOT_FOUND), "the class " + className + " names no provider");
    }
    const InstanceData* provider = nullptr;
    for (const InstanceData* candidate : nameSpace.instancesOf(L"__Win32Provider")) {
        if (sameName(textOf(*candidate, L"Name"), result.name)) {
            provider = candidate;
        }
    }
    if (provider == nullptr) {
        throw RequestError(code(WBEM_E_PROVIDER_NOT_FOUND), "the provider " + toUtf8(result.name) + " of the class " +
                                                                className + " is not registered in " +
                                                                toUtf8(nameSpace.name()));
    }
    const std::wstring classId = textOf(*provider, L"CLSID");
    if (FAILED(CLSIDFromString(classId.c_str(), &result.classId))) {
        throw RequestError(
            code(WBEM_E_INVALID_PROVIDER_REGISTRATION),
            "the provider " + toUtf8(result.name) + " is registered with '" + toUtf8(classId) + "', which is no CLSID");
    }
    for (const InstanceData* registration : nameSpace.instancesOf(L"__InstanceProviderRegistration")) {
        if (refersTo(*registration, result.name)) {
            result.supportsGet = isTrue(*registration, L"SupportsGet");
            result.supportsPut = isTrue(*registration, L"SupportsPut");
            result.supportsDelete = isTrue(*registration, L"SupportsDelete");
            result.supportsEnumeration = isTrue(*registration, L"SupportsEnumeration");
        }
    }
    for (const InstanceData* registration : nameSpace.instancesOf(L"__MethodProviderRegistration")) {
        result.supportsMethods = result.supportsMethods || refersTo(*registration, result.name);
    }
    return result;
}

}  // namespace wmihost
