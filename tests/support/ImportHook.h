#pragma once

#include <vector>

#include "Os/Windows/Platform.h"

namespace support {

// While it lives, one module's calls of an imported function go to a function of the test. Other modules are unchanged,
// and so are pointers that the module read before. A function that has called the import may keep its address, so put
// the calls that are to be hooked into separate functions. All code that is linked into one program or DLL shares its
// import table.
//
//     static HANDLE WINAPI refuse(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR) { SetLastError(5); return nullptr; }
//     const support::ImportHook hook("CreateMutexA", &refuse);
//
// Hooks of one function nest: destroy them in the reverse order. The module must stay loaded while the hook lives.
// Other threads may call the function during installation and removal; the replacement must then be thread-safe.
class ImportHook
{
public:
    // `function` is the exact exported name, of any DLL. A null `module` means the program itself.
    // Throws std::runtime_error when the module does not import it by that name.
    template <class Result, class... Arguments>
    ImportHook(const char* function, Result (*replacement)(Arguments...), HMODULE module = nullptr)
        : ImportHook(function, reinterpret_cast<void*>(replacement), module)
    {
    }

    // Restores the previous function.
    ~ImportHook();

    // Keeps the replacement installed, for a module that is being unloaded: its last calls are hooked too.
    void abandon() noexcept { m_entries.clear(); }

    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    // The function as it was before this hook, for forwarding: hook.original<decltype(&CloseHandle)>()(handle).
    template <class Pointer>
    Pointer original() const noexcept
    {
        return reinterpret_cast<Pointer>(m_entries.front().original);
    }

private:
    struct Entry
    {
        void** slot;
        void* original;
    };

    ImportHook(const char* function, void* replacement, HMODULE module);

    // There are several if the module imports the function from several DLLs.
    std::vector<Entry> m_entries;
};

// Returns a replacement for functions of this type, which only returns RESULT and sets the thread's last error:
//
//     const support::ImportHook hook("CreateMutexA", support::returning<nullptr, ERROR_ACCESS_DENIED>(&CreateMutexA));
template <auto RESULT, DWORD LAST_ERROR = 0, class Result, class... Arguments>
auto returning(Result(WINAPI* /*function*/)(Arguments...))
{
    return static_cast<Result(WINAPI*)(Arguments...)>([](Arguments...) -> Result {
        SetLastError(LAST_ERROR);
        return RESULT;
    });
}

// Returns whether the module imports the function by that name, from any DLL.
bool importsFunction(HMODULE module, const char* function);

}  // namespace support
