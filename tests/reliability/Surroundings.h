#pragma once

#include <memory>

#include "Os/Windows/ComScope.h"
#include "core/CimInstance.h"
#include "fakes/CallContext.h"
#include "fakes/FakeBroker.h"
#include "fakes/FakeContext.h"
#include "fakes/FakeNamespace.h"
#include "fakes/FakeSink.h"
#include "reliability/RegistrylessModule.h"
#include "reliability/Scenario.h"

namespace reliability {

constexpr const char* PORT_CLASS = "Zerix_EthernetPort";
constexpr const char* PORT_PATH = "Zerix_EthernetPort.DeviceID=\"{A}\"";
constexpr const char* JOB_PATH = "Zerix_ConcreteJob.InstanceID=\"1\"";

// Runs the work and tells what it returned or threw: "0x00000000", "threw std::bad_alloc".
std::string answerOf(const std::function<HRESULT()>& work);

// Everything that surrounds one provider: a broker with two instances of every property type, a namespace, a client's
// object with values of every type, and a sink. By default they all do what they should; a test spoils one of them.
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

    // What the client names in its requests.
    std::string className = PORT_CLASS;
    std::string path = PORT_PATH;
    std::string jobPath = JOB_PATH;
    std::string method = "Reset";
    // What a removal that succeeds must have marked; null where another broker than the one above answers.
    core::CimInstance* removed = &job;
    // What the client allows.
    support::ClientToken token = support::ClientToken::impersonation;
    // The sink of the requests; the one above by default.
    IWbemObjectSink* client = &sink;

    // Sends the request of the scenario under a client's identity, and looks afterwards for what was not given back.
    Outcome request(Scenario scenario, IWbemServices* provider);
    // The same with an object of the caller's as what is written, or as the method's arguments.
    Outcome request(Scenario scenario, IWbemServices* provider, support::FakeClassObject& given);

private:
    HRESULT send(Scenario scenario, IWbemServices* provider, IWbemClassObject* given);
};

// A provider of the module, initialised with the surroundings, which outlive it.
class Provider
{
public:
    Provider(const RegistrylessModule& module, Surroundings& surroundings);

    // "0x00000000", or what its making answered; there is a provider to talk to only in the first case.
    const std::string& made() const noexcept { return m_made; }
    IWbemServices* get() const noexcept { return m_services.get(); }

private:
    utils::ComReference<IClassFactory> m_factory;
    utils::ComReference<IWbemProviderInit> m_start;
    utils::ComReference<IWbemServices> m_services;
    std::string m_made;
};

}  // namespace reliability
