#pragma once

#include <memory>
#include <span>

#include "support/ImportHook.h"

namespace reliability {

// What may become of a request in which one platform call fails. Bits, since some failures depend on where they hit.
enum Effect : unsigned
{
    UNCHANGED = 1,         // nobody but the log notices
    VALUE_LOST = 2,        // same status and same reports, but a value is missing or different
    DENIED = 4,            // the access-denied answer
    EXCEPTION = 8,         // an exception of the product: thrown or turned into a status, as the request does it
    COM_ERROR = 16,        // a COM error, likewise
    OUT_OF_MEMORY = 32,    // std::bad_alloc, likewise
    CREATION_FAILED = 64,  // the class factory or the provider is not made: E_OUTOFMEMORY
    REGISTRATION_FAILED = 128,
    NOT_THERE = 256,  // as on a machine that lacks something: a shorter list, or the answer that it is not found
    FORBIDDEN = 512,  // an update is answered with WBEM_E_ACCESS_DENIED
};

// One imported function and one way in which it can fail.
struct FaultPoint
{
    const char* function;
    const char* failure;
    unsigned effects;
    // What an impersonation failure reports to the sink.
    HRESULT reported;
    std::unique_ptr<support::ImportHook> (*install)(const char* function, HMODULE module);
};

// Every way in which a platform call of the provider is made to fail.
std::span<const FaultPoint> faultPoints();

// The same for the broker.
std::span<const FaultPoint> brokerFaultPoints();

// Makes the given call of one function fail, once, counting from 1, from the moment it is armed. The module must stay
// loaded for the fault's life. One at a time; the calls of any thread count.
class Fault
{
public:
    Fault(const FaultPoint& point, HMODULE module);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    void arm(int call);
    void disarm();

    // For a module that is being unloaded: the fault stays until the module is gone. Calls no longer reach the module's
    // table after that, and nothing is put back.
    void abandon() noexcept { m_hook->abandon(); }

    // Calls since it was armed, and whether the chosen one was among them.
    int calls() const;
    bool fired() const;

private:
    std::unique_ptr<support::ImportHook> m_hook;
};

}  // namespace reliability
