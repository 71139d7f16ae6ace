#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "wmihost/session/Connection.h"
#include "wmihost/session/ServiceSession.h"

namespace wmihost {

// The machine's own WMI. Connects to a namespace when it is first needed. If the user names no namespace, a class is
// searched in those of the product, then in root\cimv2.
class ServiceConnection final : public Connection
{
public:
    // The impersonation applies to the retrieval of classes, which the other requests need.
    ServiceConnection(ServiceCalls calls, Impersonation impersonation);

    ClassTarget findClass(std::wstring_view className, std::wstring_view nameSpace) const override;
    // Throws RequestError, also if the service does not list classes.
    std::vector<ClassTarget> classes(std::wstring_view nameSpace) const override;
    const ServiceSession& sessionFor(const ClassTarget& target) override;
    std::optional<RequestResult> query(const std::wstring& nameSpace, std::wstring_view text,
                                       const RequestOptions& options) override;
    // An object that the service made, since it accepts no others.
    ComPtr<IWbemClassObject> makeArguments(const ClassTarget& target, const Method& method) override;

protected:
    // The path without its namespace: the session already belongs to it, and some services refuse a path with one.
    std::wstring requestPath(const std::wstring& prefix, const std::wstring& relative) const override;
    bool knowsKeys(const ClassDefinition& definition) const override;

private:
    const ServiceSession& open(const std::wstring& nameSpace) const;
    // Null if the namespace has no class of that name.
    ComPtr<IWbemClassObject> classObject(std::wstring_view className, const std::wstring& nameSpace) const;

    ServiceCalls m_calls;
    RequestOptions m_options;
    mutable std::mutex m_mutex;
    mutable std::map<std::wstring, std::unique_ptr<ServiceSession>> m_sessions;
    mutable std::map<std::pair<std::wstring, std::wstring>, ClassPointer> m_classes;
};

}  // namespace wmihost
