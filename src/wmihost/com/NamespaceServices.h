#pragma once

#include "wmihost/com/RefusingServices.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// A namespace as a provider sees it: it serves class definitions to GetObject and refuses everything else.
// May be called by any number of threads at once. The repository outlives it.
class NamespaceServices final : public RefusingServices
{
public:
    NamespaceServices(const ClassRepository& repository, const Namespace& own)
        : m_repository(repository), m_namespace(own)
    {
    }

    // A class by its name, or by a path with its namespace. *object is null on failure.
    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** callResult) override;

private:
    const ClassRepository& m_repository;
    const Namespace& m_namespace;
};

}  // namespace wmihost
