#pragma once

#include <string>

namespace utils {

// The environment's COMPUTERNAME, or "localhost" when it is missing or empty. Any thread.
std::string computerName();

}  // namespace utils
