#pragma once

#include <cstddef>
#include <memory>

#include "support/ComMemory.h"
#include "support/ImportHook.h"

namespace reliability {

// The C++ memory that one module has allocated and that nobody has freed yet, whoever frees it. Sees what the module's
// own code allocates from the construction on; releaseModule() must come before the module is unloaded, and what is
// freed while it unloads is still seen. One at a time, any thread.
class ModuleMemory
{
public:
    explicit ModuleMemory(HMODULE module);
    ~ModuleMemory();
    ModuleMemory(const ModuleMemory&) = delete;
    ModuleMemory& operator=(const ModuleMemory&) = delete;

    void releaseModule();
    std::size_t live() const;

private:
    std::unique_ptr<support::ImportHook> m_new;
    std::unique_ptr<support::ImportHook> m_newNothrow;
    support::ImportHook m_free;
};

// A number that grows with each handle that the process keeps open and falls with each that it closes. Not a count:
// compare two of them.
std::size_t handleLevel();

// What must be the same before and after a piece of work of the provider. Start the program with OANOCACHE=1.
struct Balance
{
    std::size_t handles;
    int comBlocks;

    bool operator==(const Balance&) const = default;
};

Balance balanceNow(const support::ComMemory& memory);

}  // namespace reliability
