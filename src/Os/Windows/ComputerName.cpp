#include "Os/Windows/ComputerName.h"

#include <cstdlib>

namespace utils {

std::string computerName()
{
    const char* name = std::getenv("COMPUTERNAME");
    return name != nullptr && *name != '\0' ? name : "localhost";
}

}  // namespace utils
