#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace bench {

// Each request against its floor, with and without the kernel, for 1, 10 and 100 instances; an array of rows.
nlohmann::json timeRequests();

// Time and heap per instance at 100 and at 10,000 instances, without the kernel.
nlohmann::json timeGrowth();

// How much more two threads do than one in the same time, without the kernel.
nlohmann::json timeThreads();

// Makes the named request again and again for so many seconds, without the kernel: for a profiler to look at. Throws
// std::runtime_error for an unknown name.
void repeatRequest(const std::string& name, double seconds);

}  // namespace bench
