#pragma once

#include <cstddef>
#include <string>

#include "support/ImportHook.h"

namespace support {

// While it lives, a module that reads the platform's tables of adapters and addresses sees as many adapters as the test
// wants, each an Ethernet adapter that is up. One object at a time; not thread-safe.
class MadeUpAdapters
{
public:
    explicit MadeUpAdapters(HMODULE module);
    ~MadeUpAdapters();
    MadeUpAdapters(const MadeUpAdapters&) = delete;
    MadeUpAdapters& operator=(const MadeUpAdapters&) = delete;

    // The GUID of the n-th adapter, counted from 0, as the platform writes it.
    static std::string guidText(std::size_t number);

    std::size_t count = 0;
    // At most 4.
    std::size_t addressesOfEach = 1;
    // The number of reads of each table.
    int interfaceReads = 0;
    int addressReads = 0;

private:
    ImportHook m_interfaces;
    ImportHook m_freeTable;
    ImportHook m_addresses;
};

}  // namespace support
