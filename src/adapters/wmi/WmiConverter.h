#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Os/Windows/Platform.h"
#include "Utils/Containers.h"
#include "Utils/Singleton.h"
#include "adapters/wmi/PropertyConverter.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyList.h"

namespace wa {

// Turns the broker's instances into WMI objects and back. Holds nothing but the converters, which are made with it and
// only read afterwards: any number of requests share it without a lock. Texts are in the ANSI code page. Preconditions
// on arguments throw utils::Exception.
class WmiConverter : public utils::AutoSingleton<WmiConverter>
{
public:
    static constexpr const char* qualifiedName = "wa::WmiConverter";

    WmiConverter();
    ~WmiConverter() override;

    // The path that the client's object gives for itself. Throws utils::ESyntaxError when it has none.
    virtual core::CimPath getPath(IWbemClassObject* wmiInst);

    // Appends a property for each property of the object that is neither key nor system property and whose type has a
    // converter; the rest is logged and skipped. The list takes over the properties only where it owns its elements.
    virtual void extractProperties(core::CimPropertyList& properties, IWbemClassObject* wmiInst);

    // Appends a property for each output parameter of the method, with the signature's defaults. What fails is logged
    // and leaves the list as it is.
    virtual void createResultsList(const std::string& className, const std::string& methodName,
                                   IWbemServices* pNamespace, IWbemContext* pCtx, core::CimPropertyList& results);

    // Builds the method's output object and indicates it to the sink: the return value under "ReturnValue", the job's
    // bare path under jobName when there is a job, every other result under its own name. What fails is logged; without
    // a class or signature nothing is indicated.
    virtual void indicateResults(const std::string& className, const std::string& methodName, std::uint32_t returnValue,
                                 const std::string& jobName, core::CimInstance* job, IWbemServices* pNamespace,
                                 IWbemContext* pCtx, IWbemObjectSink* pResponseHandler, core::CimPropertyList& results);

    // A new, empty instance of the class; the caller owns the reference. Throws utils::Exception when the namespace
    // does not give the class or the class gives no instance.
    IWbemClassObject* createWmiInstance(const std::string& className, IWbemServices* pNamespace, IWbemContext* pCtx);

    // Puts the instance's properties into the WMI object, in list order. Overridden and null ones are left out. One
    // that has no converter, or that the object refuses, is logged and skipped; the rest still reaches the client.
    void copyProperties(IWbemClassObject* wmiInst, core::CimInstance* coreInst);

    // One filled WMI object per instance of the class, in the broker's order; the caller releases each. What a step
    // throws passes through, with the objects built so far released.
    std::vector<IWbemClassObject*> getInstances(IWbemServices* pNamespace, BSTR bstrClassName, IWbemContext* pCtx);

    // The instance at the path as a WMI object in *result, one reference of which is the caller's. WBEM_E_NOT_FOUND,
    // with *result untouched, when there is none. Throws as the steps do.
    HRESULT getInstanceByPath(const std::string& objectPath, IWbemServices* pNamespace, IWbemClassObject** result,
                              IWbemContext* pCtx);

    // Runs the method on the instance at the path and indicates its output object. Reports failure by throwing.
    void InvokeMethod(const std::string& objectPath, const std::string& methodName, IWbemServices* pNamespace,
                      IWbemContext* pCtx, IWbemClassObject* pInParams, IWbemObjectSink* pResponseHandler);

    // Put one value into a method's output object; a refusal is logged.
    void addUint32ToResponseHandler(const std::string& name, std::uint32_t value, IWbemClassObject* pOutParams);
    void addStringToResponseHandler(const std::string& name, const std::string& value, IWbemClassObject* pOutParams);

private:
    // The same, for a name that is there as a BSTR already.
    IWbemClassObject* createWmiInstance(const std::string& className, BSTR bstrClassName, IWbemServices* pNamespace,
                                        IWbemContext* pCtx);

    void registerConverter(PropertyConverter* converter, core::CimProperty::EPropertyType type, long cimType);
    void registerConverters();
    void deleteConverters() noexcept;

    // The converter of a WMI property's type, or null.
    PropertyConverter* findConverter(long cimType) const;

    // Owns the converters, under the type of the properties they turn into WMI values.
    utils::Map<core::CimProperty::EPropertyType, PropertyConverter*> typeConverters;
    // The same converters under the CIMTYPE of the WMI values they turn into properties.
    utils::Map<long, PropertyConverter*> cimTypeConverters;
};

}  // namespace wa
