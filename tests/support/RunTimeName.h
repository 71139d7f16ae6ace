#pragma once

namespace support {

// The DLL with the one C++ run time of the product, its tests and the benchmarks.
constexpr const char* RUN_TIME = "ZerixRuntime.dll";

}  // namespace support
