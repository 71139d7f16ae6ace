#pragma once

#include <functional>

#include "wmihost/com/Com.h"
#include "wmihost/session/Session.h"

namespace wmihost {

// How a service is called.
enum class ServiceCalls
{
    ASYNCHRONOUS,  // through a sink; a call that the service refuses at once is made synchronously
    SYNCHRONOUS
};

// A namespace of the machine's own WMI. Requests have the identity of this process. Each request says how far the
// service may use it.
class ServiceSession final : public Session
{
public:
    // Connects to the namespace. Throws RequestError with the status of the service: WBEM_E_INVALID_NAMESPACE if the
    // namespace does not exist.
    ServiceSession(const std::wstring& nameSpace, ServiceCalls calls);

    RequestResult enumerate(std::wstring_view className, const RequestOptions& options) const override;
    // An instance, or the class if the path names one.
    RequestResult get(std::wstring_view path, const RequestOptions& options) const override;
    RequestResult put(IWbemClassObject* instance, const RequestOptions& options) const override;
    RequestResult remove(std::wstring_view path, const RequestOptions& options) const override;
    // `in` may be null for a method without inputs.
    RequestResult execMethod(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                             const RequestOptions& options) const override;

    // The answer to a query in WQL.
    RequestResult query(std::wstring_view text, const RequestOptions& options) const;
    // The definitions of all classes of the namespace.
    RequestResult classes(const RequestOptions& options) const;

private:
    using AsynchronousCall = std::function<HRESULT(IWbemObjectSink* sink)>;
    // Appends the results of the call to the objects.
    using SynchronousCall = std::function<HRESULT(std::vector<ComPtr<IWbemClassObject>>& objects)>;
    using EnumerationCall = std::function<HRESULT(IEnumWbemClassObject** rows)>;

    RequestResult run(const RequestOptions& options, const AsynchronousCall& asynchronous,
                      const SynchronousCall& synchronous) const;
    RequestResult enumerateWith(const RequestOptions& options, const AsynchronousCall& asynchronous,
                                const EnumerationCall& synchronous) const;

    ComPtr<IWbemServices> m_services;
    ServiceCalls m_calls;
};

}  // namespace wmihost
