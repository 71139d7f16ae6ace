#include "adapters/wmi/WmiConverter.h"

#include <memory>
#include <utility>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Variants.h"
#include "Utils/Assert.h"
#include "Utils/Exception.h"
#include "adapters/wmi/PropertyConverters.h"
#include "adapters/wmi/Status.h"
#include "core/CimBroker.h"

namespace wa {

namespace {

constexpr const char* FILE_NAME = "WmiConverter";

}  // namespace

WmiConverter::WmiConverter()
{
    try {
        registerConverters();
    } catch (...) {
        deleteConverters();
        throw;
    }
}

WmiConverter::~WmiConverter()
{
    deleteConverters();
}

void WmiConverter::registerConverters()
{
    using core::CimProperty;
    registerConverter(new StringPropertyConverter, CimProperty::EPT_STRING, CIM_STRING);
    registerConverter(new StringArrayPropertyConverter, CimProperty::EPT_STRING_ARR, CIM_STRING | CIM_FLAG_ARRAY);
    registerConverter(new Uint8PropertyConverter, CimProperty::EPT_UINT8, CIM_UINT8);
    registerConverter(new Uint16PropertyConverter, CimProperty::EPT_UINT16, CIM_UINT16);
    registerConverter(new Uint16ArrayPropertyConverter, CimProperty::EPT_UINT16_ARR, CIM_UINT16 | CIM_FLAG_ARRAY);
    registerConverter(new Uint32PropertyConverter, CimProperty::EPT_UINT32, CIM_UINT32);
    registerConverter(new Uint32ArrayPropertyConverter, CimProperty::EPT_UINT32_ARR, CIM_UINT32 | CIM_FLAG_ARRAY);
    registerConverter(new Uint64PropertyConverter, CimProperty::EPT_UINT64, CIM_UINT64);
    registerConverter(new BoolPropertyConverter, CimProperty::EPT_BOOL, CIM_BOOLEAN);
    registerConverter(new DatetimePropertyConverter, CimProperty::EPT_DATETIME, CIM_DATETIME);
    registerConverter(new RefPropertyConverter, CimProperty::EPT_REF, CIM_REFERENCE);
}

void WmiConverter::registerConverter(PropertyConverter* converter, core::CimProperty::EPropertyType type, long cimType)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::registerConverter"};
    std::unique_ptr<PropertyConverter> owned(converter);
    if (typeConverters.contains(type)) {
        PropertyConverter* oldConverter = *typeConverters.find(type);
        ASSERT(here, oldConverter != NULL);
        delete oldConverter;
    }
    typeConverters.set(type, converter);
    owned.release();  // NOLINT(bugprone-unused-return-value)
    cimTypeConverters.set(cimType, converter);
}

void WmiConverter::deleteConverters() noexcept
{
    for (const auto& [type, converter] : typeConverters) {
        delete converter;
    }
}

PropertyConverter* WmiConverter::findConverter(long cimType) const
{
    PropertyConverter* const* converter = cimTypeConverters.find(cimType);
    return converter == nullptr ? nullptr : *converter;
}

core::CimPath WmiConverter::getPath(IWbemClassObject* wmiInst)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::getPath"};
    ASSERT(here, wmiInst != NULL);
    utils::ScopedVariant path;
    wmiInst->Get(L"__PATH", 0, path.address(), nullptr, nullptr);
    return core::CimPath(utils::variantToString(path.get()));
}

IWbemClassObject* WmiConverter::createWmiInstance(const std::string& className, IWbemServices* pNamespace,
                                                  IWbemContext* pCtx)
{
    return createWmiInstance(className, utils::ScopedBstr(className).get(), pNamespace, pCtx);
}

IWbemClassObject* WmiConverter::createWmiInstance(const std::string& className, BSTR bstrClassName,
                                                  IWbemServices* pNamespace, IWbemContext* pCtx)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::createWmiInstance"};
    here.debug("createWmiInstance");
    utils::ComReference<IWbemClassObject> classObject;
    HRESULT hr = pNamespace->GetObject(bstrClassName, 0, pCtx, classObject.out(), nullptr);
    // A success code other than 0 gives no class either.
    if (hr != WBEM_S_NO_ERROR) {
        throw utils::Exception("pNamespace->GetObject(%s) error #%x", className.c_str(), static_cast<unsigned>(hr));
    }
    const IWbemClassObject* const pClass = classObject.get();
    ASSERT(here, pClass != NULL);
    utils::ComReference<IWbemClassObject> instance;
    hr = classObject->SpawnInstance(0, instance.out());
    classObject.reset();
    if (FAILED(hr)) {
        throw utils::Exception("pClass->SpawnInstance(%s) error #%x", className.c_str(), static_cast<unsigned>(hr));
    }
    IWbemClassObject* const result = instance.get();
    ASSERT(here, result != NULL);
    return instance.detach();
}

void WmiConverter::copyProperties(IWbemClassObject* wmiInst, core::CimInstance* coreInst)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::copyProperties"};
    ASSERT(here, wmiInst != NULL);
    ASSERT(here, coreInst != NULL);
    here.debug("copyProperties %p<-%p", wmiInst, coreInst);
    core::CimPropertyList::Iterator properties = coreInst->propertyIterator();
    while (core::CimProperty* property = properties.next()) {
        here.debug("Converting '%s'", property->getName().c_str());
        if (property->isNull()) {
            here.debug("Property is NULL - skip copying");
            continue;
        }
        PropertyConverter* const* entry = typeConverters.find(property->getType());
        if (entry == nullptr) {
            here.error("Not supported property type: %d", property->getType());
            continue;
        }
        PropertyConverter* const converter = *entry;
        ASSERT(here, converter != NULL);
        utils::ScopedVariant value(converter->propertyToVariant(property));
        // No type is given: the class says which one the property has.
        const HRESULT hr = wmiInst->Put(utils::WideText(property->getName()).get(), 0, value.address(), 0);
        if (hr != WBEM_S_NO_ERROR) {
            here.error("Property copy error: %x", hr);
        }
    }
}

std::vector<IWbemClassObject*> WmiConverter::getInstances(IWbemServices* pNamespace, BSTR bstrClassName,
                                                          IWbemContext* pCtx)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::getInstances"};
    ASSERT(here, pNamespace != NULL);
    ASSERT(here, bstrClassName != NULL);
    ASSERT(here, pCtx != NULL);
    const std::string className = utils::narrowBstr(bstrClassName);
    here.debug("Getting instances for class %s", className.c_str());
    core::CimBroker* const broker = core::GetCimBroker();
    here.debug("CimBroker instance: #%p", broker);
    utils::SafeList<core::CimInstance*> instances = broker->getInstances(className);
    if (here.debugOn()) {
        here.debug("%d instances found", static_cast<int>(instances.size()));
    }
    utils::ComReferences<IWbemClassObject> objects;
    utils::SafeList<core::CimInstance*>::Iterator iterator = instances.getIterator();
    // Instances of one class share its name as a BSTR.
    std::string sharedName;
    utils::ScopedBstr sharedBstr;
    while (core::CimInstance* instance = iterator.next()) {
        // The instance's own class, which may be a subclass of the one that was asked for.
        std::string instanceClass = instance->getClassName();
        if (sharedBstr.get() == nullptr || instanceClass != sharedName) {
            *sharedBstr.out() = utils::toBstr(instanceClass);
            sharedName = std::move(instanceClass);
        }
        IWbemClassObject* const object = createWmiInstance(sharedName, sharedBstr.get(), pNamespace, pCtx);
        objects.append(utils::ComReference<IWbemClassObject>(object));
        copyProperties(object, instance);
    }
    return objects.detach();
}

HRESULT WmiConverter::getInstanceByPath(const std::string& objectPath, IWbemServices* pNamespace,
                                        IWbemClassObject** result, IWbemContext* pCtx)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::WmiConverter::getInstanceByPath"};
    ASSERT(here, (int)objectPath.size() != 0);
    ASSERT(here, pNamespace != NULL);
    ASSERT(here, result != NULL);
    ASSERT(here, pCtx != NULL);
    core::CimPath path(objectPath);
    core::CimBroker* const broker = core::GetCimBroker();
    here.debug("CimBroker instance: #%p", broker);
    core::CimInstance* const instance = broker->getInstanceByPath(path);
    if (instance == nullptr) {
        here.debug("Instance %s not found", objectPath.c_str());
        return hresult(WBEM_E_NOT_FOUND);
    }
    const std::string className = instance->getClassName();
    utils::ComReference<IWbemClassObject> object(createWmiInstance(className, pNamespace, pCtx));
    if (object.get() == nullptr) {
        here.error("Creation of instance of %s class fails", className.c_str());
        return hresult(WBEM_E_INVALID_OBJECT);
    }
    copyProperties(object.get(), instance);
    *result = object.detach();
    return WBEM_S_NO_ERROR;
}

}  // namespace wa
