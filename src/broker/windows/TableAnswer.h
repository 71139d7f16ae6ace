#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <cstddef>
#include <vector>

// The platform's answers to a request for a table.
namespace broker {

// Whether the status means that the table is empty, which is not a failure.
inline bool meansNone(ULONG status) noexcept
{
    return status == ERROR_NO_DATA || status == ERROR_ADDRESS_NOT_ASSOCIATED;
}

// Asks the platform, and once more if the first answer is a failure, since tables change while they are read.
template <class Ask>
ULONG asked(Ask ask)
{
    const ULONG status = ask();
    return status == NO_ERROR || meansNone(status) ? status : ask();
}

// Reads a list into the buffer and returns the platform's code. `fill(size)` asks the platform for
// the list, which may take up to `size` bytes; if it does not fit, `fill` sets `size` to what it takes.
template <class Fill>
ULONG readList(std::vector<std::max_align_t>& buffer, Fill fill)
{
    // This is enough for most machines at the first attempt.
    constexpr ULONG FIRST_SIZE = 16 * 1024;
    constexpr int ATTEMPTS = 4;
    ULONG size = FIRST_SIZE;
    ULONG status = ERROR_BUFFER_OVERFLOW;
    for (int attempt = 0; attempt < ATTEMPTS && status == ERROR_BUFFER_OVERFLOW; ++attempt) {
        buffer.resize(size / sizeof(std::max_align_t) + 1);
        status = fill(size);
        // Without room to grow, a long list on a machine whose adapters come and go would never fit.
        size += size / 2;
    }
    return status;
}

// Frees a table of the IP helper library.
struct TableFreer
{
    void operator()(void* table) const noexcept { FreeMibTable(table); }
};

}  // namespace broker
