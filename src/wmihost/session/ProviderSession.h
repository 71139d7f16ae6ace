#pragma once

#include <functional>
#include <string>
#include <vector>

#include "wmihost/com/CallContext.h"
#include "wmihost/com/Com.h"
#include "wmihost/com/ResponseSink.h"
#include "wmihost/repository/ClassRepository.h"
#include "wmihost/session/ProviderRegistration.h"

namespace wmihost {

// How a request is made.
struct RequestOptions
{
    Impersonation impersonation = Impersonation::impersonate;
    std::function<void(Progress)> onProgress;  // may be empty
};

// What became of a request.
struct RequestResult
{
    HRESULT status = 0;  // what the provider reported last, or returned where it reported nothing
    std::vector<ComPtr<IWbemClassObject>> objects;
    std::string exception;  // the text of a C++ exception that escaped the provider; else empty
};

// One provider at work for one namespace, as WMI's provider host runs it: created by its CLSID, initialised,
// then sent requests through IWbemServices. Requests may be made by any number of threads at once; each
// needs to be in the multithreaded apartment. The repository outlives the session.
class ProviderSession
{
public:
    // Creates and initialises the provider. Throws RequestError: WBEM_E_PROVIDER_LOAD_FAILURE or
    // WBEM_E_INITIALIZATION_FAILURE.
    ProviderSession(const ClassRepository& repository, const Namespace& nameSpace, ProviderRegistration registration);

    RequestResult enumerate(std::wstring_view className, const RequestOptions& options) const;
    RequestResult get(std::wstring_view path, const RequestOptions& options) const;
    // Updates an existing instance.
    RequestResult put(IWbemClassObject* instance, const RequestOptions& options) const;
    RequestResult remove(std::wstring_view path, const RequestOptions& options) const;
    // `in` must not be null: a method without inputs takes an empty instance of __PARAMETERS.
    RequestResult execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                             const RequestOptions& options) const;

private:
    using Call = std::function<HRESULT(IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink)>;

    RequestResult run(bool supported, const RequestOptions& options, const Call& call) const;

    ProviderRegistration m_registration;
    ComPtr<IWbemServices> m_provider;
};

}  // namespace wmihost
