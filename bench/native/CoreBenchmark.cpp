#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Utils/Mutex.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"

// The model that both DLLs share: what a request does to paths and lists. A benchmark whose name ends in "Floor" makes,
// of the one before it, what no implementation could leave out; bench/native-goals.json holds the ratio of the two.
namespace {

constexpr int PROPERTIES = 20;

void addProperties(core::CimInstance& instance)
{
    for (int i = 0; i < PROPERTIES; ++i) {
        const std::string name = "Property" + std::to_string(i);
        // The instance owns it.
        auto* property = new core::CimPropertyString(name.c_str(), &instance);
        property->setValue("Vexal Ethernet Adapter 12");
        property->setKey(i < 2);
    }
}

void parsePath(benchmark::State& state)
{
    const std::string text =
        R"(\\HOST\root\DCIM\vexal:Zerix_EthernetPort.SystemName="HOST",DeviceID="{D39A94C6-35D2-4B40-BB6A}")";
    for (auto _ : state) {
        core::CimPath path(text);
        benchmark::DoNotOptimize(path);
    }
}
BENCHMARK(parsePath);

// The five texts that a path keeps.
void parsePathFloor(benchmark::State& state)
{
    for (auto _ : state) {
        std::string className("Zerix_EthernetPort");
        std::vector<std::pair<std::string, std::string>> keys;
        keys.emplace_back("SystemName", "HOST");
        keys.emplace_back("DeviceID", "{D39A94C6-35D2-4B40-BB6A}");
        benchmark::DoNotOptimize(className);
        benchmark::DoNotOptimize(keys);
    }
}
BENCHMARK(parsePathFloor);

void renderPath(benchmark::State& state)
{
    core::CimInstance instance("Zerix_EthernetPort");
    addProperties(instance);
    for (auto _ : state) {
        std::string path = instance.toPathString();
        benchmark::DoNotOptimize(path);
    }
}
BENCHMARK(renderPath);

void buildInstance(benchmark::State& state)
{
    for (auto _ : state) {
        core::CimInstance instance("Zerix_EthernetPort");
        addProperties(instance);
        const core::CimInstance* const made = &instance;
        benchmark::DoNotOptimize(made);
    }
    state.SetItemsProcessed(state.iterations() * PROPERTIES);
}
BENCHMARK(buildInstance);

// The properties alone, in no list.
void buildInstanceFloor(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::unique_ptr<core::CimPropertyString>> properties;
        for (int i = 0; i < PROPERTIES; ++i) {
            const std::string name = "Property" + std::to_string(i);
            properties.push_back(std::make_unique<core::CimPropertyString>(name.c_str()));
            properties.back()->setValue("Vexal Ethernet Adapter 12");
        }
        benchmark::DoNotOptimize(properties);
    }
    state.SetItemsProcessed(state.iterations() * PROPERTIES);
}
BENCHMARK(buildInstanceFloor);

void walkProperties(benchmark::State& state)
{
    core::CimInstance instance("Zerix_EthernetPort");
    addProperties(instance);
    for (auto _ : state) {
        core::CimPropertyList::Iterator properties = instance.propertyIterator();
        while (core::CimProperty* property = properties.next()) {
            benchmark::DoNotOptimize(property);
        }
    }
    state.SetItemsProcessed(state.iterations() * PROPERTIES);
}
BENCHMARK(walkProperties);

// The lock of each step, and of the one that finds the end.
void walkPropertiesFloor(benchmark::State& state)
{
    utils::Mutex mutex;
    const std::vector<int> properties(PROPERTIES);
    for (auto _ : state) {
        for (const int& property : properties) {
            const utils::MutexGuard guard(mutex);
            benchmark::DoNotOptimize(&property);
        }
        const utils::MutexGuard guard(mutex);
    }
    state.SetItemsProcessed(state.iterations() * PROPERTIES);
}
BENCHMARK(walkPropertiesFloor);

void findProperty(benchmark::State& state)
{
    core::CimInstance instance("Zerix_EthernetPort");
    addProperties(instance);
    const std::string name = "Property13";
    for (auto _ : state) {
        benchmark::DoNotOptimize(instance.getProperties().findProperty(name));
    }
}
BENCHMARK(findProperty);

}  // namespace
