#include "Utils/ProcessEnd.h"

namespace utils {

bool processIsEnding() noexcept
{
    return false;
}

}  // namespace utils
