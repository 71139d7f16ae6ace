#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace {

// At the default level, where debug lines go nowhere: what every function pays for being able to tell.
void disabledDebug(benchmark::State& state)
{
    static constexpr utils::LogSite here{"LogBenchmark", "disabledDebug"};
    const std::string name = "PermanentAddress";
    for (auto _ : state) {
        here.debug("Converting '%s'", name.c_str());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(disabledDebug);

void formatText(benchmark::State& state)
{
    for (auto _ : state) {
        std::string text = utils::format("%s:%d: Assertion failed: '%s'", "WmiConverter", 100, "wmiInst != NULL");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(formatText);

void formatTextFloor(benchmark::State& state)
{
    for (auto _ : state) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%s:%d: Assertion failed: '%s'", "WmiConverter", 100, "wmiInst != NULL");
        std::string text(buffer);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(formatTextFloor);

void splitPath(benchmark::State& state)
{
    const std::string text = R"(SystemName="HOST",DeviceID="{D39A94C6-35D2-4B40-BB6A-56E279951017}")";
    for (auto _ : state) {
        auto pieces = utils::split(text, ',', '"');
        benchmark::DoNotOptimize(pieces);
    }
}
BENCHMARK(splitPath);

// The pieces, from where they stand.
void splitPathFloor(benchmark::State& state)
{
    const std::string_view text = R"(SystemName="HOST",DeviceID="{D39A94C6-35D2-4B40-BB6A-56E279951017}")";
    for (auto _ : state) {
        std::vector<std::string> pieces;
        pieces.emplace_back(text.substr(0, 17));
        pieces.emplace_back(text.substr(18));
        benchmark::DoNotOptimize(pieces);
    }
}
BENCHMARK(splitPathFloor);

}  // namespace
