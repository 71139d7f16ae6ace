#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "reliability/RegistrylessModule.h"

namespace reliability {

// What a client of the provider may ask for, each from the class factory to the last release.
enum class Scenario
{
    enumerate,
    get,
    getMissing,
    getUnreadablePath,
    put,
    remove,
    invoke,
    registerServer,
    unregisterServer
};

const char* nameOf(Scenario scenario);

// Names the scenario in a test's own name, where its bytes would stand otherwise.
void PrintTo(Scenario scenario, std::ostream* out);

// True for the requests whose exceptions leave them; the others turn them into WBEM_E_FAILED.
bool letsExceptionsOut(Scenario scenario);

// True for the requests that catch only what happens after the client's arguments have been read: without the memory
// for those, the exception leaves them.
bool readsArgumentsFirst(Scenario scenario);

// What the client and the provider's neighbours saw.
struct Outcome
{
    // "0x00000000", or "threw std::bad_alloc"; "no provider: 0x8007000E" where it came to no request.
    std::string answer;
    // All calls of the neighbours, in order.
    std::vector<std::string> calls;
    // What went wrong beside the answer: a reference not given back, an impersonation that lasts. Empty when nothing.
    std::string disorder;

    bool operator==(const Outcome&) const = default;

    // What the client's sink saw of it.
    std::vector<std::string> reports() const;
};

// Runs the scenario once with neighbours of its own that do nothing wrong.
Outcome run(Scenario scenario, const RegistrylessModule& module, support::CallLog& registryCalls);

}  // namespace reliability
