#include "bench/provider/CountTable.h"

#include <array>
#include <functional>

#include "bench/provider/Counters.h"
#include "bench/provider/Ports.h"
#include "bench/provider/Requests.h"

namespace bench {

namespace {

constexpr std::array<std::size_t, 3> SIZES{1, 10, 100};

nlohmann::json toJson(const Counts& counts)
{
    return {{"lockPairs", counts.lockPairs},
            {"mutexes", counts.mutexes},
            {"heapAllocations", counts.heapAllocations},
            {"bstrs", counts.bstrs},
            {"textsFormatted", counts.textsFormatted},
            {"peakHeapBytes", counts.peakHeapBytes}};
}

nlohmann::json countOf(const std::vector<HMODULE>& modules, const std::function<void()>& request)
{
    const Counters counters(modules);
    request();
    return toJson(Counters::read());
}

// Measures a later request, after the work of the first use.
nlohmann::json countWarm(const support::ProviderModule& module, const std::function<void()>& request)
{
    request();
    return countOf({module.handle()}, request);
}

// Makes `times` requests one after the other.
std::function<void()> repeated(std::size_t times, std::function<void()> request)
{
    return [times, request = std::move(request)] {
        for (std::size_t i = 0; i < times; ++i) {
            request();
        }
    };
}

void countKinds(const support::ProviderModule& module, nlohmann::json& table)
{
    const BenchmarksBroker benchmarksBroker(module);
    for (const std::size_t instances : SIZES) {
        Broker broker(instances);
        Client client(module, broker);
        const std::string key = std::to_string(instances);
        table["enumerate"][key] = countWarm(module, [&client] { client.enumerate(); });
        client.check("enumerate", {2 * instances, 2 * instances * PROPERTY_COUNT, 2});
        table["get"][key] = countWarm(module, repeated(instances, [&client] { client.get(); }));
        client.check("get", {2 * instances, 2 * instances * PROPERTY_COUNT, 2 * instances});
        table["put"][key] = countWarm(module, repeated(instances, [&client] { client.put(); }));
        client.check("put", {0, 0, 2 * instances});
        table["method"][key] = countWarm(module, repeated(instances, [&client] { client.method(); }));
        client.check("method", {2 * instances, 2 * instances * PROPERTY_COUNT, 2 * instances});
    }
}

// The shipped ports: the first request of a thread, which keeps no ports yet, a later request, and the first request of
// a new thread.
void countPorts(const support::ProviderModule& module, nlohmann::json& table)
{
    PortClient client(module);
    const std::vector<HMODULE> modules{module.handle(), PortClient::broker()};
    for (const std::size_t adapters : SIZES) {
        const std::string key = std::to_string(adapters);
        client.adapters().count = adapters;
        client.enumerate();
        client.forget();
        table["ports, first"][key] = countOf(modules, [&client] { client.enumerate(); });
        table["ports, later"][key] = countOf(modules, [&client] { client.enumerate(); });
        client.enumerateOnNewThread([&](const std::function<void()>& enumerate) {
            table["ports, new thread"][key] = countOf(modules, enumerate);
        });
    }
}

}  // namespace

nlohmann::json countRequests()
{
    const support::ProviderModule module;
    const CallContext context;
    nlohmann::json table;
    countKinds(module, table);
    countPorts(module, table);
    return table;
}

std::vector<std::string> grownCounts(const nlohmann::json& before, const nlohmann::json& now)
{
    std::vector<std::string> lines;
    const nlohmann::json stored = before.flatten();
    const nlohmann::json counted = now.flatten();
    for (const auto& [key, value] : counted.items()) {
        const auto old = stored.find(key);
        if (old == stored.end()) {
            lines.push_back(key + " is " + value.dump() + " and not in the stored table");
        } else if (value > *old) {
            lines.push_back(key + " grew from " + old->dump() + " to " + value.dump());
        }
    }
    return lines;
}

}  // namespace bench
