#include "bench/provider/Steps.h"

#include <cstdint>
#include <stdexcept>

#include "Utils/Utils.h"

namespace bench {

namespace {

constexpr std::uint64_t MAGIC = 0x5a45524958;

// The only copy of the instruction, so that count_steps can recognise every mark by its address.
[[gnu::noinline]] void mark(const char* text)
{
    __asm__ volatile("int3" : : "a"(MAGIC), "d"(text) : "memory");
}

HMODULE loaded(const char* module)
{
    const HMODULE handle = GetModuleHandleA(module);
    if (handle == nullptr) {
        throw std::runtime_error(std::string(module) + " is not loaded");
    }
    return handle;
}

unsigned long long number(const void* address)
{
    return reinterpret_cast<std::uintptr_t>(address);
}

}  // namespace

void markModule(const char* group, const char* module)
{
    const HMODULE handle = loaded(module);
    const auto first = number(handle);
    // Read from the headers in the file. The platform's function could read another process and would need its rights.
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(handle);
    const auto* headers =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(reinterpret_cast<const char*>(handle) + dos->e_lfanew);
    mark(utils::format("module %s %llx %llx", group, first, first + headers->OptionalHeader.SizeOfImage).c_str());
}

void markFunction(const char* group, const char* module, const char* function)
{
    const FARPROC address = GetProcAddress(loaded(module), function);
    if (address == nullptr) {
        throw std::runtime_error(std::string(module) + " has no " + function);
    }
    mark(utils::format("call %s %llx", group, number(reinterpret_cast<void*>(address))).c_str());
}

void countSteps(const std::string& name, const std::function<void()>& call)
{
    const std::string begin = "begin " + name;
    mark(begin.c_str());
    call();
    mark("end");
}

}  // namespace bench
