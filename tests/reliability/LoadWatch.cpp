#include "reliability/LoadWatch.h"

#include <winternl.h>

#include <stdexcept>
#include <utility>

// ntdll exports this function, but no available header declares it.
extern "C" {

struct LoadedDll
{
    ULONG flags;
    const UNICODE_STRING* path;
    const UNICODE_STRING* name;
    void* base;
    ULONG size;
};

using LoadNotification = void CALLBACK(ULONG reason, const LoadedDll* dll, void* context);

NTSTATUS NTAPI LdrRegisterDllNotification(ULONG flags, LoadNotification* notification, void* context, void** cookie);
NTSTATUS NTAPI LdrUnregisterDllNotification(void* cookie);
}

namespace reliability {

namespace {

constexpr ULONG DLL_LOADED = 1;

void CALLBACK notify(ULONG reason, const LoadedDll* dll, void* context)
{
    if (reason == DLL_LOADED) {
        const std::wstring name(dll->name->Buffer, dll->name->Length / sizeof(wchar_t));
        static_cast<LoadWatch*>(context)->loaded(name.c_str(), static_cast<HMODULE>(dll->base));
    }
}

}  // namespace

LoadWatch::LoadWatch(const wchar_t* file, std::function<void(HMODULE)> mapped)
    : m_file(file), m_mapped(std::move(mapped))
{
    if (LdrRegisterDllNotification(0, &notify, this, &m_cookie) < 0) {
        throw std::runtime_error("the platform does not tell of DLLs that it loads");
    }
}

LoadWatch::~LoadWatch()
{
    LdrUnregisterDllNotification(m_cookie);
}

void LoadWatch::rethrow() const
{
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
}

void LoadWatch::loaded(const wchar_t* file, HMODULE module) noexcept
{
    if (lstrcmpiW(file, m_file.c_str()) != 0) {
        return;
    }
    try {
        m_mapped(module);
    } catch (...) {
        m_failure = std::current_exception();
    }
}

}  // namespace reliability
