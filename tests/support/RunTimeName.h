#pragma once

namespace support {

// The file name of the C++ run time that the product, its tests and the benchmarks share.
constexpr const char* RUN_TIME = "ZerixRuntime.dll";

}  // namespace support
