#pragma once

#include <cstddef>
#include <string>

#include "support/ImportHook.h"

namespace support {

// While it lives, a module that reads the platform's tables of adapters and addresses is shown as many as a test wants,
// each an Ethernet adapter that is up. One at a time; not thread-safe.
class MadeUpAdapters
{
public:
    explicit MadeUpAdapters(HMODULE module);
    ~MadeUpAdapters();
    MadeUpAdapters(const MadeUpAdapters&) = delete;
    MadeUpAdapters& operator=(const MadeUpAdapters&) = delete;

    // The GUID of the adapter of that number, from 0 on, as the platform writes it.
    static std::string guidText(std::size_t number);

    std::size_t count = 0;
    // At most 4.
    std::size_t addressesOfEach = 1;
    // How often each table was asked for.
    int interfaceReads = 0;
    int addressReads = 0;

private:
    ImportHook m_interfaces;
    ImportHook m_freeTable;
    ImportHook m_addresses;
};

}  // namespace support
