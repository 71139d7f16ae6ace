#pragma once

#include <cstdint>
#include <string>

#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyList.h"

namespace core {

// The object broker, ZerixCimCore.dll: every instance that the provider reports, changes or calls lives in it.
// Safe for concurrent callers. Failures are thrown as members of the utils::Exception family; an instance that does
// not exist is a null result or an empty list, never an exception, except where an operation says otherwise.
//
// Lifetime of instances. Instances stay the broker's. What a call hands out is private to the calling thread: it
// neither changes nor dies before that thread's next call into any broker. What other threads do in between does not
// matter. The same holds for the instances that its references point to. No call gives them back. A caller that needs
// an instance for longer copies what it needs.
//
// The order of declaration is the order of the slots that both libraries are compiled to.
class CimBroker
{
public:
    virtual ~CimBroker() = default;

    // All instances of exactly this class, named without case; an empty list for a class that is not served. Throws
    // utils::EFailed when the machine cannot be read.
    virtual utils::SafeList<CimInstance*> getInstances(const std::string& className) = 0;

    // Applies the values to the instance; what is not in the list stays. Nothing is changed when it throws:
    // utils::EInvalidParameter for a value out of range or an unknown property, utils::EForbidden for a property that
    // may not be changed or when the platform denies access, utils::ENotSupported for an instance that cannot be
    // changed, utils::ENotFound when the instance does not exist, utils::EFailed when the change could not be stored.
    virtual void modifyInstance(CimPath& path, CimPropertyList& properties) = 0;

    // Runs a method of the instance. Sets the entries of outArguments that it knows and leaves the others. `job` is set
    // to the job that carries on the work, or stays null. Returns the method's return value. Throws
    // wa::EMethodNotSupported for an unknown method, wa::EInvalidParameter for a bad argument, utils::ENotFound when
    // the instance does not exist.
    virtual std::uint32_t invokeMethod(CimPath& path, std::string methodName, CimPropertyList& inArguments,
                                       CimPropertyList& outArguments, CimInstance*& job) = 0;

    // The instance whose class and keys match, or null. Class and key names are compared without case, in any order,
    // and so are values that are GUIDs or the names of classes and hosts, other values exactly; all keys and no others
    // must be given. Throws utils::EFailed when the machine cannot be read.
    CimInstance* getInstanceByPath(CimPath& path);

    CimBroker(const CimBroker&) = delete;
    CimBroker& operator=(const CimBroker&) = delete;

protected:
    CimBroker() = default;
};

// The process's one broker; the same on every call, never null. Any thread.
CimBroker* GetCimBroker();

}  // namespace core
