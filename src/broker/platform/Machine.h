#pragma once

#include <string>

#include "broker/platform/Clocks.h"

namespace broker {

// Platform boundary: what the broker asks of the machine besides its adapters.
// CONTRACT: any thread, several at once.
class Machine
{
public:
    Machine() = default;
    virtual ~Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Never empty.
    virtual std::string computerName() = 0;

    // The identity of the calling thread with its domain, or an empty text when the platform does not tell.
    virtual std::string userName() = 0;

    virtual WallTime now() noexcept = 0;

    virtual SteadyTime steadyNow() noexcept = 0;
};

}  // namespace broker
