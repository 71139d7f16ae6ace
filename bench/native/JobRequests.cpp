#include "broker/JobRequests.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

// One request about jobs, for a program that counts instructions:
//
//     job_requests jobs|results|get ENTRIES [changed]
//
// It is asked once to warm up and then once more in `counted`. With "changed", another process has changed an entry in
// between.

namespace {

using Request = std::size_t (fakes::JobRequests::*)();

const std::map<std::string, Request> requests{{"jobs", &fakes::JobRequests::listJobs},
                                              {"results", &fakes::JobRequests::listResults},
                                              {"get", &fakes::JobRequests::getJob}};

}  // namespace

// Outside the namespace, so that its name is plain.
extern "C" __attribute__((noinline)) std::size_t counted(fakes::JobRequests& broker, Request request)
{
    return (broker.*request)();
}

int main(int argc, char** argv)
{
    const auto request = argc < 3 ? requests.end() : requests.find(argv[1]);
    if (request == requests.end()) {
        std::fprintf(stderr, "usage: job_requests jobs|results|get ENTRIES [changed]\n");
        return 2;
    }
    fakes::JobRequests broker(std::stoul(argv[2]));
    (broker.*request->second)();
    if (argc > 3 && std::strcmp(argv[3], "changed") == 0) {
        broker.changeOne();
    }
    return counted(broker, request->second) == 0 ? 1 : 0;
}
