#include "wmihost/com/StatusText.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

constexpr StatusInfo entry(WBEMSTATUS status, std::string_view name, std::string_view meaning,
                           std::string_view remedy = {})
{
    return {code(status), name, meaning, remedy};
}

// clang-format off: one line an entry
constexpr std::array TABLE{
    entry(WBEM_S_NO_ERROR, "WBEM_S_NO_ERROR", "the request succeeded"),
    entry(WBEM_S_FALSE, "WBEM_S_FALSE", "the answer is no, or there is nothing more"),
    entry(WBEM_S_ALREADY_EXISTS, "WBEM_S_ALREADY_EXISTS", "the object exists already"),
    entry(WBEM_S_RESET_TO_DEFAULT, "WBEM_S_RESET_TO_DEFAULT", "the value is that of the superclass again"),
    entry(WBEM_S_DIFFERENT, "WBEM_S_DIFFERENT", "the objects differ"),
    entry(WBEM_S_TIMEDOUT, "WBEM_S_TIMEDOUT", "the time is over"),
    entry(WBEM_S_NO_MORE_DATA, "WBEM_S_NO_MORE_DATA", "there is nothing more"),
    entry(WBEM_S_OPERATION_CANCELLED, "WBEM_S_OPERATION_CANCELLED", "the request was cancelled"),
    entry(WBEM_S_PENDING, "WBEM_S_PENDING", "the request is still running"),
    entry(WBEM_S_DUPLICATE_OBJECTS, "WBEM_S_DUPLICATE_OBJECTS", "an object came more than once"),
    entry(WBEM_S_ACCESS_DENIED, "WBEM_S_ACCESS_DENIED", "some objects are hidden from this user"),
    entry(WBEM_S_PARTIAL_RESULTS, "WBEM_S_PARTIAL_RESULTS", "not every object was delivered"),
    entry(WBEM_E_FAILED, "WBEM_E_FAILED", "the request failed",
          "list the class to see whether the instance exists; the provider's log at level 2 (VEXAL_DRAVEv2_LOG_LEVEL) "
          "says where the request failed"),
    entry(WBEM_E_NOT_FOUND, "WBEM_E_NOT_FOUND", "there is no such object",
          "list the class to see the paths and names that exist"),
    entry(WBEM_E_ACCESS_DENIED, "WBEM_E_ACCESS_DENIED", "access is denied",
          "change writable properties only, and ask with --impersonation impersonate as a user with the right"),
    entry(WBEM_E_PROVIDER_FAILURE, "WBEM_E_PROVIDER_FAILURE", "the provider failed after its start",
          "the provider's log at level 2 (VEXAL_DRAVEv2_LOG_LEVEL) says where"),
    entry(WBEM_E_TYPE_MISMATCH, "WBEM_E_TYPE_MISMATCH", "a value has the wrong type",
          "describe the class to see the types of its properties"),
    entry(WBEM_E_OUT_OF_MEMORY, "WBEM_E_OUT_OF_MEMORY", "there is not enough memory"),
    entry(WBEM_E_INVALID_CONTEXT, "WBEM_E_INVALID_CONTEXT", "the context object is not valid"),
    entry(WBEM_E_INVALID_PARAMETER, "WBEM_E_INVALID_PARAMETER", "an argument is not valid",
          "describe the class to see the properties, their ranges and lengths"),
    entry(WBEM_E_NOT_AVAILABLE, "WBEM_E_NOT_AVAILABLE", "the resource is not available", "try again later"),
    entry(WBEM_E_CRITICAL_ERROR, "WBEM_E_CRITICAL_ERROR", "an unexpected internal failure occurred"),
    entry(WBEM_E_INVALID_STREAM, "WBEM_E_INVALID_STREAM", "a packet was damaged on its way"),
    entry(WBEM_E_NOT_SUPPORTED, "WBEM_E_NOT_SUPPORTED", "the operation is not supported for this object",
          "only jobs (Zerix_ConcreteJob) can be deleted; instances cannot be created"),
    entry(WBEM_E_INVALID_SUPERCLASS, "WBEM_E_INVALID_SUPERCLASS", "the superclass is not valid"),
    entry(WBEM_E_INVALID_NAMESPACE, "WBEM_E_INVALID_NAMESPACE", "there is no such namespace",
          "'wmihost classes' shows the namespaces that the MOF declares"),
    entry(WBEM_E_INVALID_OBJECT, "WBEM_E_INVALID_OBJECT", "the object is not valid"),
    entry(WBEM_E_INVALID_CLASS, "WBEM_E_INVALID_CLASS", "there is no such class",
          "'wmihost classes' shows the classes"),
    entry(WBEM_E_PROVIDER_NOT_FOUND, "WBEM_E_PROVIDER_NOT_FOUND", "the provider of the class is not registered",
          "the MOF needs an instance of __Win32Provider in the namespace of the class"),
    entry(WBEM_E_INVALID_PROVIDER_REGISTRATION, "WBEM_E_INVALID_PROVIDER_REGISTRATION",
          "the registration of the provider is not valid", "check the CLSID in the instance of __Win32Provider"),
    entry(WBEM_E_PROVIDER_LOAD_FAILURE, "WBEM_E_PROVIDER_LOAD_FAILURE", "the provider could not be loaded",
          "register it with regsvr32, and see that the DLLs it needs lie beside it"),
    entry(WBEM_E_INITIALIZATION_FAILURE, "WBEM_E_INITIALIZATION_FAILURE", "the provider could not start",
          "the provider's log at level 2 (VEXAL_DRAVEv2_LOG_LEVEL) says why"),
    entry(WBEM_E_TRANSPORT_FAILURE, "WBEM_E_TRANSPORT_FAILURE", "the network failed",
          "ask on that machine itself, with a path that names no server"),
    entry(WBEM_E_INVALID_OPERATION, "WBEM_E_INVALID_OPERATION", "the operation does not fit this object"),
    entry(WBEM_E_INVALID_QUERY, "WBEM_E_INVALID_QUERY", "the query is not valid"),
    entry(WBEM_E_INVALID_QUERY_TYPE, "WBEM_E_INVALID_QUERY_TYPE", "the query language is not supported"),
    entry(WBEM_E_ALREADY_EXISTS, "WBEM_E_ALREADY_EXISTS", "the object exists already"),
    entry(WBEM_E_OVERRIDE_NOT_ALLOWED, "WBEM_E_OVERRIDE_NOT_ALLOWED", "the qualifier may not be overridden"),
    entry(WBEM_E_PROPAGATED_QUALIFIER, "WBEM_E_PROPAGATED_QUALIFIER", "an inherited qualifier cannot be deleted"),
    entry(WBEM_E_PROPAGATED_PROPERTY, "WBEM_E_PROPAGATED_PROPERTY", "an inherited property cannot be deleted"),
    entry(WBEM_E_UNEXPECTED, "WBEM_E_UNEXPECTED", "the call was not expected at this point"),
    entry(WBEM_E_ILLEGAL_OPERATION, "WBEM_E_ILLEGAL_OPERATION", "the operation is not allowed on this object"),
    entry(WBEM_E_CANNOT_BE_KEY, "WBEM_E_CANNOT_BE_KEY", "the property cannot be a key"),
    entry(WBEM_E_INCOMPLETE_CLASS, "WBEM_E_INCOMPLETE_CLASS", "the class is not complete"),
    entry(WBEM_E_INVALID_SYNTAX, "WBEM_E_INVALID_SYNTAX", "the syntax is not valid"),
    entry(WBEM_E_NONDECORATED_OBJECT, "WBEM_E_NONDECORATED_OBJECT", "the object has no server or namespace"),
    entry(WBEM_E_READ_ONLY, "WBEM_E_READ_ONLY", "the property is read-only",
          "describe the class to see which properties are writable"),
    entry(WBEM_E_PROVIDER_NOT_CAPABLE, "WBEM_E_PROVIDER_NOT_CAPABLE", "the provider cannot do this",
          "the registration in the MOF says what it supports; instances can be updated, not created"),
    entry(WBEM_E_CLASS_HAS_CHILDREN, "WBEM_E_CLASS_HAS_CHILDREN", "the class has derived classes"),
    entry(WBEM_E_CLASS_HAS_INSTANCES, "WBEM_E_CLASS_HAS_INSTANCES", "the class has instances"),
    entry(WBEM_E_QUERY_NOT_IMPLEMENTED, "WBEM_E_QUERY_NOT_IMPLEMENTED", "queries are not supported"),
    entry(WBEM_E_ILLEGAL_NULL, "WBEM_E_ILLEGAL_NULL", "a value is missing that must be there"),
    entry(WBEM_E_INVALID_QUALIFIER_TYPE, "WBEM_E_INVALID_QUALIFIER_TYPE", "a qualifier has the wrong type"),
    entry(WBEM_E_INVALID_PROPERTY_TYPE, "WBEM_E_INVALID_PROPERTY_TYPE", "a property has no valid type"),
    entry(WBEM_E_VALUE_OUT_OF_RANGE, "WBEM_E_VALUE_OUT_OF_RANGE", "a value is out of range",
          "describe the class to see the ranges"),
    entry(WBEM_E_CANNOT_BE_SINGLETON, "WBEM_E_CANNOT_BE_SINGLETON", "the class cannot be a singleton"),
    entry(WBEM_E_INVALID_CIM_TYPE, "WBEM_E_INVALID_CIM_TYPE", "there is no such CIM type"),
    entry(WBEM_E_INVALID_METHOD, "WBEM_E_INVALID_METHOD", "there is no such method",
          "describe the class to see its methods"),
    entry(WBEM_E_INVALID_METHOD_PARAMETERS, "WBEM_E_INVALID_METHOD_PARAMETERS",
          "the arguments do not fit the method, or what it is to act on does not exist",
          "describe the class to see the parameters, and list it to see the instances"),
    entry(WBEM_E_SYSTEM_PROPERTY, "WBEM_E_SYSTEM_PROPERTY", "the operation is not allowed on a system property"),
    entry(WBEM_E_INVALID_PROPERTY, "WBEM_E_INVALID_PROPERTY", "there is no such property",
          "describe the class to see its properties"),
    entry(WBEM_E_CALL_CANCELLED, "WBEM_E_CALL_CANCELLED", "the request was cancelled"),
    entry(WBEM_E_SHUTTING_DOWN, "WBEM_E_SHUTTING_DOWN", "the service is stopping"),
    entry(WBEM_E_PROPAGATED_METHOD, "WBEM_E_PROPAGATED_METHOD", "an inherited method cannot be changed"),
    entry(WBEM_E_UNSUPPORTED_PARAMETER, "WBEM_E_UNSUPPORTED_PARAMETER", "a parameter is not supported"),
    entry(WBEM_E_MISSING_PARAMETER_ID, "WBEM_E_MISSING_PARAMETER_ID", "a parameter has no ID"),
    entry(WBEM_E_INVALID_PARAMETER_ID, "WBEM_E_INVALID_PARAMETER_ID", "the ID of a parameter is not valid"),
    entry(WBEM_E_NONCONSECUTIVE_PARAMETER_IDS, "WBEM_E_NONCONSECUTIVE_PARAMETER_IDS",
          "the IDs of the parameters have a gap"),
    entry(WBEM_E_PARAMETER_ID_ON_RETVAL, "WBEM_E_PARAMETER_ID_ON_RETVAL", "the return value must not have an ID"),
    entry(WBEM_E_INVALID_OBJECT_PATH, "WBEM_E_INVALID_OBJECT_PATH", "the path is not valid",
          "a path is Class.Key=\"value\",Other=7; list the class with --format json to see __PATH"),
    entry(WBEM_E_OUT_OF_DISK_SPACE, "WBEM_E_OUT_OF_DISK_SPACE", "the disk is full"),
    entry(WBEM_E_BUFFER_TOO_SMALL, "WBEM_E_BUFFER_TOO_SMALL", "a buffer is too small"),
    entry(WBEM_E_UNSUPPORTED_PUT_EXTENSION, "WBEM_E_UNSUPPORTED_PUT_EXTENSION",
          "the provider cannot update single properties"),
    entry(WBEM_E_UNKNOWN_OBJECT_TYPE, "WBEM_E_UNKNOWN_OBJECT_TYPE", "the kind of object is unknown"),
    entry(WBEM_E_UNKNOWN_PACKET_TYPE, "WBEM_E_UNKNOWN_PACKET_TYPE", "the kind of packet is unknown"),
    entry(WBEM_E_INVALID_QUALIFIER, "WBEM_E_INVALID_QUALIFIER", "a qualifier is not valid"),
    entry(WBEM_E_INVALID_DUPLICATE_PARAMETER, "WBEM_E_INVALID_DUPLICATE_PARAMETER",
          "an in and an out parameter of one name differ"),
    entry(WBEM_E_TOO_MUCH_DATA, "WBEM_E_TOO_MUCH_DATA", "there is too much data"),
    entry(WBEM_E_SERVER_TOO_BUSY, "WBEM_E_SERVER_TOO_BUSY", "the service is too busy", "try again later"),
    entry(WBEM_E_INVALID_FLAVOR, "WBEM_E_INVALID_FLAVOR", "the flavor of a qualifier is not valid"),
    entry(WBEM_E_CIRCULAR_REFERENCE, "WBEM_E_CIRCULAR_REFERENCE", "a class derives from itself"),
    entry(WBEM_E_UNSUPPORTED_CLASS_UPDATE, "WBEM_E_UNSUPPORTED_CLASS_UPDATE",
          "the class cannot be changed in this way"),
    entry(WBEM_E_TOO_MANY_PROPERTIES, "WBEM_E_TOO_MANY_PROPERTIES", "the class has too many properties"),
    entry(WBEM_E_METHOD_NOT_IMPLEMENTED, "WBEM_E_METHOD_NOT_IMPLEMENTED", "the method is not implemented",
          "describe the class to see its methods"),
    entry(WBEM_E_METHOD_DISABLED, "WBEM_E_METHOD_DISABLED", "the method is switched off"),
    entry(WBEM_E_UNPARSABLE_QUERY, "WBEM_E_UNPARSABLE_QUERY", "the query cannot be understood"),
    entry(WBEM_E_NOT_EVENT_CLASS, "WBEM_E_NOT_EVENT_CLASS", "the class is no event class"),
    entry(WBEM_E_PROPERTY_NOT_AN_OBJECT, "WBEM_E_PROPERTY_NOT_AN_OBJECT", "the property holds no object"),
    entry(WBEM_E_UNINTERPRETABLE_PROVIDER_QUERY, "WBEM_E_UNINTERPRETABLE_PROVIDER_QUERY",
          "a query of the registration cannot be understood"),
    entry(WBEM_E_QUEUE_OVERFLOW, "WBEM_E_QUEUE_OVERFLOW", "too many events are waiting"),
    entry(WBEM_E_PRIVILEGE_NOT_HELD, "WBEM_E_PRIVILEGE_NOT_HELD", "the user lacks a privilege",
          "run as an administrator"),
    entry(WBEM_E_INVALID_OPERATOR, "WBEM_E_INVALID_OPERATOR", "the operator does not fit the type"),
    entry(WBEM_E_LOCAL_CREDENTIALS, "WBEM_E_LOCAL_CREDENTIALS", "a local connection takes no credentials"),
    entry(WBEM_E_CLIENT_TOO_SLOW, "WBEM_E_CLIENT_TOO_SLOW", "the client takes objects too slowly"),
    entry(WBEM_E_TIMED_OUT, "WBEM_E_TIMED_OUT", "the time is over", "try again later"),
    entry(WBEM_E_INVALID_ASSOCIATION, "WBEM_E_INVALID_ASSOCIATION", "the association is not valid"),
    entry(WBEM_E_AMBIGUOUS_OPERATION, "WBEM_E_AMBIGUOUS_OPERATION", "the operation can be understood in two ways"),
    entry(WBEM_E_QUOTA_VIOLATION, "WBEM_E_QUOTA_VIOLATION", "a limit of the service is exceeded"),
    entry(WBEM_E_UNSUPPORTED_LOCALE, "WBEM_E_UNSUPPORTED_LOCALE", "the locale is not supported"),
    entry(WBEM_E_HANDLE_OUT_OF_DATE, "WBEM_E_HANDLE_OUT_OF_DATE", "the object has changed since"),
    entry(WBEM_E_CONNECTION_FAILED, "WBEM_E_CONNECTION_FAILED", "the connection failed"),
    entry(WBEM_E_VETO_DELETE, "WBEM_E_VETO_DELETE", "the deletion was vetoed"),
    entry(WBEM_E_VETO_PUT, "WBEM_E_VETO_PUT", "the change was vetoed"),
    entry(WBEM_E_PROVIDER_SUSPENDED, "WBEM_E_PROVIDER_SUSPENDED", "the provider is suspended"),
    entry(WBEM_E_PROVIDER_NOT_REGISTERED, "WBEM_E_PROVIDER_NOT_REGISTERED", "the provider is not registered"),
    entry(WBEM_E_PROVIDER_TIMED_OUT, "WBEM_E_PROVIDER_TIMED_OUT", "the provider did not finish in time",
          "the provider's log at level 2 (VEXAL_DRAVEv2_LOG_LEVEL) says where it is"),
    entry(WBEM_E_NO_KEY, "WBEM_E_NO_KEY", "the object has no key"),
    entry(WBEM_E_PROVIDER_DISABLED, "WBEM_E_PROVIDER_DISABLED", "the provider is switched off"),
    StatusInfo{E_FAIL, "E_FAIL", "something failed", ""},
    StatusInfo{E_POINTER, "E_POINTER", "a pointer is null", ""},
    StatusInfo{E_NOINTERFACE, "E_NOINTERFACE", "the object has no such interface", ""},
    StatusInfo{E_OUTOFMEMORY, "E_OUTOFMEMORY", "there is not enough memory", ""},
    StatusInfo{E_INVALIDARG, "E_INVALIDARG", "an argument is not valid", ""},
    StatusInfo{E_ACCESSDENIED, "E_ACCESSDENIED", "access is denied", "run as an administrator"},
    StatusInfo{RPC_E_CALL_COMPLETE, "RPC_E_CALL_COMPLETE", "no call is being served on this thread", ""},
    StatusInfo{REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG", "the COM class is not registered",
               "register the provider with regsvr32"},
    StatusInfo{CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE", "the DLL does not serve the COM class",
               "register the provider with regsvr32"},
};
// clang-format on

}  // namespace

StatusInfo statusInfo(HRESULT status)
{
    const auto* found =
        std::find_if(TABLE.begin(), TABLE.end(), [status](const StatusInfo& info) { return info.status == status; });
    if (found != TABLE.end()) {
        return *found;
    }
    return FAILED(status) ? StatusInfo{status, "an unknown failure", "WMI and COM document no such code", ""}
                          : StatusInfo{status, "an unknown success", "WMI and COM document no such code", ""};
}

std::string statusText(HRESULT status)
{
    const StatusInfo info = statusInfo(status);
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "0x%08lX", static_cast<unsigned long>(status));
    return std::string(info.name) + " (" + number.data() + "): " + std::string(info.meaning);
}

}  // namespace wmihost
