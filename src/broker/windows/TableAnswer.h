#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

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

// Frees a table of the IP helper library.
struct TableFreer
{
    void operator()(void* table) const noexcept { FreeMibTable(table); }
};

}  // namespace broker
