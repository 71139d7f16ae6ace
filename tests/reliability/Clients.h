#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace reliability {

// One kind of request with the check of its answer. `run` gives the complaint, or nothing; it is called from several
// threads at once and must not throw.
struct Work
{
    const char* name;
    std::function<std::string()> run;
};

struct LoadResult
{
    // How often each kind of request was made, in the order of the works.
    std::vector<unsigned> counts;
    // Complaints, each behind the name of its request, and how often they came.
    std::map<std::string, int> complaints;
};

// How many clients runClients has.
constexpr std::size_t CLIENTS = 8;

// Lets the clients, a thread each, do the works in orders of their own until the time is over. A request that does not
// come back for a minute ends the process, after what every client does has been told.
LoadResult runClients(const std::vector<Work>& works, std::chrono::seconds time);

// Complains, as failures of the running test, about works that were never done and about each complaint; writes the
// counts to the file.
void judge(const std::vector<Work>& works, const LoadResult& result, const std::string& tableFile);

}  // namespace reliability
