#include "reliability/Accounts.h"

#include <tlhelp32.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

#include "support/RunTimeName.h"

namespace reliability {

namespace {

// A hash set of addresses with open addressing and a fixed size. It must not allocate, because it observes allocations.
class Addresses
{
public:
    void add(void* address)
    {
        const std::lock_guard guard(m_mutex);
        std::size_t slot = slotOf(address);
        while (m_slots[slot] != nullptr && m_slots[slot] != removed()) {
            slot = (slot + 1) % SIZE;
        }
        m_slots[slot] = address;
        ++m_count;
    }

    void remove(void* address)
    {
        const std::lock_guard guard(m_mutex);
        for (std::size_t slot = slotOf(address); m_slots[slot] != nullptr; slot = (slot + 1) % SIZE) {
            if (m_slots[slot] == address) {
                // Only a slot before another used slot must stay marked.
                m_slots[slot] = m_slots[(slot + 1) % SIZE] == nullptr ? nullptr : removed();
                --m_count;
                return;
            }
        }
    }

    void clear()
    {
        const std::lock_guard guard(m_mutex);
        m_slots.fill(nullptr);
        m_count = 0;
    }

    std::size_t count()
    {
        const std::lock_guard guard(m_mutex);
        return m_count;
    }

private:
    static constexpr std::size_t SIZE = std::size_t{1} << 18;

    static std::size_t slotOf(void* address) { return (reinterpret_cast<std::uintptr_t>(address) >> 4) % SIZE; }
    static void* removed() { return reinterpret_cast<void*>(1); }

    std::mutex m_mutex;
    std::array<void*, SIZE> m_slots{};
    std::size_t m_count = 0;
};

Addresses& addresses()
{
    static Addresses instance;
    return instance;
}

constexpr const char* NEW_NOTHROW = "_ZnwyRKSt9nothrow_t";

// The program and the watched modules share one C++ run time, so its functions are also the program's.
void* countedNew(std::size_t size)
{
    void* const block = ::operator new(size);
    addresses().add(block);
    return block;
}

void* countedNewNothrow(std::size_t size, const std::nothrow_t& tag)
{
    void* const block = ::operator new(size, tag);
    if (block != nullptr) {
        addresses().add(block);
    }
    return block;
}

void countedFree(void* block)
{
    if (block != nullptr) {
        addresses().remove(block);
    }
    std::free(block);
}

}  // namespace

ModuleMemory::ModuleMemory(HMODULE module)
    : m_new(std::make_unique<support::ImportHook>("_Znwy", &countedNew, module)),
      // A module in which every allocation may throw does not import this function.
      m_newNothrow(support::importsFunction(module, NEW_NOTHROW)
                       ? std::make_unique<support::ImportHook>(NEW_NOTHROW, &countedNewNothrow, module)
                       : nullptr),
      // Every module frees memory through the shared C++ run time.
      m_free("free", &countedFree, GetModuleHandleA(support::RUN_TIME))
{
    addresses().clear();
}

ModuleMemory::~ModuleMemory() = default;

void ModuleMemory::releaseModule()
{
    if (m_newNothrow) {
        m_newNothrow->abandon();
    }
    m_new->abandon();
}

std::size_t ModuleMemory::live() const
{
    return addresses().count();
}

std::size_t handleLevel()
{
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count != 0) {
        return count;
    }
    // If the platform does not count handles: it assigns the lowest free numbers, so the numbers of a few new handles
    // show how many are in use below.
    std::array<HANDLE, 16> probes{};
    std::size_t sum = 0;
    for (HANDLE& probe : probes) {
        probe = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        sum += reinterpret_cast<std::uintptr_t>(probe) / 4;
    }
    for (const HANDLE probe : probes) {
        CloseHandle(probe);
    }
    return sum;
}

std::size_t threadCount()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    std::size_t count = 0;
    for (BOOL found = Thread32First(snapshot, &entry); found != FALSE; found = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

Balance balanceNow(const support::ComMemory& memory)
{
    return {handleLevel(), memory.live()};
}

}  // namespace reliability
