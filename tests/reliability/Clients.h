#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace reliability {

// One kind of request and the check of its answer. `run` returns a complaint, or nothing. Several threads call it at
// once, and it must not throw.
struct Work
{
    const char* name;
    std::function<std::string()> run;
};

struct LoadResult
{
    // The number of requests of each kind, in the order of the works.
    std::vector<unsigned> counts;
    // The complaints, each after the name of its request, and how often each occurred.
    std::map<std::string, int> complaints;
};

// The number of clients of runClients.
constexpr std::size_t CLIENTS = 8;

// Runs the clients, one thread each, until the time is over. Each uses a different order of works. If a request takes
// longer than a minute, prints what every client is doing and ends the process.
LoadResult runClients(const std::vector<Work>& works, std::chrono::seconds time);

// Adds a failure to the running test for each work that was never done and for each complaint. Writes the counts to the
// file.
void judge(const std::vector<Work>& works, const LoadResult& result, const std::string& tableFile);

}  // namespace reliability
