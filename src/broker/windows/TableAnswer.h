#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

// The platform's answers to a request for a table.
namespace broker {

// The table has no row: an answer, not a failure.
inline bool meansNone(ULONG status) noexcept
{
    return status == ERROR_NO_DATA || status == ERROR_ADDRESS_NOT_ASSOCIATED;
}

// The platform's answer, or the second one where the first is a failure: tables change while they are read.
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
