#pragma once

#include "Os/Windows/Platform.h"

namespace support {

// Makes a living LogCapture collect the lines of a loaded DLL too. Each module has a copy of the log and so calls the
// sinks itself. Ends with the LogCapture or with releaseModule, which must be called before the DLL is unloaded.
// Throws std::runtime_error when the DLL has no log. One thread at a time.
void captureModule(HMODULE module);
void releaseModule(HMODULE module);

}  // namespace support
