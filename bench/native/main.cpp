#include <benchmark/benchmark.h>

#include <cstdio>
#include <string_view>

#include "bench/native/Cases.h"
#include "bench/native/Counted.h"

// bench_native [OPTION...]    the time of each case, as a benchmark of that name
// bench_native --cases        prints the names of the cases
// bench_native --count NAME   runs the case's work a few times to warm up, and then once in `counted`
namespace {

int listCases()
{
    for (const bench::Case& each : bench::cases()) {
        std::puts(each.name);
    }
    return 0;
}

int countCase(std::string_view name)
{
    constexpr int WARM_UP = 20;
    for (const bench::Case& each : bench::cases()) {
        if (each.name == name) {
            const std::function<void()> work = each.prepare();
            for (int i = 0; i < WARM_UP; ++i) {
                work();
            }
            counted(work);
            return 0;
        }
    }
    std::fprintf(stderr, "no such case\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && argv[1] == std::string_view("--cases")) {
        return listCases();
    }
    if (argc == 3 && argv[1] == std::string_view("--count")) {
        return countCase(argv[2]);
    }
    for (const bench::Case& each : bench::cases()) {
        benchmark::RegisterBenchmark(each.name, [&each](benchmark::State& state) {
            const std::function<void()> work = each.prepare();
            for (auto _ : state) {
                work();
            }
        });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
