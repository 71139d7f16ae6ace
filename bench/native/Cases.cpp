#include "bench/native/Cases.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Utils/Log.h"
#include "Utils/Mutex.h"
#include "Utils/Utils.h"
#include "core/CimInstance.h"
#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"

namespace bench {

namespace {

using Work = std::function<void()>;

constexpr int PROPERTIES = 20;
constexpr char VALUE[] = "Vexal Ethernet Adapter 12";
constexpr char FORMAT[] = "%s:%d: Assertion failed: '%s'";

void addProperties(core::CimInstance& instance)
{
    for (int i = 0; i < PROPERTIES; ++i) {
        const std::string name = "Property" + std::to_string(i);
        // The instance owns it.
        auto* property = new core::CimPropertyString(name.c_str(), &instance);
        property->setValue(VALUE);
        property->setKey(i < 2);
    }
}

std::shared_ptr<core::CimInstance> makeInstance()
{
    auto instance = std::make_shared<core::CimInstance>("Zerix_EthernetPort");
    addProperties(*instance);
    return instance;
}

Work parsePath()
{
    return [text = std::string(R"(\\HOST\root\DCIM\vexal:Zerix_EthernetPort.SystemName="HOST",)"
                               R"(DeviceID="{D39A94C6-35D2-4B40-BB6A}")")] {
        core::CimPath path(text);
        benchmark::DoNotOptimize(path);
    };
}

// The five texts that a path stores.
Work parsePathFloor()
{
    return [] {
        std::string className("Zerix_EthernetPort");
        std::vector<std::pair<std::string, std::string>> keys;
        keys.emplace_back("SystemName", "HOST");
        keys.emplace_back("DeviceID", "{D39A94C6-35D2-4B40-BB6A}");
        benchmark::DoNotOptimize(className);
        benchmark::DoNotOptimize(keys);
    };
}

Work renderPath()
{
    return [instance = makeInstance()] {
        std::string path = instance->toPathString();
        benchmark::DoNotOptimize(path);
    };
}

Work buildInstance()
{
    return [] {
        core::CimInstance instance("Zerix_EthernetPort");
        addProperties(instance);
        const core::CimInstance* const made = &instance;
        benchmark::DoNotOptimize(made);
    };
}

// The properties without a list.
Work buildInstanceFloor()
{
    return [] {
        std::vector<std::unique_ptr<core::CimPropertyString>> properties;
        for (int i = 0; i < PROPERTIES; ++i) {
            const std::string name = "Property" + std::to_string(i);
            properties.push_back(std::make_unique<core::CimPropertyString>(name.c_str()));
            properties.back()->setValue(VALUE);
        }
        benchmark::DoNotOptimize(properties);
    };
}

Work walkProperties()
{
    return [instance = makeInstance()] {
        core::CimPropertyList::Iterator properties = instance->propertyIterator();
        while (core::CimProperty* property = properties.next()) {
            benchmark::DoNotOptimize(property);
        }
    };
}

// The lock of each step, and of the step that finds the end.
Work walkPropertiesFloor()
{
    return [mutex = std::make_shared<utils::Mutex>(), properties = std::vector<int>(PROPERTIES)] {
        for (const int& property : properties) {
            const utils::MutexGuard guard(*mutex);
            benchmark::DoNotOptimize(&property);
        }
        const utils::MutexGuard guard(*mutex);
    };
}

Work findProperty()
{
    return [instance = makeInstance(), name = std::string("Property13")] {
        benchmark::DoNotOptimize(instance->getProperties().findProperty(name));
    };
}

// A client's value for a property that it may change.
Work changeProperty()
{
    const auto property = std::make_shared<core::CimPropertyString>("ElementName");
    property->setValue(VALUE);
    property->setModifiable(true);
    const auto value = std::make_shared<core::CimPropertyString>("ElementName");
    value->setValue("Vexal Ethernet Adapter 13");
    return [property, value] {
        property->verify(value.get());
        property->modify(value.get());
    };
}

Work convertNumbers()
{
    return [large = std::string("10000000000"), small = std::string("65535")] {
        std::uint32_t number = 0;
        benchmark::DoNotOptimize(utils::toUint64(large));
        benchmark::DoNotOptimize(utils::toUint(small, &number));
        benchmark::DoNotOptimize(number);
    };
}

Work formatText()
{
    return [] {
        std::string text = utils::format(FORMAT, "WmiConverter", 100, "wmiInst != NULL");
        benchmark::DoNotOptimize(text);
    };
}

Work formatTextFloor()
{
    return [] {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, FORMAT, "WmiConverter", 100, "wmiInst != NULL");
        std::string text(buffer);
        benchmark::DoNotOptimize(text);
    };
}

Work splitPath()
{
    return [text = std::string(R"(SystemName="HOST",DeviceID="{D39A94C6-35D2-4B40-BB6A-56E279951017}")")] {
        auto pieces = utils::split(text, ',', '"');
        benchmark::DoNotOptimize(pieces);
    };
}

// Copies the two pieces from their known positions.
Work splitPathFloor()
{
    return [text = std::string_view(R"(SystemName="HOST",DeviceID="{D39A94C6-35D2-4B40-BB6A-56E279951017}")")] {
        std::vector<std::string> pieces;
        pieces.emplace_back(text.substr(0, 17));
        pieces.emplace_back(text.substr(18));
        benchmark::DoNotOptimize(pieces);
    };
}

// The default level, at which debug lines are not written: the cost of logging that every function bears.
Work disabledDebug()
{
    return [name = std::string("PermanentAddress")] {
        static constexpr utils::LogSite here{"Cases", "disabledDebug"};
        here.debug("Converting '%s'", name.c_str());
        benchmark::ClobberMemory();
    };
}

}  // namespace

const std::vector<Case>& cases()
{
    static const std::vector<Case> all{{"parsePath", &parsePath},
                                       {"parsePathFloor", &parsePathFloor},
                                       {"splitPath", &splitPath},
                                       {"splitPathFloor", &splitPathFloor},
                                       {"renderPath", &renderPath},
                                       {"buildInstance", &buildInstance},
                                       {"buildInstanceFloor", &buildInstanceFloor},
                                       {"walkProperties", &walkProperties},
                                       {"walkPropertiesFloor", &walkPropertiesFloor},
                                       {"findProperty", &findProperty},
                                       {"changeProperty", &changeProperty},
                                       {"convertNumbers", &convertNumbers},
                                       {"formatText", &formatText},
                                       {"formatTextFloor", &formatTextFloor},
                                       {"disabledDebug", &disabledDebug}};
    return all;
}

}  // namespace bench
