#include <benchmark/benchmark.h>

#include <string>

#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"

// The model that both DLLs share: what a request does to paths and lists.
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
