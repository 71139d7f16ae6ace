#pragma once

#include <memory>
#include <span>

#include "support/ImportHook.h"

namespace reliability {

// The possible results of a request in which one platform call fails. They are bits: a failure may have several.
enum Effect : unsigned
{
    UNCHANGED = 1,         // only the log shows the failure
    VALUE_LOST = 2,        // same status and same reports, but a value is missing or different
    DENIED = 4,            // the access-denied answer
    EXCEPTION = 8,         // an exception of the product: thrown or turned into a status, as the request does it
    COM_ERROR = 16,        // a COM error, likewise
    OUT_OF_MEMORY = 32,    // std::bad_alloc, likewise
    CREATION_FAILED = 64,  // the class factory or the provider is not made: E_OUTOFMEMORY
    REGISTRATION_FAILED = 128,
    NOT_THERE = 256,    // as on a machine that lacks the data: a shorter list, or "not found"
    NOT_STARTED = 512,  // a diagnostic is answered with the return value 4, Failed
};

// One imported function and one way in which it can fail.
struct FaultPoint
{
    const char* function;
    const char* failure;
    unsigned effects;
    std::unique_ptr<support::ImportHook> (*install)(const char* function, HMODULE module);
    // The status that an impersonation failure reports to the sink.
    HRESULT reported = S_OK;
};

// All failures of platform calls that the tests cause in the provider.
std::span<const FaultPoint> faultPoints();

// All failures that they cause in the broker.
std::span<const FaultPoint> brokerFaultPoints();

// Makes one call of a function fail once; calls are counted from 1 after arming, in any thread. The module must stay
// loaded while the fault lives. One object at a time.
class Fault
{
public:
    Fault(const FaultPoint& point, HMODULE module);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    void arm(int call);
    void disarm();

    // For a module that is being unloaded: the hook stays installed until the module is gone, and the destructor does
    // not restore the module's import table.
    void abandon() noexcept { m_hook->abandon(); }

    // The number of calls since arming, and whether the chosen call was among them.
    int calls() const;
    bool fired() const;

private:
    std::unique_ptr<support::ImportHook> m_hook;
};

}  // namespace reliability
