#pragma once

#include <vector>

#include "Os/Windows/Platform.h"

namespace support {

// While it lives, one module's calls of an imported function go to a function of the test; other modules, and pointers
// that the module took before, are not affected: a function that has called the import already may keep its address, so
// let the calls that are to be hooked stand in functions of their own. Everything linked into one program or DLL shares
// its import table.
//
//     static HANDLE WINAPI refuse(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR) { SetLastError(5); return nullptr; }
//     const support::ImportHook hook("CreateMutexA", &refuse);
//
// Hooks of one function nest: destroy them in the reverse order. The module must stay loaded for the hook's life.
// Installing and removing is safe while other threads call the function; the replacement must then be so too.
class ImportHook
{
public:
    // `function` is the exact exported name. Null `module` is the program itself. Null `dll` takes the function from
    // whichever DLL it is imported; otherwise the DLL's file name, without case ("kernel32.dll").
    // Throws std::runtime_error when the module does not import it by that name.
    template <class Result, class... Arguments>
    ImportHook(const char* function, Result (*replacement)(Arguments...), HMODULE module = nullptr,
               const char* dll = nullptr)
        : ImportHook(function, reinterpret_cast<void*>(replacement), module, dll)
    {
    }

    // Puts back what stood there.
    ~ImportHook();

    // Leaves the replacement where it is, for a module that is being unloaded: its calls then are hooked to its end.
    void abandon() noexcept { m_entries.clear(); }

    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    // The function as it was before this hook, to be called on: hook.original<decltype(&CloseHandle)>()(handle).
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

    ImportHook(const char* function, void* replacement, HMODULE module, const char* dll);

    // More than one where several DLLs offer the function and the module imports it from each.
    std::vector<Entry> m_entries;
};

// Whether the module imports the function by that name, from any DLL.
bool importsFunction(HMODULE module, const char* function);

}  // namespace support
