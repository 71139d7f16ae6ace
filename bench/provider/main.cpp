#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "Os/Windows/Platform.h"
#include "bench/provider/CountTable.h"
#include "bench/provider/StepTable.h"
#include "bench/provider/TimeTable.h"

// bench_provider measures what the provider adds to the calls that every request needs.
namespace {

using Json = nlohmann::json;

void write(const std::string& file, const Json& json)
{
    std::ofstream out(file);
    out << json.dump(2) << '\n';
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + file);
    }
}

Json read(const std::string& file)
{
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error("cannot read " + file);
    }
    return Json::parse(in);
}

void printCounts(const Json& table)
{
    constexpr std::array columns{std::pair{"lockPairs", "lock pairs"},     std::pair{"mutexes", "mutexes"},
                                 std::pair{"heapAllocations", "heap"},     std::pair{"bstrs", "BSTRs"},
                                 std::pair{"textsFormatted", "formatted"}, std::pair{"peakHeapBytes", "peak bytes"}};
    std::printf("%-18s %9s", "request", "instances");
    for (const auto& [name, heading] : columns) {
        std::printf(" %10s", heading);
    }
    std::printf("\n");
    for (const auto& [request, sizes] : table.items()) {
        for (const char* const size : {"1", "10", "100"}) {
            std::printf("%-18s %9s", request.c_str(), size);
            for (const auto& [name, heading] : columns) {
                std::printf(" %10d", sizes.at(size).at(name).get<int>());
            }
            std::printf("\n");
        }
    }
}

int count(const std::string& against, const std::string& accept)
{
    const Json table = bench::countRequests();
    printCounts(table);
    if (!accept.empty()) {
        write(accept, table);
    }
    if (against.empty()) {
        return 0;
    }
    const auto grown = bench::grownCounts(read(against), table);
    for (const std::string& line : grown) {
        std::printf("%s\n", line.c_str());
    }
    return grown.empty() ? 0 : 1;
}

void printTimes(const Json& times)
{
    std::printf("%-10s %9s %7s %6s %12s %12s %7s %16s %7s %9s\n", "request", "instances", "kernel", "runs",
                "provider us", "floor us", "ratio", "quartiles", "least", "allowed");
    for (const Json& row : times.at("requests")) {
        const Json& ratio = row.at("ratio");
        std::printf("%-10s %9d %7s %6d %12.2f %12.2f %7.2f %7.2f to %5.2f %7.2f %9.2f\n",
                    row.at("request").get<std::string>().c_str(), row.at("instances").get<int>(),
                    row.at("kernel").get<std::string>().c_str(), row.at("runs").get<int>(),
                    row.at("nanoseconds").at("median").get<double>() / 1000,
                    row.at("floorNanoseconds").at("median").get<double>() / 1000, ratio.at("median").get<double>(),
                    ratio.at("lowerQuartile").get<double>(), ratio.at("upperQuartile").get<double>(),
                    row.at("leastRatio").get<double>(), row.at("allowedRatio").at("median").get<double>());
    }
    const Json& growth = times.at("growth");
    std::printf("time per instance, 10000 against 100: %.2f (least %.2f); the floor %.2f (least %.2f)\n",
                growth.at("ratio").at("median").get<double>(), growth.at("leastRatio").get<double>(),
                growth.at("floorRatio").at("median").get<double>(), growth.at("leastFloorRatio").get<double>());
    std::printf("heap per instance: %.0f bytes\n", growth.at("peakHeapBytesPerInstance").get<double>());
    const Json& provider = times.at("threads").at("provider");
    const Json& floor = times.at("threads").at("floor");
    std::printf("two threads against one: %.2f (least %.2f); the floor %.2f (least %.2f)\n",
                provider.at("throughputRatio").at("median").get<double>(), provider.at("leastRatio").get<double>(),
                floor.at("throughputRatio").at("median").get<double>(), floor.at("leastRatio").get<double>());
}

void time(const std::string& file)
{
    const Json times = {
        {"requests", bench::timeRequests()}, {"growth", bench::timeGrowth()}, {"threads", bench::timeThreads()}};
    printTimes(times);
    if (!file.empty()) {
        write(file, times);
    }
}

// Runs `work` in a multithreaded apartment, in which WMI's threads run.
template <class Work>
int inApartment(const Work& work)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int code = 1;
    try {
        code = work();
    } catch (const std::exception& exception) {
        std::cerr << "bench_provider: " << exception.what() << '\n';
    }
    CoUninitialize();
    return code;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app("What the provider adds to the calls that a request cannot do without");
    app.require_subcommand(1);
    std::string against;
    std::string accept;
    std::string json;
    CLI::App* const counts = app.add_subcommand("counts", "locks, allocations, BSTRs and texts of each request");
    counts->add_option("--against", against, "a stored table; exit code 1 when a count is larger than there");
    counts->add_option("--accept", accept, "where to store the table");
    CLI::App* const times = app.add_subcommand("times", "each request against its floor");
    times->add_option("--json", json, "where to write the figures");
    std::string request;
    double seconds = 5;
    CLI::App* const repeat = app.add_subcommand("repeat", "one request again and again, for a profiler");
    repeat->add_option("request", request, "enumerate, get, put or method")->required();
    repeat->add_option("--seconds", seconds, "how long");
    const CLI::App* const steps = app.add_subcommand("steps", "each request once more, for count_steps");
    CLI11_PARSE(app, argc, argv);
    // Gives texts that contain the computer's name the same length on every computer.
    _putenv_s("COMPUTERNAME", "BENCHMARK");
    return inApartment([&] {
        if (counts->parsed()) {
            return count(against, accept);
        }
        if (steps->parsed()) {
            bench::stepRequests();
        } else if (repeat->parsed()) {
            bench::repeatRequest(request, seconds);
        } else {
            time(json);
        }
        return 0;
    });
}
