#include "reliability/Surroundings.h"

#include <comdef.h>

#include <functional>

#include "Utils/Exception.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "fakes/EveryType.h"
#include "support/Samples.h"

namespace reliability {

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
    samples::addKey(profile, "InstanceID", "p");
    samples::addKey(job, "InstanceID", "1");
    samples::addKey(instance, "DeviceID", "{A}");
    support::addEveryType(instance, profile);
    nameSpace.classes[PORT_CLASS] = &classObject;
    classObject.methods["Reset"] = &signature;
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Job", samples::null(), CIM_REFERENCE);
    signature.add("Text", samples::bstr("default"), CIM_STRING);
    signature.add("Numbers", support::numbersVariant({4, 5}), CIM_UINT16 | CIM_FLAG_ARRAY);
    *object.path.address() = samples::bstr(PORT_PATH);
    support::addEveryType(object);
    support::addEveryType(inputs);
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
        case Scenario::ENUMERATE:
            return provider->CreateInstanceEnumAsync(classText.get(), 0, &context, &sink);
        case Scenario::GET:
        case Scenario::GET_MISSING:
            return provider->GetObjectAsync(pathText.get(), 0, &context, &sink);
        case Scenario::GET_UNREADABLE_PATH:
            return provider->GetObjectAsync(unreadable.get(), 0, &context, &sink);
        case Scenario::PUT:
            return provider->PutInstanceAsync(given, WBEM_FLAG_UPDATE_ONLY, &context, &sink);
        case Scenario::REMOVE:
            return provider->DeleteInstanceAsync(jobPathText.get(), 0, &context, &sink);
        default:
            return provider->ExecMethodAsync(pathText.get(), methodName.get(), 0, &context, given, &sink);
    }
}

Outcome Surroundings::request(Scenario scenario, IWbemServices* provider)
{
    return request(scenario, provider, scenario == Scenario::PUT ? object : inputs);
}

Outcome Surroundings::request(Scenario scenario, IWbemServices* provider, support::FakeClassObject& given)
{
    Outcome result;
    const auto find = broker.onFind;
    if (scenario == Scenario::GET_MISSING) {
        broker.onFind = nullptr;
    } else if (scenario == Scenario::REMOVE && find) {
        broker.onFind = [this, find] {
            find();
            return &job;
        };
    }
    job.markForDeletion(false);
    const support::CallContext call(calls);
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
    if (scenario == Scenario::REMOVE && result.answer == support::hex(S_OK) && removed != nullptr &&
        !removed->isMarkedForDeletion())
    {
        result.disorder += "the job is not marked; ";
    }
    classObject.spawned().clear();
    signature.spawned().clear();
    return result;
}

Provider::Provider(const support::ProviderModule& module, Surroundings& surroundings)
{
    m_made = answerOf([&] {
        HRESULT hr =
            module.classObject(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(m_factory.out()));
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

Outcome requestOnce(Scenario scenario, const support::ProviderModule& module, Surroundings& surroundings,
                    support::FakeClassObject& given)
{
    Outcome result;
    {
        const Provider provider(module, surroundings);
        if (provider.made() == support::hex(S_OK)) {
            result = surroundings.request(scenario, provider.get(), given);
        } else {
            result.answer = "no provider: " + provider.made();
            result.calls = surroundings.calls.take();
        }
    }
    if (surroundings.nameSpace.references() != 0) {
        result.disorder += "the namespace is held; ";
    }
    if (module.canUnloadNow() != S_OK) {
        result.disorder += "the module cannot be unloaded; ";
    }
    return result;
}

}  // namespace reliability
