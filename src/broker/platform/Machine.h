#pragma once

#include <cstdint>
#include <string>

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

    // The identity of the calling thread, or an empty text when the platform does not tell.
    virtual std::string userName() = 0;

    // Microseconds since 1970-01-01 00:00:00 UTC.
    virtual std::uint64_t now() = 0;
};

}  // namespace broker
