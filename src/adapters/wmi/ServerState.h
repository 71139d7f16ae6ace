#pragma once

#include <atomic>
#include <cstdint>

#include "Os/Windows/Platform.h"

// State of the loaded module that decides whether it may be unloaded. Changed from any thread, without a lock.
namespace server {

// The module itself; set at process attach.
extern HINSTANCE moduleHandle;

// Live provider objects. Factories do not count.
extern std::atomic<std::int32_t> objectCount;

// Net number of LockServer(TRUE) calls. An unmatched LockServer(FALSE) takes it below 0, which keeps the module loaded.
extern std::atomic<std::int32_t> lockCount;

}  // namespace server
