#pragma once

#include <cstddef>
#include <memory>

#include "support/ComMemory.h"
#include "support/ImportHook.h"

namespace reliability {

// Counts the C++ memory that one module has allocated and that nobody, in any module, has freed. It counts allocations
// from construction on. Call releaseModule() before the module is unloaded; memory that is freed during the unloading
// is still counted as freed. One object at a time, any thread.
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

// A number that grows with each open handle of the process and falls with each closed one. It is not a count of
// handles: compare two values.
std::size_t handleLevel();

// The number of threads of the process, those included that are about to end.
std::size_t threadCount();

// The counts that must be equal before and after the provider works. Start the program with OANOCACHE=1.
struct Balance
{
    std::size_t handles;
    int comBlocks;

    bool operator==(const Balance&) const = default;
};

Balance balanceNow(const support::ComMemory& memory);

}  // namespace reliability
