#pragma once

namespace utils {

// Four numbers with dots. The version resources, the packages and the installer are made from this line.
inline constexpr char PRODUCT_VERSION[] = "2.0.1.10";

}  // namespace utils
