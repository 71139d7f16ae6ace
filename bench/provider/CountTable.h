#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace bench {

// Counts what requests of each kind do, for 1, 10 and 100 instances:
// {"enumerate": {"1": {"lockPairs": 24, ...}, ...}, ...}. The counts are the same on every machine. A get, a put and a
// method are made 1, 10 and 100 times; "ports" is the shipped class with the shipped broker.
nlohmann::json countRequests();

// Returns a line for each count in `now` that is larger than in `before` or missing there.
std::vector<std::string> grownCounts(const nlohmann::json& before, const nlohmann::json& now);

}  // namespace bench
