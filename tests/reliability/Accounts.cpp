#include "reliability/Accounts.h"

#include <tlhelp32.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <unordered_set>

#include "support/RunTimeName.h"

namespace reliability {

namespace {

// Memory from the C library. The observed functions are those of the C++ run time.
template <class T>
struct Unobserved
{
    using value_type = T;

    Unobserved() = default;
    template <class Other>
    explicit Unobserved(const Unobserved<Other>&)
    {
    }
    T* allocate(std::size_t count) { return static_cast<T*>(std::malloc(count * sizeof(T))); }
    void deallocate(T* block, std::size_t) { std::free(block); }
    bool operator==(const Unobserved&) const = default;
};

struct Addresses
{
    std::mutex mutex;
    std::unordered_set<void*, std::hash<void*>, std::equal_to<>, Unobserved<void*>> all;
};

// Never destroyed, because blocks are freed after this program's statics have been destroyed.
Addresses& addresses()
{
    static Addresses& instance = *new Addresses;
    return instance;
}

void add(void* block)
{
    const std::lock_guard guard(addresses().mutex);
    addresses().all.insert(block);
}

constexpr const char* NEW_NOTHROW = "_ZnwyRKSt9nothrow_t";

// The program and the watched modules share one C++ run time, so its functions are also the program's.
void* countedNew(std::size_t size)
{
    void* const block = ::operator new(size);
    add(block);
    return block;
}

void* countedNewNothrow(std::size_t size, const std::nothrow_t& tag)
{
    void* const block = ::operator new(size, tag);
    if (block != nullptr) {
        add(block);
    }
    return block;
}

void countedFree(void* block)
{
    {
        const std::lock_guard guard(addresses().mutex);
        addresses().all.erase(block);
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
    const std::lock_guard guard(addresses().mutex);
    addresses().all.clear();
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
    const std::lock_guard guard(addresses().mutex);
    return addresses().all.size();
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
