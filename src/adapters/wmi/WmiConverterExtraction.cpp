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

// Appends the converted property to the list. If it cannot be converted, writes an error line and appends nothing.
void appendProperty(const utils::LogSite& here, PropertyConverter* converter, EnumeratedProperty&& property,
                    core::CimPropertyList& properties)
{
    if (converter == nullptr) {
        here.error("No converter for property type %d", property.cimType);
        return;
    }
    std::unique_ptr<core::CimProperty> converted(
        converter->variantToProperty(std::move(property.name), &property.value.get()));
    if (converted == nullptr) {
        here.error("Property convert error");
        return;
    }
    properties.add(converted.get());
    converted.release();  // NOLINT(bugprone-unused-return-value)
}

// Calls `visit` with each property that is not a system property. If the object refuses the walk, the caller's log gets
// a debug line.
template <class Visit>
void visitProperties(const utils::LogSite& here, IWbemClassObject* object, const Visit& visit)
{
    PropertyEnumeration enumeration(object, WBEM_FLAG_NONSYSTEM_ONLY);
    if (!enumeration.begun()) {
        here.debug("Problem with properties enumeration %X", enumeration.status());
        return;
    }
    while (std::optional<EnumeratedProperty> property = enumeration.next()) {
        visit(*std::move(property));
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
    visitProperties(here, wmiInst, [&](EnumeratedProperty&& property) {
        here.debug("Converting property %s, %d", property.name.c_str(), property.cimType);
        if (keys.contains(property.name)) {
            // Keys never go to the broker: the path says which instance it is.
            here.debug("Ignoring key property");
        } else if ((property.flavor & WBEM_FLAVOR_ORIGIN_SYSTEM) != 0) {
            here.debug("This is system property");
        } else {
            appendProperty(here, findConverter(property.cimType), std::move(property), properties);
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
    visitProperties(here, outParams, [&](EnumeratedProperty&& property) {
        here.debug("Obtaining property %s, %d", property.name.c_str(), property.cimType);
        // Every parameter gets its entry, keys and system properties as well.
        appendProperty(here, findConverter(property.cimType), std::move(property), results);
    });
}

}  // namespace wa
