#include "bench/provider/TimeTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/provider/Counters.h"
#include "bench/provider/Measure.h"
#include "bench/provider/Requests.h"

namespace bench {

namespace {

using Json = nlohmann::json;

Json toJson(const Sample& sample)
{
    return {{"median", sample.median},
            {"lowerQuartile", sample.lowerQuartile},
            {"upperQuartile", sample.upperQuartile},
            {"least", sample.least}};
}

Json row(const char* request, std::size_t instances, Kernel kernel, const Comparison& comparison)
{
    return {{"request", request},
            {"instances", instances},
            {"kernel", kernel == Kernel::REAL ? "real" : "none"},
            {"callsPerRun", comparison.callsPerRun},
            {"runs", comparison.runs},
            {"nanoseconds", toJson(comparison.subject)},
            {"floorNanoseconds", toJson(comparison.floor)},
            {"ratio", toJson(comparison.ratio)},
            {"leastRatio", comparison.leastRatio},
            {"allowedRatio", toJson(comparison.allowedRatio)}};
}

Comparison compareKind(const RequestKind& kind, Client& client, const KernelCalls& kernel)
{
    requireSameAnswers(kind, client, kernel);
    const auto floor = [&](bool allowed) {
        client.setAllowed(allowed);
        (client.*kind.floor)(kernel);
    };
    const Comparison result = compare([&] { (client.*kind.request)(); }, [&] { floor(false); }, [&] { floor(true); });
    client.take();
    return result;
}

}  // namespace

Json timeRequests()
{
    const support::ProviderModule module;
    const BenchmarksBroker benchmarksBroker(module);
    const CallContext context;
    Json rows = Json::array();
    for (const Kernel kernel : {Kernel::NONE, Kernel::REAL}) {
        for (const std::size_t instances : {1, 10, 100}) {
            const KernelCalls calls({module.handle()}, kernel);
            Broker broker(instances);
            Client client(module, broker);
            rows.push_back(row(ENUMERATE.name, instances, kernel, compareKind(ENUMERATE, client, calls)));
            if (instances == 1) {
                for (const RequestKind& kind : SINGLE_REQUESTS) {
                    rows.push_back(row(kind.name, instances, kernel, compareKind(kind, client, calls)));
                }
            }
        }
    }
    return rows;
}

namespace {

// Requests of increasing size, for a plot.
Json timeCurve(const support::ProviderModule& module, const KernelCalls& kernel)
{
    Json curve = Json::array();
    for (const std::size_t instances : {50, 100, 200, 500, 1000, 2000}) {
        Broker broker(instances);
        Client client(module, broker);
        curve.push_back(row(ENUMERATE.name, instances, Kernel::NONE, compareKind(ENUMERATE, client, kernel)));
    }
    return curve;
}

}  // namespace

Json timeGrowth()
{
    constexpr std::size_t FEW = 100;
    constexpr std::size_t MANY = 10000;
    const support::ProviderModule module;
    const BenchmarksBroker benchmarksBroker(module);
    const CallContext context;
    const KernelCalls kernel({module.handle()}, Kernel::NONE);
    Broker manyBroker(MANY);
    Client many(module, manyBroker);
    std::int64_t peak = 0;
    {
        const Counters counters({module.handle()});
        many.enumerate();
        peak = Counters::read().peakHeapBytes;
    }
    std::vector<double> ratios;
    std::vector<double> floorRatios;
    std::vector<double> fewTimes;
    std::vector<double> manyTimes;
    std::vector<double> fewFloorTimes;
    std::vector<double> manyFloorTimes;
    for (std::size_t run = 0; run < LONG_RUNS; ++run) {
        double few = 0;
        double fewFloor = 0;
        {
            // A separate broker for each size. The broker that was constructed last answers.
            Broker fewBroker(FEW);
            Client client(module, fewBroker);
            few = timeOf(MANY / FEW, [&client] { client.enumerate(); }) / FEW;
            fewFloor = timeOf(MANY / FEW, [&] { client.enumerateFloor(kernel); }) / FEW;
        }
        manyBroker.use();
        const double large = timeOf(1, [&many] { many.enumerate(); }) / MANY;
        const double largeFloor = timeOf(1, [&] { many.enumerateFloor(kernel); }) / MANY;
        fewTimes.push_back(few);
        manyTimes.push_back(large);
        fewFloorTimes.push_back(fewFloor);
        manyFloorTimes.push_back(largeFloor);
        ratios.push_back(large / few);
        floorRatios.push_back(largeFloor / fewFloor);
    }
    return {{"nanosecondsPerInstanceAt100", toJson(summarise(fewTimes))},
            {"nanosecondsPerInstanceAt10000", toJson(summarise(manyTimes))},
            {"ratio", toJson(summarise(ratios))},
            {"leastRatio", summarise(manyTimes).least / summarise(fewTimes).least},
            {"floorRatio", toJson(summarise(floorRatios))},
            {"leastFloorRatio", summarise(manyFloorTimes).least / summarise(fewFloorTimes).least},
            {"curve", timeCurve(module, kernel)},
            {"peakHeapBytesPerInstance", static_cast<double>(peak) / MANY}};
}

namespace {

// A thread with its own client, ready to start. Its requests start with begin().
class Companion
{
public:
    explicit Companion(std::function<void()> work)
        : m_thread([this, work = std::move(work)] {
              CoInitializeEx(nullptr, COINIT_MULTITHREADED);
              {
                  const CallContext context;
                  m_ready = true;
                  while (!m_begun) {
                  }
                  work();
              }
              m_done = true;
              CoUninitialize();
          })
    {
        while (!m_ready) {
            std::this_thread::yield();
        }
    }
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    ~Companion() { m_thread.join(); }

    void begin() noexcept { m_begun = true; }
    void wait() const noexcept
    {
        while (!m_done) {
        }
    }

private:
    std::atomic<bool> m_ready{false};
    std::atomic<bool> m_begun{false};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

// Lets the process use all processors, including those that its parent excluded.
void useAllProcessors()
{
    DWORD_PTR own = 0;
    DWORD_PTR all = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &own, &all) || !SetProcessAffinityMask(GetCurrentProcess(), all)) {
        throw std::runtime_error("the processors of the process cannot be chosen");
    }
}

}  // namespace

Json timeThreads()
{
    useAllProcessors();
    constexpr std::size_t INSTANCES = 100;
    constexpr std::size_t REQUESTS = 4;
    constexpr std::size_t SHORT_RUNS = 201;
    const support::ProviderModule module;
    const BenchmarksBroker benchmarksBroker(module);
    const CallContext context;
    const KernelCalls kernel({module.handle()}, Kernel::NONE);
    Broker broker(INSTANCES);
    Client first(module, broker);
    Client second(module, broker);
    const auto together = [&](const std::function<void(Client&)>& work) {
        std::vector<double> ratios;
        std::vector<double> alone;
        std::vector<double> shared;
        for (std::size_t run = 0; run < SHORT_RUNS; ++run) {
            alone.push_back(timeOf(1, [&] { work(first); }));
            Companion companion([&] { work(second); });
            shared.push_back(timeOf(1, [&] {
                companion.begin();
                work(first);
                companion.wait();
            }));
            ratios.push_back(2 * alone.back() / shared.back());
        }
        return Json{{"throughputRatio", toJson(summarise(ratios))},
                    {"leastRatio", 2 * summarise(alone).least / summarise(shared).least}};
    };
    const auto repeated = [](const std::function<void()>& request) {
        for (std::size_t i = 0; i < REQUESTS; ++i) {
            request();
        }
    };
    return {{"provider", together([&](Client& client) { repeated([&client] { client.enumerate(); }); })},
            {"floor", together([&](Client& client) { repeated([&] { client.enumerateFloor(kernel); }); })}};
}

void repeatRequest(const std::string& name, double seconds)
{
    const auto* const single = std::find_if(SINGLE_REQUESTS.begin(), SINGLE_REQUESTS.end(),
                                            [&name](const RequestKind& kind) { return name == kind.name; });
    if (name != ENUMERATE.name && single == SINGLE_REQUESTS.end()) {
        throw std::runtime_error("no request " + name);
    }
    const RequestKind& kind = name == ENUMERATE.name ? ENUMERATE : *single;
    const support::ProviderModule module;
    const BenchmarksBroker benchmarksBroker(module);
    const CallContext context;
    const KernelCalls kernel({module.handle()}, Kernel::NONE);
    Broker broker(100);
    Client client(module, broker);
    constexpr std::size_t BATCH = 20;
    for (double nanoseconds = 0; nanoseconds < seconds * 1e9;) {
        nanoseconds += BATCH * timeOf(BATCH, [&] { (client.*kind.request)(); });
    }
}

}  // namespace bench
