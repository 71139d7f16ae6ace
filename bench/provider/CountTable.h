#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace bench {

// What requests of each kind cost in things that can be counted, for 1, 10 and 100 instances:
// {"enumerate": {"1": {"lockPairs": 24, ...}, ...}, ...}. The same on every machine. A get, a put and a method are made
// so often; "ports" is the class as it is shipped, with the broker.
nlohmann::json countRequests();

// One line for each count of `now` that is larger than in `before`, or that `before` does not have.
std::vector<std::string> grownCounts(const nlohmann::json& before, const nlohmann::json& now);

}  // namespace bench
