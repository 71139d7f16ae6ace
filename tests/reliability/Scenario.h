#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "fakes/ProviderModule.h"

namespace reliability {

// The requests that a client of the provider makes, each from the class factory to the last release.
enum class Scenario
{
    ENUMERATE,
    GET,
    GET_MISSING,
    GET_UNREADABLE_PATH,
    PUT,
    REMOVE,
    INVOKE,
    REGISTER_SERVER,
    UNREGISTER_SERVER
};

const char* nameOf(Scenario scenario);

// Prints the scenario's name as the parameter in the test's name; gtest would print its bytes.
void PrintTo(Scenario scenario, std::ostream* out);

// True for requests that let exceptions through. The other requests turn them into WBEM_E_FAILED.
bool letsExceptionsOut(Scenario scenario);

// True for requests that catch exceptions only after they have read the client's arguments. If memory runs out while
// they read them, the exception leaves the request.
bool readsArgumentsFirst(Scenario scenario);

// What the client and the fakes around the provider saw.
struct Outcome
{
    // "0x00000000", "threw std::bad_alloc", or "no provider: 0x8007000E" when the provider could not be made.
    std::string answer;
    // All calls of the fakes, in order.
    std::vector<std::string> calls;
    // Other defects: a reference that was not released, an impersonation that was not reverted. Empty if there is none.
    std::string disorder;

    bool operator==(const Outcome&) const = default;

    // The calls that the client's sink received.
    std::vector<std::string> reports() const;
};

// Runs the scenario once with new fakes that all succeed. A registration changes HKEY_LOCAL_MACHINE: use a
// PrivateRegistry. Its outcome has the registered texts in place of the calls.
Outcome run(Scenario scenario, const support::ProviderModule& module);

}  // namespace reliability
