#include "Os/Windows/ComScope.h"
#include "Os/Windows/Variants.h"
#include "Utils/Assert.h"
#include "adapters/wmi/Names.h"
#include "adapters/wmi/OutParameters.h"
#include "adapters/wmi/WmiConverter.h"
#include "core/CimBroker.h"

// Method calls: from the client's arguments through the broker to the output object.
namespace wa {

namespace {

constexpr const char* FILE_NAME = "WmiConverter";

// A list that owns what is converted for it.
class OwningPropertyList : public core::CimPropertyList
{
public:
    OwningPropertyList() { setOwnsElements(true); }
};

void putOutParameter(const utils::LogSite& caller, const std::string& name, utils::ScopedVariant& value,
                     IWbemClassObject* pOutParams)
{
    const HRESULT hr = pOutParams->Put(utils::WideText(name).get(), 0, value.address(), 0);
    if (hr != WBEM_S_NO_ERROR) {
        caller.error("pOutParams->Put() error 0x%X", hr);
    }
}

}  // namespace

void WmiConverter::InvokeMethod(const std::string& objectPath, const std::string& methodName, IWbemServices* pNamespace,
                                IWbemContext* pCtx, IWbemClassObject* pInParams, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::InvokeMethod"};
    here.debug("InvokeMethod");
    ASSERT(here, (int)objectPath.size() != 0);
    ASSERT(here, (int)methodName.size() != 0);
    ASSERT(here, pNamespace != NULL);
    ASSERT(here, pCtx != NULL);
    ASSERT(here, pInParams != NULL);
    ASSERT(here, pResponseHandler != NULL);
    here.debug("Create CimPath from %s", objectPath.c_str());
    core::CimPath path(objectPath);
    const std::string& className = path.getClassName();
    here.debug("ClassName: %s", className.c_str());
    core::CimBroker* const broker = core::GetCimBroker();
    here.debug("CimBroker instance: #%p", broker);
    OwningPropertyList inputs;
    extractProperties(inputs, pInParams);
    here.debug("Incomming arguments got");
    OwningPropertyList outputs;
    createResultsList(className, methodName, pNamespace, pCtx, outputs);
    here.debug("Outcomming results got");
    core::CimInstance* job = nullptr;
    const std::uint32_t returnValue = broker->invokeMethod(path, methodName, inputs, outputs, job);
    indicateResults(className, methodName, returnValue, names::JOB_PARAMETER, job, pNamespace, pCtx, pResponseHandler,
                    outputs);
}

void WmiConverter::indicateResults(const std::string& className, const std::string& methodName,
                                   std::uint32_t returnValue, const std::string& jobName, core::CimInstance* job,
                                   IWbemServices* pNamespace, IWbemContext* pCtx, IWbemObjectSink* pResponseHandler,
                                   core::CimPropertyList& results)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::indicateResults"};
    const OutParameters out = spawnOutParameters(here, className, methodName, pNamespace, pCtx);
    IWbemClassObject* outParams = out.object.get();
    if (outParams == nullptr) {
        return;
    }
    core::CimPropertyList::Iterator iterator = results.getIterator();
    while (core::CimProperty* property = iterator.next()) {
        const std::string& name = property->getName();
        if (name == names::RETURN_VALUE) {
            addUint32ToResponseHandler(name, returnValue, outParams);
        } else if (name == jobName) {
            if (!jobName.empty() && job != nullptr) {
                here.debug("Set Reference %s", name.c_str());
                // The bare path, unlike every other reference, which carries host and namespace: clients parse it so.
                addStringToResponseHandler(name, job->toPathString(), outParams);
            }
        } else {
            PropertyConverter* const* entry = typeConverters.find(property->getType());
            PropertyConverter* const converter = entry == nullptr ? nullptr : *entry;
            ASSERT(here, converter != NULL);
            utils::ScopedVariant value(converter->propertyToVariant(property));
            outParams->Put(utils::WideText(name).get(), 0, value.address(), 0);
        }
    }
    here.debug("Indicate results");
    const HRESULT hr = pResponseHandler->Indicate(1, &outParams);
    if (hr != WBEM_S_NO_ERROR) {
        here.error("pResponseHandler->Indicate() error 0x%X", hr);
    }
}

void WmiConverter::addUint32ToResponseHandler(const std::string& name, std::uint32_t value,
                                              IWbemClassObject* pOutParams)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::addUint32ToResponseHandler"};
    here.debug("Here");
    utils::ScopedVariant variant(utils::numberVariant(static_cast<std::int32_t>(value)));
    here.debug("Set UINT32 %s: %d", name.c_str(), value);
    putOutParameter(here, name, variant, pOutParams);
}

void WmiConverter::addStringToResponseHandler(const std::string& name, const std::string& value,
                                              IWbemClassObject* pOutParams)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::addStringToResponseHandler"};
    here.debug("Here");
    utils::ScopedVariant variant(utils::textVariant(value));
    here.debug("Set BSTR %s: %s", name.c_str(), value.c_str());
    putOutParameter(here, name, variant, pOutParams);
}

}  // namespace wa
