#pragma once

#include <exception>
#include <functional>
#include <string>

#include "Os/Windows/Platform.h"

namespace reliability {

// While it lives, passes each DLL with the given file name to a function when the DLL is mapped and its imports are
// resolved, before any of its code runs. The loading thread calls the function under the loader's lock.
class LoadWatch
{
public:
    // Compares `file` without case. Throws std::runtime_error if the platform does not report loaded DLLs.
    LoadWatch(const wchar_t* file, std::function<void(HMODULE)> mapped);
    ~LoadWatch();
    LoadWatch(const LoadWatch&) = delete;
    LoadWatch& operator=(const LoadWatch&) = delete;

    // Rethrows the exception of the function, since none may pass through the loader.
    void rethrow() const;

    // The platform calls this function when it loads a DLL.
    void loaded(const wchar_t* file, HMODULE module) noexcept;

private:
    std::wstring m_file;
    std::function<void(HMODULE)> m_mapped;
    void* m_cookie = nullptr;
    std::exception_ptr m_failure;
};

}  // namespace reliability
