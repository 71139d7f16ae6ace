#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "Os/Windows/ComScope.h"
#include "fakes/CallContext.h"
#include "fakes/FakeBroker.h"
#include "fakes/FakeContext.h"
#include "fakes/FakeNamespace.h"
#include "fakes/FakeSink.h"
#include "fakes/ProviderModule.h"
#include "support/LogLines.h"
#include "support/NoComLeaks.h"
#include "support/Samples.h"

// The log level with which the program was started.
inline int levelOfEnvironment()
{
    const char* const value = std::getenv("VEXAL_DRAVEv2_LOG_LEVEL");
    return value == nullptr ? 1 : std::atoi(value);
}

class ComApartment
{
public:
    ComApartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~ComApartment() { CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

// One provider object of the built DLL, initialised with its namespace. Everything around it is a fake: the broker and
// its data, the class definitions, the sink, and a client that allows impersonation. The test fails if a reference is
// left at its end. One object at a time.
class RequestWorld
{
public:
    static constexpr const char* PORT_PATH = "Zerix_EthernetPort.DeviceID=\"a\"";
    static constexpr const char* JOB_PATH = "Zerix_ConcreteJob.InstanceID=\"7\"";

    RequestWorld()
    {
        _putenv_s("COMPUTERNAME", "TESTHOST");
        module.useTheTestsBroker();
        module.captureLog();
        wmiNamespace.classes = {{"Zerix_EthernetPort", &port}, {"Zerix_ConcreteJob", &jobClass}};
        port.methods["Run"] = &signature;
        signature.add("ReturnValue", samples::null(), CIM_UINT32);
        signature.add("Job", samples::null(), CIM_REFERENCE);
        samples::addKey(instance, "DeviceID", "a");
        samples::add<core::CimPropertyString>(instance, "Name", "eth0");
        samples::addKey(job, "InstanceID", "7");
    }

    RequestWorld(const RequestWorld&) = delete;
    RequestWorld& operator=(const RequestWorld&) = delete;

    ~RequestWorld()
    {
        provider.reset();
        for (const int references :
             {wmiNamespace.references(), context.references(), sink.references(), initSink.references(),
              port.references(), jobClass.references(), signature.references(), object.references(),
              port.spawnedReferences(), jobClass.spawnedReferences(), signature.spawnedReferences()})
        {
            EXPECT_EQ(references, 0);
        }
    }

    // Makes the provider object and passes the namespace to it.
    void start() { start(&wmiNamespace); }

    void start(IWbemServices* given)
    {
        *provider.out() = module.createProvider();
        initialize(given);
    }

    void initialize(IWbemServices* given)
    {
        utils::ComReference<IWbemProviderInit> init;
        provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()));
        std::wstring name = L"root\\DCIM\\vexal";
        init->Initialize(nullptr, 0, name.data(), nullptr, given, &context, &initSink);
    }

    HRESULT enumerate()
    {
        const utils::ScopedBstr name("Zerix_EthernetPort");
        return provider->CreateInstanceEnumAsync(name.get(), 0, &context, client);
    }

    HRESULT get(const std::string& path = PORT_PATH)
    {
        const utils::ScopedBstr text(path);
        return provider->GetObjectAsync(text.get(), 0, &context, client);
    }

    HRESULT put() { return provider->PutInstanceAsync(&object, WBEM_FLAG_UPDATE_ONLY, &context, client); }

    HRESULT remove(const std::string& path = JOB_PATH)
    {
        const utils::ScopedBstr text(path);
        return provider->DeleteInstanceAsync(text.get(), 0, &context, client);
    }

    HRESULT execute(const std::string& path = PORT_PATH)
    {
        const utils::ScopedBstr text(path);
        const utils::ScopedBstr method("Run");
        return provider->ExecMethodAsync(text.get(), method.get(), 0, &context, &object, client);
    }

    // From this call on, the client allows the given level.
    void allow(support::ClientToken token)
    {
        call.reset();
        call.emplace(calls, token);
    }

    void brokerHas(int ports)
    {
        broker.onGetInstances = [this, ports] {
            utils::SafeList<core::CimInstance*> list;
            for (int i = 0; i < ports; ++i) {
                list.append(&instance);
            }
            return list;
        };
    }

    ComApartment apartment;
    support::NoComLeaks leaks;
    support::LogCapture log{levelOfEnvironment()};
    support::CallLog calls;
    support::ProviderModule module;
    support::FakeBroker broker{calls};
    support::FakeNamespace wmiNamespace{calls};
    support::FakeContext context{calls};
    support::FakeSink sink{calls};
    support::FakeInitSink initSink{calls};
    support::FakeClassObject port{calls, "Zerix_EthernetPort"};
    support::FakeClassObject jobClass{calls, "Zerix_ConcreteJob"};
    support::FakeClassObject signature{calls, "Run.out"};
    support::FakeClassObject object{calls, "object"};
    // The sink that the requests receive.
    IWbemObjectSink* client = &sink;
    core::CimInstance instance{"Zerix_EthernetPort"};
    core::CimInstance job{"Zerix_ConcreteJob"};
    std::optional<support::CallContext> call{std::in_place, calls};
    utils::ComReference<IWbemServices> provider;
};

class RequestTest : public testing::Test, protected RequestWorld
{
};
