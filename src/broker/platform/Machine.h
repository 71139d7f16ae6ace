#pragma once

#include <string>

#include "broker/platform/Clocks.h"

namespace broker {

// Platform boundary: the machine's name, users and clocks. CONTRACT: any number of threads at once.
class Machine
{
public:
    Machine() = default;
    virtual ~Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Never empty.
    virtual std::string computerName() = 0;

    // The user of the calling thread, with the domain. Empty if the platform does not know.
    virtual std::string userName() = 0;

    virtual WallTime now() noexcept = 0;

    virtual SteadyTime steadyNow() noexcept = 0;
};

}  // namespace broker
