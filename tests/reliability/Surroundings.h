#pragma once

#include <memory>

#include "Os/Windows/ComScope.h"
#include "core/CimInstance.h"
#include "fakes/CallContext.h"
#include "fakes/FakeBroker.h"
#include "fakes/FakeContext.h"
#include "fakes/FakeNamespace.h"
#include "fakes/FakeSink.h"
#include "fakes/ProviderModule.h"
#include "reliability/Scenario.h"

namespace reliability {

constexpr const char* PORT_CLASS = "Zerix_EthernetPort";
constexpr const char* PORT_PATH = "Zerix_EthernetPort.DeviceID=\"{A}\"";
constexpr const char* JOB_PATH = "Zerix_ConcreteJob.InstanceID=\"1\"";

// Runs the work. Returns its result or exception as text: "0x00000000", "threw std::bad_alloc".
std::string answerOf(const std::function<HRESULT()>& work);

// All fakes around one provider: a broker with two instances of every property type, a namespace, a client's object
// with values of every type, and a sink. By default all of them succeed; a test makes one of them fail.
class Surroundings
{
public:
    Surroundings();

    support::CallLog calls;
    core::CimInstance instance{PORT_CLASS};
    core::CimInstance profile{"Zerix_RegisteredProfile"};
    core::CimInstance job{"Zerix_ConcreteJob"};
    support::FakeBroker broker{calls};
    support::FakeNamespace nameSpace{calls};
    support::FakeClassObject classObject{calls, "Class"};
    support::FakeClassObject signature{calls, "Out"};
    support::FakeClassObject object{calls, "Object"};
    support::FakeClassObject inputs{calls, "In"};
    support::FakeSink sink{calls};
    support::FakeInitSink initSink{calls};
    support::FakeContext context{calls};

    // The names that the client sends in its requests.
    std::string className = PORT_CLASS;
    std::string path = PORT_PATH;
    std::string jobPath = JOB_PATH;
    std::string method = "Reset";
    // The object that a successful removal must have marked. Null when another broker answers.
    core::CimInstance* removed = &job;

    // Sends the scenario's request under a client's identity. Afterwards checks that everything was released.
    Outcome request(Scenario scenario, IWbemServices* provider);
    // The same with the caller's object as the written instance or as the method's arguments.
    Outcome request(Scenario scenario, IWbemServices* provider, support::FakeClassObject& given);

private:
    HRESULT send(Scenario scenario, IWbemServices* provider, IWbemClassObject* given);
};

// A provider of the module, initialised with the fakes, which must outlive it.
class Provider
{
public:
    Provider(const support::ProviderModule& module, Surroundings& surroundings);

    // "0x00000000", or the error of making the provider. The provider exists only in the first case.
    const std::string& made() const noexcept { return m_made; }
    IWbemServices* get() const noexcept { return m_services.get(); }

private:
    utils::ComReference<IClassFactory> m_factory;
    utils::ComReference<IWbemProviderInit> m_start;
    utils::ComReference<IWbemServices> m_services;
    std::string m_made;
};

// Makes a provider of the module, sends the scenario's request to it and releases it. Checks that nothing is held.
Outcome requestOnce(Scenario scenario, const support::ProviderModule& module, Surroundings& surroundings,
                    support::FakeClassObject& given);

}  // namespace reliability
