#include "wmihost/session/ProviderSession.h"

#include <array>
#include <chrono>
#include <utility>

#include <comdef.h>

#include "wmihost/com/EmptyContext.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/InitSink.h"
#include "wmihost/com/NamespaceServices.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/com/StatusText.h"
#include "wmihost/com/Variant.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// A provider that keeps a sink longer than this counts as hung.
constexpr std::chrono::milliseconds PATIENCE = std::chrono::minutes(1);

std::wstring userName()
{
    std::array<wchar_t, 257> buffer{};
    auto size = static_cast<DWORD>(buffer.size());
    return GetUserNameW(buffer.data(), &size) != 0 ? std::wstring(buffer.data()) : std::wstring();
}

}  // namespace

ProviderSession::ProviderSession(const ClassRepository& repository, const Namespace& nameSpace,
                                 ProviderRegistration registration)
    : m_registration(std::move(registration))
{
    const std::string name = toUtf8(m_registration.name);
    ComPtr<IWbemProviderInit> init;
    const HRESULT created =
        CoCreateInstance(m_registration.classId, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(init.put()));
    if (FAILED(created)) {
        throw RequestError(code(WBEM_E_PROVIDER_LOAD_FAILURE),
                           "the provider " + name + " cannot be created: " + statusText(created));
    }

    const auto services = ComPtr<IWbemServices>::adopt(new NamespaceServices(repository, nameSpace));
    const auto sink = ComPtr<InitSink>::adopt(new InitSink);
    const auto context = ComPtr<EmptyContext>::adopt(new EmptyContext);
    std::wstring user = userName();
    std::wstring space = nameSpace.name();
    std::wstring locale = L"ms_409";
    const HRESULT returned =
        init->Initialize(user.data(), 0, space.data(), locale.data(), services.get(), context.get(), sink.get());
    // A failed return value counts even if the sink got a success. Without any report, the initialisation has failed.
    const HRESULT status = FAILED(returned) ? returned : sink->status().value_or(code(WBEM_E_INITIALIZATION_FAILURE));
    if (FAILED(status)) {
        throw RequestError(code(WBEM_E_INITIALIZATION_FAILURE),
                           "the provider " + name + " did not start: " + statusText(status));
    }
    const HRESULT queried = init->QueryInterface(IID_PPV_ARGS(m_provider.put()));
    if (FAILED(queried)) {
        throw RequestError(code(WBEM_E_PROVIDER_LOAD_FAILURE),
                           "the provider " + name + " takes no requests: " + statusText(queried));
    }
}

RequestResult ProviderSession::enumerate(std::wstring_view className, const RequestOptions& options) const
{
    const Bstr name(className);
    return run(m_registration.supportsEnumeration, options,
               [&name](IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink) {
                   return provider.CreateInstanceEnumAsync(name.get(), 0, context, sink);
               });
}

RequestResult ProviderSession::get(std::wstring_view path, const RequestOptions& options) const
{
    const Bstr text(path);
    return run(m_registration.supportsGet, options,
               [&text](IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink) {
                   return provider.GetObjectAsync(text.get(), 0, context, sink);
               });
}

RequestResult ProviderSession::put(IWbemClassObject* instance, const RequestOptions& options) const
{
    return run(m_registration.supportsPut, options,
               [instance](IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink) {
                   return provider.PutInstanceAsync(instance, WBEM_FLAG_UPDATE_ONLY, context, sink);
               });
}

RequestResult ProviderSession::remove(std::wstring_view path, const RequestOptions& options) const
{
    const Bstr text(path);
    return run(m_registration.supportsDelete, options,
               [&text](IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink) {
                   return provider.DeleteInstanceAsync(text.get(), 0, context, sink);
               });
}

RequestResult ProviderSession::execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                                          const RequestOptions& options) const
{
    const Bstr text(path);
    const Bstr name(method);
    return run(m_registration.supportsMethods, options,
               [&](IWbemServices& provider, IWbemContext* context, IWbemObjectSink* sink) {
                   return provider.ExecMethodAsync(text.get(), name.get(), 0, context, in, sink);
               });
}

RequestResult ProviderSession::run(bool supported, const RequestOptions& options, const Call& call) const
{
    RequestResult result;
    if (!supported) {
        result.status = code(WBEM_E_PROVIDER_NOT_CAPABLE);
        return result;
    }
    const auto context = ComPtr<EmptyContext>::adopt(new EmptyContext);
    const auto response = std::make_shared<Response>(options.onProgress);
    HRESULT returned = 0;
    {
        const auto sink = ComPtr<IWbemObjectSink>::adopt(new ResponseSink(response));
        const CallScope security(options.impersonation);
        // Some requests of providers throw. WMI's host process survives this, so it is caught here.
        try {
            returned = call(*m_provider.get(), context.get(), sink.get());
        } catch (const std::exception& error) {
            result.exception = error.what();
        } catch (const _com_error& error) {
            result.exception = statusText(error.Error());
        } catch (...) {
            result.exception = "an exception of unknown type";
        }
    }
    if (!result.exception.empty()) {
        result.status = code(WBEM_E_PROVIDER_FAILURE);
        return result;
    }
    if (!response->waitUntilOver(PATIENCE)) {
        result.status = code(WBEM_E_PROVIDER_TIMED_OUT);
        return result;
    }
    // A request that is refused at once returns its status and reports nothing. One that returns success and reports
    // nothing has broken its contract.
    result.status = response->status().value_or(FAILED(returned) ? returned : code(WBEM_E_PROVIDER_FAILURE));
    result.objects = response->takeObjects();
    return result;
}

}  // namespace wmihost
