#include "reliability/Surroundings.h"

#include <comdef.h>

#include <functional>

#include "Utils/Exception.h"
#include "core/CimPropertyTypes.h"

namespace reliability {

namespace {

template <class Property, class Value>
Property* addValue(core::CimInstance& instance, const char* name, Value value)
{
    auto* property = new Property(name, &instance);
    property->setValue(std::move(value));
    return property;
}

VARIANT number(VARTYPE type, LONG content)
{
    VARIANT value{};
    value.vt = type;
    value.lVal = content;
    return value;
}

template <class Element>
VARIANT array(VARTYPE type, std::initializer_list<Element> elements)
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    value.parray = SafeArrayCreateVector(type, 0, static_cast<ULONG>(elements.size()));
    LONG index = 0;
    for (Element element : elements) {
        if constexpr (std::is_same_v<Element, const char*>) {
            const utils::ScopedBstr text{std::string(element)};
            SafeArrayPutElement(value.parray, &index, text.get());
        } else {
            SafeArrayPutElement(value.parray, &index, &element);
        }
        ++index;
    }
    return value;
}

// One property of every type that a client's object may carry, keys and nulls among them.
void addClientValues(support::FakeClassObject& object)
{
    object.add("DeviceID", textValue("{A}"), CIM_STRING, 0, true);
    object.add("Name", textValue("port"), CIM_STRING);
    object.add("Texts", array<const char*>(VT_BSTR, {"a", "b"}), CIM_STRING | CIM_FLAG_ARRAY);
    object.add("Small", number(VT_UI1, 7), CIM_UINT8);
    object.add("Medium", number(VT_I4, 70000), CIM_UINT16);
    object.add("Mediums", array<LONG>(VT_I4, {1, 2, 3}), CIM_UINT16 | CIM_FLAG_ARRAY);
    object.add("Large", number(VT_I4, -1), CIM_UINT32);
    object.add("Huge", textValue("18446744073709551615"), CIM_UINT64);
    object.add("Port", textValue("Zerix_EthernetPort.DeviceID=\"{B}\""), CIM_REFERENCE);
    object.add("Nothing", number(VT_NULL, 0), CIM_STRING);
    object.add("Signed", number(VT_I4, 1), CIM_SINT32);
    object.add("Flag", number(VT_BOOL, 1), CIM_BOOLEAN);
}

// One property of every type.
void fillInstance(core::CimInstance& instance, core::CimInstance& profile)
{
    addValue<core::CimPropertyString>(instance, "DeviceID", "{A}")->setKey(true);
    addValue<core::CimPropertyString_arr>(instance, "Texts", std::vector<std::string>{"a", "b"});
    addValue<core::CimPropertyUint8>(instance, "Small", std::uint8_t{7});
    addValue<core::CimPropertyUint16>(instance, "Medium", std::uint16_t{65535});
    addValue<core::CimPropertyUint16_arr>(instance, "Mediums", std::vector<std::uint16_t>{1, 2});
    addValue<core::CimPropertyUint32>(instance, "Large", 4294967295U);
    addValue<core::CimPropertyUint32_arr>(instance, "Larges", std::vector<std::uint32_t>{3, 4});
    addValue<core::CimPropertyUint64>(instance, "Huge", 18446744073709551615ULL);
    addValue<core::CimPropertyBool>(instance, "Flag", true);
    addValue<core::CimPropertyDatetime>(instance, "When", utils::Time::timestamp(1000000));
    addValue<core::CimPropertyRef>(instance, "Profile", &profile);
    new core::CimPropertyString("Nothing", &instance);
}

}  // namespace

VARIANT textValue(const std::string& text)
{
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = utils::toBstr(text);
    return value;
}

std::string answerOf(const std::function<HRESULT()>& work)
{
    try {
        return support::hex(work());
    } catch (const utils::Exception&) {
        return "threw utils::Exception";
    } catch (const _com_error&) {
        return "threw _com_error";
    } catch (const std::bad_alloc&) {
        return "threw std::bad_alloc";
    } catch (const std::exception& exception) {
        return std::string("threw ") + typeid(exception).name();
    } catch (...) {
        return "threw something";
    }
}

Surroundings::Surroundings()
{
    addValue<core::CimPropertyString>(profile, "InstanceID", "p")->setKey(true);
    addValue<core::CimPropertyString>(job, "InstanceID", "1")->setKey(true);
    fillInstance(instance, profile);
    nameSpace.classes[PORT_CLASS] = &classObject;
    classObject.methods["Reset"] = &signature;
    signature.add("ReturnValue", number(VT_NULL, 0), CIM_UINT32);
    signature.add("Job", number(VT_NULL, 0), CIM_REFERENCE);
    signature.add("Text", textValue("default"), CIM_STRING);
    signature.add("Numbers", array<LONG>(VT_I4, {4, 5}), CIM_UINT16 | CIM_FLAG_ARRAY);
    *object.path.address() = textValue(PORT_PATH);
    addClientValues(object);
    addClientValues(inputs);
    broker.onGetInstances = [this] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&instance);
        return list;
    };
    broker.onFind = [this] { return &instance; };
    broker.onInvoke = [this](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 4096U;
    };
}

HRESULT Surroundings::send(Scenario scenario, IWbemServices* provider, IWbemClassObject* given)
{
    const utils::ScopedBstr classText(className);
    const utils::ScopedBstr pathText(path);
    const utils::ScopedBstr unreadable{std::string(PORT_CLASS)};
    const utils::ScopedBstr jobPathText(jobPath);
    const utils::ScopedBstr methodName(method);
    switch (scenario) {
        case Scenario::enumerate:
            return provider->CreateInstanceEnumAsync(classText.get(), 0, &context, client);
        case Scenario::get:
        case Scenario::getMissing:
            return provider->GetObjectAsync(pathText.get(), 0, &context, client);
        case Scenario::getUnreadablePath:
            return provider->GetObjectAsync(unreadable.get(), 0, &context, client);
        case Scenario::put:
            return provider->PutInstanceAsync(given, WBEM_FLAG_UPDATE_ONLY, &context, client);
        case Scenario::remove:
            return provider->DeleteInstanceAsync(jobPathText.get(), 0, &context, client);
        default:
            return provider->ExecMethodAsync(pathText.get(), methodName.get(), 0, &context, given, client);
    }
}

Outcome Surroundings::request(Scenario scenario, IWbemServices* provider)
{
    return request(scenario, provider, scenario == Scenario::put ? object : inputs);
}

Outcome Surroundings::request(Scenario scenario, IWbemServices* provider, support::FakeClassObject& given)
{
    Outcome result;
    const auto find = broker.onFind;
    if (scenario == Scenario::getMissing) {
        broker.onFind = nullptr;
    } else if (scenario == Scenario::remove && find) {
        broker.onFind = [this, find] {
            find();
            return &job;
        };
    }
    job.markForDeletion(false);
    const support::CallContext call(calls, token);
    result.answer = answerOf([&] { return send(scenario, provider, &given); });
    broker.onFind = find;
    result.calls = calls.take();
    if (support::threadHasToken()) {
        result.disorder += "the thread still acts as the client; ";
    }
    const int references = classObject.references() + classObject.spawnedReferences() + signature.references() +
                           signature.spawnedReferences() + given.references() + sink.references() +
                           context.references();
    if (references != 0) {
        result.disorder += std::to_string(references) + " references are held; ";
    }
    if (scenario == Scenario::remove && result.answer == support::hex(S_OK) && removed != nullptr &&
        !removed->isMarkedForDeletion())
    {
        result.disorder += "the job is not marked; ";
    }
    classObject.spawned().clear();
    signature.spawned().clear();
    return result;
}

Provider::Provider(const ProviderModule& module, Surroundings& surroundings)
{
    m_made = answerOf([&] {
        HRESULT hr = module.classFactory(m_factory.out());
        if (SUCCEEDED(hr)) {
            hr = m_factory->CreateInstance(nullptr, IID_IWbemProviderInit, reinterpret_cast<void**>(m_start.out()));
        }
        if (SUCCEEDED(hr)) {
            hr = m_start->QueryInterface(IID_IWbemServices, reinterpret_cast<void**>(m_services.out()));
        }
        if (SUCCEEDED(hr)) {
            std::wstring name = L"root\\DCIM\\vexal";
            hr = m_start->Initialize(nullptr, 0, name.data(), nullptr, &surroundings.nameSpace, nullptr,
                                     &surroundings.initSink);
        }
        return hr;
    });
}

}  // namespace reliability
