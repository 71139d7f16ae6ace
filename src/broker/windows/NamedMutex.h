#pragma once

#include "Os/Windows/Platform.h"

namespace broker {

// Access for the system, administrators and network services, who may do everything.
inline constexpr const char* ADMINISTRATORS_ACCESS = "D:(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;NS)";

// A handle of the kernel mutex of that name, which the caller closes. A mutex that does not exist yet is created with
// the access, which is the text of a security descriptor. Null if the platform refuses; GetLastError() has the reason.
HANDLE openNamedMutex(const char* name, const char* access) noexcept;

}  // namespace broker
