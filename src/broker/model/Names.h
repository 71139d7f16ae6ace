#pragma once

#include <string_view>

namespace broker {

// True when two class or property names are the same. CIM names are 7-bit and compared without case, whatever the
// process's locale says.
bool sameName(std::string_view left, std::string_view right) noexcept;

}  // namespace broker
