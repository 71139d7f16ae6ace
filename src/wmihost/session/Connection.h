#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassDefinition.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/session/Session.h"

namespace wmihost {

// A class and the namespace in which it was found.
struct ClassTarget
{
    std::wstring nameSpace;  // "root\DCIM\vexal"
    ClassPointer definition;
};

// The target of a path that a user wrote.
struct InstanceTarget
{
    ClassTarget target;
    std::wstring path;  // in the form for requests
};

// The namespace in which classes are looked for first.
inline constexpr std::wstring_view ADAPTER_NAMESPACE = L"root\\DCIM\\vexal";

// Where the commands find classes and send requests: the provider in this process, or the machine's WMI. Thread-safe;
// each thread must be in the multithreaded apartment.
class Connection
{
public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    virtual ~Connection() = default;

    // The class of that name. Without a namespace, all namespaces are searched, that of the adapters first. Throws
    // RequestError: WBEM_E_INVALID_NAMESPACE, WBEM_E_INVALID_CLASS.
    virtual ClassTarget findClass(std::wstring_view className, std::wstring_view nameSpace) const = 0;

    // The classes of the namespace without the system's. Without a namespace, those of all namespaces of the product.
    virtual std::vector<ClassTarget> classes(std::wstring_view nameSpace) const = 0;

    // The session that answers requests about that class. Lives as long as the connection. Throws RequestError.
    virtual const Session& sessionFor(const ClassTarget& target) = 0;

    // The derived classes whose instances take a request of their own. Empty if a request for the class delivers them.
    virtual std::vector<ClassTarget> derivedClasses(const ClassTarget& target) const;

    // Whether anything serves instances of exactly that class.
    virtual bool hasProvider(const ClassTarget& target) const;

    // The answer to a query in WQL. Nothing if the namespace does not answer queries; the client then evaluates them.
    // Throws RequestError if the namespace cannot be opened.
    virtual std::optional<RequestResult> query(const std::wstring& nameSpace, std::wstring_view text,
                                               const RequestOptions& options);

    // An object for the arguments of a method. Null if the method is called without one. Throws RequestError.
    virtual ComPtr<IWbemClassObject> makeArguments(const ClassTarget& target, const Method& method) = 0;

    // The instance that a path names. Throws PathError, or RequestError for a class, a namespace or a server that does
    // not exist and for the path of a class.
    InstanceTarget findInstance(std::wstring_view path, std::wstring_view nameSpace) const;

    // The target of a method call: an instance, or the class itself if the path names a class.
    InstanceTarget findMethodTarget(std::wstring_view path, std::wstring_view nameSpace) const;

protected:
    // The path in the form for requests. `prefix` is the part before the class ("\\\\.\\root\\test:", or empty),
    // `relative` the rest with the names of all its keys.
    virtual std::wstring requestPath(const std::wstring& prefix, const std::wstring& relative) const;

    // Whether the qualifiers of the definition say which properties are keys.
    virtual bool knowsKeys(const ClassDefinition& definition) const;

private:
    InstanceTarget find(const ObjectPath& path, std::wstring_view nameSpace) const;
};

}  // namespace wmihost
