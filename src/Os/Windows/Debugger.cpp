#include "Os/Windows/Platform.h"
#include "Utils/LogSinks.h"

namespace utils {

void writeDebugger(const char* text) noexcept
{
    OutputDebugStringA(text);
}

}  // namespace utils
