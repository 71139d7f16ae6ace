#pragma once

#include <exception>
#include <functional>
#include <string>

#include "Os/Windows/Platform.h"

namespace reliability {

// While it lives, gives each DLL of one file name to a function when the DLL is mapped and linked to what it imports,
// and none of its own code has run yet. The function is called on the loading thread, under the loader's lock.
class LoadWatch
{
public:
    // `file` without case. Throws std::runtime_error where the platform does not tell of its loading.
    LoadWatch(const wchar_t* file, std::function<void(HMODULE)> mapped);
    ~LoadWatch();
    LoadWatch(const LoadWatch&) = delete;
    LoadWatch& operator=(const LoadWatch&) = delete;

    // Throws what the function has thrown, which must not leave it through the loader.
    void rethrow() const;

    // Called by the platform's answer to the loading of any DLL.
    void loaded(const wchar_t* file, HMODULE module) noexcept;

private:
    std::wstring m_file;
    std::function<void(HMODULE)> m_mapped;
    void* m_cookie = nullptr;
    std::exception_ptr m_failure;
};

}  // namespace reliability
