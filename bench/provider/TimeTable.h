#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace bench {

// Compares each request with its floor, with and without the kernel, for 1, 10 and 100 instances. Returns rows.
nlohmann::json timeRequests();

// Measures time and heap per instance at 100 and at 10,000 instances, without the kernel.
nlohmann::json timeGrowth();

// Measures how much more work two threads do than one in the same time, without the kernel.
nlohmann::json timeThreads();

// Repeats the named request for this many seconds without the kernel, so that a profiler can observe it. Throws
// std::runtime_error for an unknown name.
void repeatRequest(const std::string& name, double seconds);

}  // namespace bench
