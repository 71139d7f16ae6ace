#include "reliability/Scenario.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <ostream>

#include "reliability/Surroundings.h"

namespace reliability {

namespace {

const std::string CLASS_KEY = "Software\\Classes\\CLSID\\{D39A94C6-35D2-4B40-BB6A-56E279951017}";
const std::string SERVER_KEY = CLASS_KEY + "\\InprocServer32";

std::string registeredText(const std::string& key, const char* name)
{
    std::array<char, MAX_PATH> text{};
    auto size = static_cast<DWORD>(text.size());
    const LSTATUS status =
        RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text.data(), &size);
    return status == ERROR_SUCCESS ? text.data() : "error " + std::to_string(status);
}

Outcome runRegistration(Scenario scenario, const support::ProviderModule& module)
{
    Outcome result;
    if (scenario == Scenario::REGISTER_SERVER) {
        result.answer = answerOf([&] { return module.registerServer(); });
    } else {
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, SERVER_KEY.c_str(), nullptr, REG_SZ, "x", 2);
        result.answer = answerOf([&] { return module.unregisterServer(); });
    }
    result.calls = {registeredText(CLASS_KEY, nullptr), registeredText(SERVER_KEY, nullptr),
                    registeredText(SERVER_KEY, "ThreadingModel")};
    return result;
}

// One row for each scenario, in the order of the enumeration.
struct Traits
{
    const char* name;
    bool letsExceptionsOut;
    bool readsArgumentsFirst;
};

constexpr Traits TRAITS[] = {
    {"enumerate", true, false},
    {"get", false, true},
    {"getMissing", false, true},
    {"getUnreadablePath", false, true},
    {"put", true, false},
    {"remove", true, false},
    {"invoke", false, true},
    {"registerServer", false, false},
    {"unregisterServer", false, false},
};

const Traits& traitsOf(Scenario scenario)
{
    return TRAITS[static_cast<std::size_t>(scenario)];
}

}  // namespace

const char* nameOf(Scenario scenario)
{
    return traitsOf(scenario).name;
}

void PrintTo(Scenario scenario, std::ostream* out)
{
    *out << nameOf(scenario);
}

bool letsExceptionsOut(Scenario scenario)
{
    return traitsOf(scenario).letsExceptionsOut;
}

bool readsArgumentsFirst(Scenario scenario)
{
    return traitsOf(scenario).readsArgumentsFirst;
}

std::vector<std::string> Outcome::reports() const
{
    std::vector<std::string> result;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(result),
                 [](const std::string& call) { return call.starts_with("sink."); });
    return result;
}

Outcome run(Scenario scenario, const support::ProviderModule& module)
{
    if (scenario == Scenario::REGISTER_SERVER || scenario == Scenario::UNREGISTER_SERVER) {
        return runRegistration(scenario, module);
    }
    Surroundings surroundings;
    return requestOnce(scenario, module, surroundings,
                       scenario == Scenario::PUT ? surroundings.object : surroundings.inputs);
}

}  // namespace reliability
