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

// What a path that a user wrote names.
struct InstanceTarget
{
    ClassTarget target;
    std::wstring path;  // as the request carries it
};

// The namespace in which classes are looked for first.
inline constexpr std::wstring_view adapterNamespace = L"root\\DCIM\\vexal";

// Where the commands find classes and send requests: the provider in this process, or the machine's WMI.
// May be used by several threads, each in the multithreaded apartment.
class Connection
{
public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    virtual ~Connection() = default;

    // The class of that name, in the namespace if one is given, else in the one that has it; the namespace of the
    // adapters comes first. Throws RequestError: WBEM_E_INVALID_NAMESPACE, WBEM_E_INVALID_CLASS.
    virtual ClassTarget findClass(std::wstring_view className, std::wstring_view nameSpace) const = 0;

    // The classes of the namespace, or of all that concern the product if none is given; without the system's.
    virtual std::vector<ClassTarget> classes(std::wstring_view nameSpace) const = 0;

    // Who answers requests about that class. Lives as long as the connection. Throws RequestError.
    virtual const Session& sessionFor(const ClassTarget& target) = 0;

    // The classes derived from that one whose instances are asked for class by class. Empty where a request for the
    // class brings them.
    virtual std::vector<ClassTarget> derivedClasses(const ClassTarget& target) const;

    // Whether there is somebody to ask for instances of exactly that class.
    virtual bool hasProvider(const ClassTarget& target) const;

    // What the query in WQL brings from the namespace. Nothing where nobody answers queries: then the client evaluates
    // them itself. Throws RequestError if the namespace cannot be opened.
    virtual std::optional<RequestResult> query(const std::wstring& nameSpace, std::wstring_view text,
                                               const RequestOptions& options);

    // An object for the arguments of a method. Null where the method is called without one. Throws RequestError.
    virtual ComPtr<IWbemClassObject> makeArguments(const ClassTarget& target, const Method& method) = 0;

    // The instance that a path names. Throws PathError, or RequestError for a class, a namespace or a server that is
    // not there, and for the path of a class.
    InstanceTarget findInstance(std::wstring_view path, std::wstring_view nameSpace) const;

    // The same, or the class itself where the path names a class: what a method is called on.
    InstanceTarget findMethodTarget(std::wstring_view path, std::wstring_view nameSpace) const;

protected:
    // The path as requests carry it. `prefix` is what precedes the class ("\\\\.\\root\\test:", or nothing), `relative`
    // the rest with the names of all its keys.
    virtual std::wstring requestPath(const std::wstring& prefix, const std::wstring& relative) const;

    // Whether the qualifiers of the definition say which properties are keys.
    virtual bool knowsKeys(const ClassDefinition& definition) const;

private:
    InstanceTarget find(const ObjectPath& path, std::wstring_view nameSpace) const;
};

}  // namespace wmihost
