#include "wmihost/session/ServiceSession.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/com/Variant.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// No class of a machine takes longer than this.
constexpr std::chrono::milliseconds SERVICE_PATIENCE = std::chrono::minutes(10);
constexpr LONG WITHOUT_LIMIT = static_cast<LONG>(WBEM_INFINITE);
// Derived classes at any level below the named class.
constexpr LONG ALL_LEVELS = WBEM_FLAG_DEEP;
// The named class only.
constexpr LONG THIS_CLASS = WBEM_FLAG_SHALLOW;
// With the first flag the service need not keep the rows that were read.
constexpr LONG AS_ROWS_COME = WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY;

DWORD levelOf(Impersonation impersonation)
{
    switch (impersonation) {
        case Impersonation::ANONYMOUS:
            return RPC_C_IMP_LEVEL_ANONYMOUS;
        case Impersonation::IDENTIFY:
            return RPC_C_IMP_LEVEL_IDENTIFY;
        case Impersonation::DELEGATE:
            return RPC_C_IMP_LEVEL_DELEGATE;
        default:
            return RPC_C_IMP_LEVEL_IMPERSONATE;
    }
}

// Sets how far the service may act as this process in calls of the interface. Does nothing for an object in this
// process, which has no proxy.
HRESULT allow(IUnknown* proxy, Impersonation impersonation)
{
    const HRESULT result = CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                             RPC_C_AUTHN_LEVEL_CALL, levelOf(impersonation), nullptr, EOAC_NONE);
    return result == E_NOINTERFACE ? S_OK : result;
}

// Whether the status of an asynchronous call means that the service does not support such calls.
bool isRefusal(HRESULT returned)
{
    constexpr std::array REFUSALS{
        code(WBEM_E_FAILED),        code(WBEM_E_NOT_SUPPORTED), code(WBEM_E_PROVIDER_NOT_CAPABLE),
        code(WBEM_E_ACCESS_DENIED), HRESULT(E_ACCESSDENIED),    HRESULT(E_NOTIMPL)};
    return std::find(REFUSALS.begin(), REFUSALS.end(), returned) != REFUSALS.end();
}

// The sink in the form for the service. The platform wraps it in an object that accepts calls which this process would
// refuse. Without such a wrapper, the service gets the sink itself.
ComPtr<IWbemObjectSink> callableSink(const ComPtr<IWbemObjectSink>& sink)
{
    ComPtr<IUnsecuredApartment> apartment;
    ComPtr<IUnknown> wrapper;
    ComPtr<IWbemObjectSink> result;
    if (SUCCEEDED(
            CoCreateInstance(CLSID_UnsecuredApartment, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(apartment.put()))) &&
        SUCCEEDED(apartment->CreateObjectStub(sink.get(), wrapper.put())) &&
        SUCCEEDED(wrapper->QueryInterface(IID_PPV_ARGS(result.put()))))
    {
        return result;
    }
    return sink;
}

HRESULT readRows(IEnumWbemClassObject& rows, std::vector<ComPtr<IWbemClassObject>>& objects)
{
    while (true) {
        ComPtr<IWbemClassObject> row;
        ULONG count = 0;
        const HRESULT result = rows.Next(WITHOUT_LIMIT, 1, row.put(), &count);
        if (FAILED(result)) {
            return result;
        }
        if (count == 0) {
            return code(WBEM_S_NO_ERROR);
        }
        objects.push_back(std::move(row));
    }
}

HRESULT addObject(HRESULT result, ComPtr<IWbemClassObject> object, std::vector<ComPtr<IWbemClassObject>>& objects)
{
    if (SUCCEEDED(result) && object) {
        objects.push_back(std::move(object));
    }
    return result;
}

}  // namespace

ServiceSession::ServiceSession(const std::wstring& nameSpace, ServiceCalls calls) : m_calls(calls)
{
    ComPtr<IWbemLocator> locator;
    HRESULT result = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(locator.put()));
    if (FAILED(result)) {
        throw RequestError(result, "this machine has no WMI that could be asked");
    }
    result =
        locator->ConnectServer(Bstr(nameSpace).get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, m_services.put());
    if (FAILED(result)) {
        throw RequestError(result, "WMI does not open the namespace " + toUtf8(nameSpace));
    }
}

RequestResult ServiceSession::run(const RequestOptions& options, const AsynchronousCall& asynchronous,
                                  const SynchronousCall& synchronous) const
{
    RequestResult result;
    result.status = allow(m_services.get(), options.impersonation);
    if (FAILED(result.status)) {
        return result;
    }
    if (m_calls == ServiceCalls::ASYNCHRONOUS) {
        const auto response = std::make_shared<Response>(options.onProgress);
        HRESULT returned = 0;
        ComPtr<IWbemObjectSink> callable;
        {
            callable = callableSink(ComPtr<IWbemObjectSink>::adopt(new ResponseSink(response)));
            returned = asynchronous(callable.get());
        }
        const bool started = SUCCEEDED(returned) || response->status().has_value();
        if (started || !isRefusal(returned)) {
            const bool over = !started || response->waitUntilDone(SERVICE_PATIENCE);
            if (!over) {
                m_services->CancelAsyncCall(callable.get());
            }
            result.status = over ? response->status().value_or(returned) : code(WBEM_E_TIMED_OUT);
            result.objects = response->takeObjects();
            return result;
        }
    }
    result.status = synchronous(result.objects);
    return result;
}

RequestResult ServiceSession::enumerateWith(const RequestOptions& options, const AsynchronousCall& asynchronous,
                                            const EnumerationCall& synchronous) const
{
    return run(options, asynchronous, [&](std::vector<ComPtr<IWbemClassObject>>& objects) {
        ComPtr<IEnumWbemClassObject> rows;
        HRESULT result = synchronous(rows.put());
        if (SUCCEEDED(result)) {
            result = allow(rows.get(), options.impersonation);
        }
        return FAILED(result) ? result : readRows(*rows.get(), objects);
    });
}

RequestResult ServiceSession::enumerate(std::wstring_view className, const RequestOptions& options) const
{
    const Bstr name(className);
    const LONG levels = options.withDerived ? ALL_LEVELS : THIS_CLASS;
    const LONG reports = options.onProgress ? WBEM_FLAG_SEND_STATUS : 0;
    return enumerateWith(
        options,
        [&](IWbemObjectSink* sink) {
            return m_services->CreateInstanceEnumAsync(name.get(), levels | reports, nullptr, sink);
        },
        [&](IEnumWbemClassObject** rows) {
            return m_services->CreateInstanceEnum(name.get(), levels | AS_ROWS_COME, nullptr, rows);
        });
}

RequestResult ServiceSession::query(std::wstring_view text, const RequestOptions& options) const
{
    const Bstr language(L"WQL");
    const Bstr query(text);
    return enumerateWith(
        options,
        [&](IWbemObjectSink* sink) {
            return m_services->ExecQueryAsync(language.get(), query.get(), 0, nullptr, sink);
        },
        [&](IEnumWbemClassObject** rows) {
            return m_services->ExecQuery(language.get(), query.get(), AS_ROWS_COME, nullptr, rows);
        });
}

RequestResult ServiceSession::classes(const RequestOptions& options) const
{
    const Bstr all(L"");
    constexpr LONG FLAGS = ALL_LEVELS | WBEM_FLAG_USE_AMENDED_QUALIFIERS;
    return enumerateWith(
        options,
        [&](IWbemObjectSink* sink) { return m_services->CreateClassEnumAsync(all.get(), FLAGS, nullptr, sink); },
        [&](IEnumWbemClassObject** rows) {
            return m_services->CreateClassEnum(all.get(), FLAGS | AS_ROWS_COME, nullptr, rows);
        });
}

RequestResult ServiceSession::get(std::wstring_view path, const RequestOptions& options) const
{
    const Bstr text(path);
    constexpr LONG FLAGS = WBEM_FLAG_USE_AMENDED_QUALIFIERS;
    return run(
        options, [&](IWbemObjectSink* sink) { return m_services->GetObjectAsync(text.get(), FLAGS, nullptr, sink); },
        [&](auto& objects) {
            ComPtr<IWbemClassObject> object;
            const HRESULT result = m_services->GetObject(text.get(), FLAGS, nullptr, object.put(), nullptr);
            return addObject(result, std::move(object), objects);
        });
}

RequestResult ServiceSession::put(IWbemClassObject* instance, const RequestOptions& options) const
{
    constexpr LONG FLAGS = WBEM_FLAG_UPDATE_ONLY;
    return run(
        options, [&](IWbemObjectSink* sink) { return m_services->PutInstanceAsync(instance, FLAGS, nullptr, sink); },
        [&](auto&) { return m_services->PutInstance(instance, FLAGS, nullptr, nullptr); });
}

RequestResult ServiceSession::remove(std::wstring_view path, const RequestOptions& options) const
{
    const Bstr text(path);
    return run(
        options, [&](IWbemObjectSink* sink) { return m_services->DeleteInstanceAsync(text.get(), 0, nullptr, sink); },
        [&](auto&) { return m_services->DeleteInstance(text.get(), 0, nullptr, nullptr); });
}

RequestResult ServiceSession::execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                                         const RequestOptions& options) const
{
    const Bstr text(path);
    const Bstr name(method);
    return run(
        options,
        [&](IWbemObjectSink* sink) {
            return m_services->ExecMethodAsync(text.get(), name.get(), 0, nullptr, in, sink);
        },
        [&](auto& objects) {
            ComPtr<IWbemClassObject> out;
            const HRESULT result = m_services->ExecMethod(text.get(), name.get(), 0, nullptr, in, out.put(), nullptr);
            return addObject(result, std::move(out), objects);
        });
}

}  // namespace wmihost
