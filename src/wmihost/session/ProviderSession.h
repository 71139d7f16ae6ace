#pragma once

#include <functional>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassRepository.h"
#include "wmihost/session/ProviderRegistration.h"
#include "wmihost/session/Session.h"

namespace wmihost {

// A running provider for one namespace, as in WMI's host process: it is created by its CLSID, initialised, and gets
// requests through IWbemServices. The repository must outlive the session.
class ProviderSession final : public Session
{
public:
    // Creates and initialises the provider. Throws RequestError: WBEM_E_PROVIDER_LOAD_FAILURE or
    // WBEM_E_INITIALIZATION_FAILURE.
    ProviderSession(const ClassRepository& repository, const Namespace& nameSpace, ProviderRegistration registration);

    RequestResult enumerate(std::wstring_view className, const RequestOptions& options) const override;
    RequestResult get(std::wstring_view path, const RequestOptions& options) const override;
    RequestResult put(IWbemClassObject* instance, const RequestOptions& options) const override;
    RequestResult remove(std::wstring_view path, const RequestOptions& options) const override;
    // `in` must not be null: a method without inputs takes an empty instance of __PARAMETERS. Only one request at a
    // time may use it, since the provider moves its position.
    RequestResult execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                             const RequestOptions& options) const override;

private:
    using Call = std::function<HRESULT(IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink)>;

    RequestResult run(bool supported, const RequestOptions& options, const Call& call) const;

    ProviderRegistration m_registration;
    ComPtr<IWbemServices> m_provider;
};

}  // namespace wmihost
