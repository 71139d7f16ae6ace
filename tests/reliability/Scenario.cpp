#include "reliability/Scenario.h"

#include <algorithm>
#include <iterator>
#include <ostream>

#include "reliability/Surroundings.h"

namespace reliability {

namespace {

Outcome runRegistration(Scenario scenario, const RegistrylessModule& module, support::CallLog& registryCalls)
{
    registryCalls.take();
    Outcome result;
    result.answer = answerOf(
        [&] { return scenario == Scenario::REGISTER_SERVER ? module.registerServer() : module.unregisterServer(); });
    result.calls = registryCalls.take();
    if (module.openKeys() != 0) {
        result.disorder += std::to_string(module.openKeys()) + " registry keys are open; ";
    }
    return result;
}

}  // namespace

const char* nameOf(Scenario scenario)
{
    switch (scenario) {
        case Scenario::ENUMERATE:
            return "enumerate";
        case Scenario::GET:
            return "get";
        case Scenario::GET_MISSING:
            return "getMissing";
        case Scenario::GET_UNREADABLE_PATH:
            return "getUnreadablePath";
        case Scenario::PUT:
            return "put";
        case Scenario::REMOVE:
            return "remove";
        case Scenario::INVOKE:
            return "invoke";
        case Scenario::REGISTER_SERVER:
            return "registerServer";
        default:
            return "unregisterServer";
    }
}

void PrintTo(Scenario scenario, std::ostream* out)
{
    *out << nameOf(scenario);
}

bool letsExceptionsOut(Scenario scenario)
{
    return scenario == Scenario::ENUMERATE || scenario == Scenario::PUT || scenario == Scenario::REMOVE;
}

bool readsArgumentsFirst(Scenario scenario)
{
    return scenario == Scenario::GET || scenario == Scenario::GET_MISSING ||
           scenario == Scenario::GET_UNREADABLE_PATH || scenario == Scenario::INVOKE;
}

std::vector<std::string> Outcome::reports() const
{
    std::vector<std::string> result;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(result),
                 [](const std::string& call) { return call.starts_with("sink."); });
    return result;
}

Outcome run(Scenario scenario, const RegistrylessModule& module, support::CallLog& registryCalls)
{
    if (scenario == Scenario::REGISTER_SERVER || scenario == Scenario::UNREGISTER_SERVER) {
        return runRegistration(scenario, module, registryCalls);
    }
    Surroundings surroundings;
    Outcome result;
    {
        const Provider provider(module, surroundings);
        if (provider.made() == support::hex(S_OK)) {
            result = surroundings.request(scenario, provider.get());
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
