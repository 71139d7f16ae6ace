#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The fuzz target; each program has one. It reads arbitrary bytes and ends the process when the tested code breaks its
// contract. The fuzzer links it with its own driver; ordinary builds link it with ReplayDriver.cpp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Prints the broken contract and the details, then aborts. The fuzzer stores the input of an abort.
void require(bool kept, const char* promise, const std::string& details);

// Returns the bytes as text, NUL bytes included.
std::string textOf(const std::uint8_t* data, std::size_t size);

}  // namespace fuzz
