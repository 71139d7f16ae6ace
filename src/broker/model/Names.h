#pragma once

#include <string_view>

namespace broker {

// Whether two class or property names are the same. CIM names are 7-bit; they are compared without case and independent
// of the process's locale.
bool sameName(std::string_view left, std::string_view right) noexcept;

}  // namespace broker
