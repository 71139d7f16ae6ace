#pragma once

#include "Os/Windows/Platform.h"

namespace broker {

// The system, administrators and network services may do everything with an object of this access.
inline constexpr const char* ADMINISTRATORS_ACCESS = "D:(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;NS)";

// A handle of the kernel mutex of that name, which is made with the access (as security descriptor text) where it does
// not exist yet. The caller closes it. Null when the platform refuses, and GetLastError() says why.
HANDLE openNamedMutex(const char* name, const char* access) noexcept;

}  // namespace broker
