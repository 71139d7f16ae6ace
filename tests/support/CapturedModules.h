#pragma once

#include "Os/Windows/Platform.h"

namespace support {

// Adds a loaded DLL to what a LogCapture that lives collects: each module has its own copy of the log, and so its own
// calls of the sinks. Ends with the LogCapture or with releaseModule, which must come before the DLL is unloaded.
// Throws std::runtime_error when the DLL has no log. One thread at a time.
void captureModule(HMODULE module);
void releaseModule(HMODULE module);

}  // namespace support
