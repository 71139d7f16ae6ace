#pragma once

#include <string>

#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// The registration of a provider in a namespace.
struct ProviderRegistration
{
    std::wstring name;
    CLSID classId{};
    bool supportsGet = false;
    bool supportsPut = false;
    bool supportsDelete = false;
    bool supportsEnumeration = false;
    bool supportsMethods = false;
};

// The registration of the provider that the class names in its qualifier `provider`. Throws RequestError:
// WBEM_E_PROVIDER_NOT_FOUND for a class without a provider or a provider that is not registered in the
// namespace, WBEM_E_INVALID_PROVIDER_REGISTRATION for a registration without a proper CLSID.
ProviderRegistration findRegistration(const Namespace& nameSpace, const ClassDefinition& definition);

}  // namespace wmihost
