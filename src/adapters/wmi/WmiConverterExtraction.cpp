#include <memory>
#include <string>
#include <utility>

#include "Utils/Log.h"
#include "adapters/wmi/OutParameters.h"
#include "adapters/wmi/PropertyEnumeration.h"
#include "adapters/wmi/WmiConverter.h"

// WMI objects to property lists: what a client wants written, and the shape of a method's output.
namespace wa {

namespace {

constexpr const char* FILE_NAME = "WmiConverter";

// Converts one value and appends it. Logs, and leaves the list as it is, when there is no converter or no result.
void appendProperty(const utils::LogSite& here, PropertyConverter* converter, std::string name, const VARIANT& value,
                    CIMTYPE cimType, core::CimPropertyList& properties)
{
    if (converter == nullptr) {
        here.error("No converter for property type %d", cimType);
        return;
    }
    std::unique_ptr<core::CimProperty> property(converter->variantToProperty(std::move(name), &value));
    if (property == nullptr) {
        here.error("Property convert error");
        return;
    }
    properties.add(property.get());
    property.release();
}

// Calls `visit` for each property that is not a system property, with its name, value, CIM type and flavor. An object
// that refuses the walk is a debug line of the caller's.
template <class Visit>
void visitProperties(const utils::LogSite& here, IWbemClassObject* object, const Visit& visit)
{
    PropertyEnumeration enumeration(object, WBEM_FLAG_NONSYSTEM_ONLY);
    if (!enumeration.begun()) {
        here.debug("Problem with properties enumeration %X", enumeration.status());
        return;
    }
    for (;;) {
        std::string name;
        utils::ScopedVariant value;
        CIMTYPE cimType = 0;
        long flavor = 0;
        if (!enumeration.next(name, value, cimType, flavor)) {
            return;
        }
        visit(std::move(name), value.get(), cimType, flavor);
    }
}

}  // namespace

void WmiConverter::extractProperties(core::CimPropertyList& properties, IWbemClassObject* wmiInst)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::extractProperties"};
    utils::SafeMap<std::string, bool> keys;
    {
        PropertyEnumeration enumeration(wmiInst, WBEM_FLAG_KEYS_ONLY);
        while (const std::optional<std::string> name = enumeration.begun() ? enumeration.nextName() : std::nullopt) {
            copyName([&] { keys.set(*name, true); });
        }
    }
    visitProperties(here, wmiInst, [&](std::string name, const VARIANT& value, CIMTYPE cimType, long flavor) {
        here.debug("Converting property %s, %d", name.c_str(), cimType);
        if (keys.contains(name)) {
            // Keys never go to the broker: the path says which instance it is.
            here.debug("Ignoring key property");
        } else if ((flavor & WBEM_FLAVOR_ORIGIN_SYSTEM) != 0) {
            here.debug("This is system property");
        } else {
            appendProperty(here, findConverter(cimType), std::move(name), value, cimType, properties);
        }
    });
}

void WmiConverter::createResultsList(const std::string& className, const std::string& methodName,
                                     IWbemServices* pNamespace, IWbemContext* pCtx, core::CimPropertyList& results)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::createResultsList"};
    here.debug("Here");
    const OutParameters out = spawnOutParameters(here, className, methodName, pNamespace, pCtx);
    IWbemClassObject* outParams = out.object.get();
    if (outParams == nullptr) {
        return;
    }
    visitProperties(here, outParams, [&](std::string name, const VARIANT& value, CIMTYPE cimType, long /*flavor*/) {
        here.debug("Obtaining property %s, %d", name.c_str(), cimType);
        // Every parameter gets its entry, keys and system properties as well.
        appendProperty(here, findConverter(cimType), std::move(name), value, cimType, results);
    });
}

}  // namespace wa
