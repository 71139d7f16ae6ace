#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// One fuzz target per program: it reads arbitrary bytes, and ends the process when the code under test breaks its
// promise. The fuzzer links it with its own driver; the ordinary builds link it with ReplayDriver.cpp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Prints the broken promise and the details, then aborts, which the fuzzer records together with the input.
void require(bool kept, const char* promise, const std::string& details);

// The bytes as text, NUL bytes included.
std::string textOf(const std::uint8_t* data, std::size_t size);

}  // namespace fuzz
