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
        [&] { return scenario == Scenario::registerServer ? module.registerServer() : module.unregisterServer(); });
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
        case Scenario::enumerate:
            return "enumerate";
        case Scenario::get:
            return "get";
        case Scenario::getMissing:
            return "getMissing";
        case Scenario::getUnreadablePath:
            return "getUnreadablePath";
        case Scenario::put:
            return "put";
        case Scenario::remove:
            return "remove";
        case Scenario::invoke:
            return "invoke";
        case Scenario::registerServer:
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
    return scenario == Scenario::enumerate || scenario == Scenario::put || scenario == Scenario::remove;
}

bool readsArgumentsFirst(Scenario scenario)
{
    return scenario == Scenario::get || scenario == Scenario::getMissing || scenario == Scenario::getUnreadablePath ||
           scenario == Scenario::invoke;
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
    if (scenario == Scenario::registerServer || scenario == Scenario::unregisterServer) {
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
