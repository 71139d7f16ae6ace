#include "bench/provider/CountTable.h"

#include <array>
#include <functional>

#include "bench/provider/Counters.h"
#include "bench/provider/Requests.h"

namespace bench {

namespace {

nlohmann::json toJson(const Counts& counts)
{
    return {{"lockPairs", counts.lockPairs},
            {"mutexes", counts.mutexes},
            {"heapAllocations", counts.heapAllocations},
            {"bstrs", counts.bstrs},
            {"textsFormatted", counts.textsFormatted}};
}

nlohmann::json countOf(const ProviderModule& module, const std::function<void()>& request)
{
    // Whatever happens on first use only is over before anything is counted.
    request();
    const Counters counters(module.handle());
    request();
    return toJson(Counters::read());
}

// `times` requests one after the other.
std::function<void()> repeated(std::size_t times, std::function<void()> request)
{
    return [times, request = std::move(request)] {
        for (std::size_t i = 0; i < times; ++i) {
            request();
        }
    };
}

}  // namespace

nlohmann::json countRequests()
{
    const ProviderModule module;
    const CallContext context;
    nlohmann::json table;
    for (const std::size_t instances : {1, 10, 100}) {
        Broker broker(instances);
        Client client(module, broker);
        const std::string key = std::to_string(instances);
        table["enumerate"][key] = countOf(module, [&client] { client.enumerate(); });
        client.check("enumerate", {2 * instances, 2 * instances * PROPERTY_COUNT, 2});
        table["get"][key] = countOf(module, repeated(instances, [&client] { client.get(); }));
        client.check("get", {2 * instances, 2 * instances * PROPERTY_COUNT, 2 * instances});
        table["put"][key] = countOf(module, repeated(instances, [&client] { client.put(); }));
        client.check("put", {0, 0, 2 * instances});
        table["method"][key] = countOf(module, repeated(instances, [&client] { client.method(); }));
        client.check("method", {2 * instances, 2 * instances * PROPERTY_COUNT, 2 * instances});
    }
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
