#include "Utils/ProcessEnd.h"

#include "Os/Windows/Platform.h"

// Declared by ntdll alone, in no header.
extern "C" NTSYSAPI BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace utils {

bool processIsEnding() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}

}  // namespace utils
