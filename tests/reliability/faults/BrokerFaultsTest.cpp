#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <ostream>

#include "core/CimBroker.h"
#include "reliability/Accounts.h"
#include "reliability/LoadWatch.h"
#include "reliability/Surroundings.h"
#include "reliability/faults/FaultTable.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"
#include "support/Samples.h"

// Makes every platform call of the broker fail, one at a time, while the built provider requests this machine's
// adapters, settings and jobs. Also fails every call of both modules while they are loaded and unloaded. Each attempt
// loads both modules again. The stored entries are in a branch of the registry that belongs to the test.
namespace {

using reliability::Attempt;
using reliability::FaultPoint;
using reliability::Outcome;
using reliability::Row;
using reliability::Scenario;
using testing::IsEmpty;

constexpr const char* SETTING_PATH = "Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"";
constexpr const char* STORED_JOB = "Vexal:Job:1-1";

HMODULE brokerModule()
{
    return GetModuleHandleA("ZerixCimCore.dll");
}

// One ended job, and settings with which a diagnostic takes only a moment.
void fill(const support::PrivateRegistry& registry)
{
    registry.clear();
    registry.store("Diagnostics", "Setting", "SampleCount=1;SamplePeriodMilliseconds=10");
    // The job ended yesterday and is kept for a year.
    const auto yesterday = std::chrono::system_clock::now() - std::chrono::hours{24};
    const std::string time =
        std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(yesterday.time_since_epoch()).count());
    registry.store("Jobs", STORED_JOB,
                   "JobState=7;AdapterName=eth;AdapterGuid={};Owner=HOST\\admin;Host=1-1;PercentComplete=100;Error=;"
                   "StartTime=1;EndTime=" +
                       time + ";Elapsed=1;Retention=31536000000000");
}

// A request for the broker.
struct Request
{
    const char* name;
    Scenario scenario;
    const char* className;
    // Empty: the machine's first port.
    const char* path;
    const char* method;
    // The only value in the client's object; null for none.
    const char* value;
    LONG number;
    // True if the request changes what its repetition would find. Another request then follows it.
    bool uses;

    // Prints the request's name as the parameter in the test's name; gtest would print its bytes.
    friend void PrintTo(const Request& request, std::ostream* out) { *out << request.name; }
};

constexpr Request LIST_PORTS{"listPorts", Scenario::ENUMERATE, "Zerix_EthernetPort", "", "", nullptr, 0, false};

constexpr std::array REQUESTS{
    LIST_PORTS,
    Request{"listConnections", Scenario::ENUMERATE, "Zerix_PortImplementsEndpoint", "", "", nullptr, 0, false},
    Request{"listJobs", Scenario::ENUMERATE, "Zerix_ConcreteJob", "", "", nullptr, 0, true},
    Request{"getPort", Scenario::GET, "Zerix_EthernetPort", "", "", nullptr, 0, false},
    Request{"getSetting", Scenario::GET, "Zerix_DiagnosticSetting", SETTING_PATH, "", nullptr, 0, false},
    Request{"getMissing", Scenario::GET, "Zerix_ConcreteJob", "Zerix_ConcreteJob.InstanceID=\"none\"", "", nullptr, 0,
            false},
    Request{"changeSetting", Scenario::PUT, "Zerix_DiagnosticSetting", SETTING_PATH, "", "SamplePeriodMilliseconds", 20,
            false},
    Request{"deleteJob", Scenario::REMOVE, "Zerix_ConcreteJob", "Zerix_ConcreteJob.InstanceID=\"Vexal:Job:1-1\"", "",
            nullptr, 0, true},
    Request{"startDiagnostic", Scenario::INVOKE, "Zerix_EthernetPort", "", "RunLinkDiagnostic", nullptr, 0, false},
    Request{"enablePort", Scenario::INVOKE, "Zerix_EthernetPort", "", "RequestStateChange", "RequestedState", 2, false},
    Request{"restoreDefaults", Scenario::INVOKE, "Zerix_DiagnosticSetting", SETTING_PATH, "RestoreDefaults", nullptr, 0,
            false},
};

// The results that do not change with time: the calls of the sink, and the method's return value.
Outcome lasting(Outcome outcome)
{
    std::erase_if(outcome.calls, [](const std::string& call) {
        return !call.starts_with("sink.") && call.find(".Put(ReturnValue") == std::string::npos;
    });
    return outcome;
}

Outcome ask(const Request& request, const std::string& portPath, const support::ProviderModule& module)
{
    reliability::Surroundings surroundings;
    surroundings.removed = nullptr;
    surroundings.className = request.className;
    surroundings.path = *request.path == '\0' ? portPath : request.path;
    surroundings.jobPath = request.path;
    surroundings.method = request.method;
    surroundings.nameSpace.classes = {{request.className, &surroundings.classObject}};
    surroundings.classObject.methods = {{request.method, &surroundings.signature}};
    support::FakeClassObject given(surroundings.calls, "Given");
    *given.path.address() = samples::bstr(surroundings.path);
    if (request.value != nullptr) {
        given.add(request.value, samples::i4(request.number), CIM_UINT16);
    }
    return lasting(reliability::requestOnce(request.scenario, module, surroundings, given));
}

// The path of the machine's first port.
std::string firstPortPath()
{
    const HMODULE broker = LoadLibraryA("ZerixCimCore.dll");
    auto* const entry = reinterpret_cast<core::CimBroker* (*)()>(
        reinterpret_cast<void*>(GetProcAddress(broker, "_ZN4core12GetCimBrokerEv")));
    std::string path;
    {
        auto ports = entry()->getInstances("Zerix_EthernetPort");
        if (core::CimInstance* port = ports.getIterator().next()) {
            path = port->toPathString();
        }
    }
    FreeLibrary(broker);
    return path;
}

// While the modules are loaded, during the request, or while the modules are unloaded after it.
enum class Phase
{
    LOAD,
    REQUEST,
    UNLOAD
};

std::string textOf(Phase phase)
{
    return phase == Phase::LOAD ? "load before " : phase == Phase::REQUEST ? "" : "unload after ";
}

class BrokerFaults : public testing::Test
{
protected:
    explicit BrokerFaults(int logLevel = 1) : m_log(logLevel)
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        std::filesystem::create_directories(ZERIX_TABLES);
        // The first exception of a process makes two semaphores, which the C++ run time keeps.
        EXPECT_THROW(throw std::bad_alloc(), std::bad_alloc);
    }

    // The module whose call fails: the broker or the provider.
    Attempt attempt(const Request& request, Phase phase, bool ofBroker, const FaultPoint* point, int call)
    {
        fill(m_registry);
        const std::size_t threads = reliability::threadCount();
        const reliability::Balance before = reliability::balanceNow(m_comMemory);
        Attempt result;
        std::optional<reliability::ModuleMemory> memory;
        std::optional<reliability::Fault> fault;
        std::optional<support::ProviderModule> module;
        {
            const reliability::LoadWatch watch(ofBroker ? L"ZerixCimCore.dll" : L"ZerixDRAVEv2Provider.dll",
                                               [&](HMODULE failing) {
                                                   memory.emplace(failing);
                                                   if (point != nullptr) {
                                                       fault.emplace(*point, failing);
                                                   }
                                                   if (fault && phase == Phase::LOAD) {
                                                       fault->arm(call);
                                                   }
                                               });
            module.emplace();
            watch.rethrow();
        }
        if (fault && phase == Phase::LOAD) {
            fault->disarm();
        }
        const std::array modules{module->handle(), brokerModule()};
        std::for_each(modules.begin(), modules.end(), support::captureModule);
        if (fault && phase == Phase::REQUEST) {
            fault->arm(call);
        }
        result.disturbed = ask(request, m_portPath, *module);
        if (request.scenario == Scenario::INVOKE) {
            // The calls of the diagnostic's thread are part of the request.
            Sleep(25);
        }
        if (fault && phase == Phase::REQUEST) {
            fault->disarm();
        }
        result.next = ask(request.uses ? LIST_PORTS : request, m_portPath, *module);
        std::for_each(modules.begin(), modules.end(), support::releaseModule);
        memory->releaseModule();
        if (fault && phase == Phase::UNLOAD) {
            fault->arm(call);
        }
        if (fault) {
            fault->abandon();
        }
        module.reset();
        // A diagnostic keeps the broker loaded until it ends.
        for (int i = 0; i < 1000 && brokerModule() != nullptr; ++i) {
            Sleep(10);
        }
        // Its thread closes its last handles when it ends, after it has unloaded the broker.
        for (int i = 0; i < 200 && reliability::threadCount() > threads; ++i) {
            Sleep(10);
        }
        if (brokerModule() != nullptr) {
            result.leaks += "the broker stays loaded; ";
        }
        if (fault) {
            result.calls = fault->calls();
            result.fired = fault->fired();
        }
        result.leaks += reliability::leaksText(*memory, before, reliability::balanceNow(m_comMemory));
        return result;
    }

    void failEveryCall(const Request& request, Phase phase, bool ofBroker, std::ofstream& table)
    {
        // The platform opens handles at first use, some of them late. A leak would open one at each repetition.
        Attempt normal = attempt(request, phase, ofBroker, nullptr, 0);
        for (int i = 0; i < 4 && (i == 0 || !normal.leaks.empty()); ++i) {
            normal = attempt(request, phase, ofBroker, nullptr, 0);
        }
        ASSERT_THAT(normal.disturbed.disorder + normal.leaks, IsEmpty()) << request.name;
        for (const FaultPoint& point : ofBroker ? reliability::brokerFaultPoints() : reliability::faultPoints()) {
            const auto failing = [&](int call) { return attempt(request, phase, ofBroker, &point, call); };
            constexpr int SAMPLE = 4;
            const bool all = reliability::everyCall() || phase == Phase::LOAD;
            // An attempt that fails no call only counts them.
            const int step = all ? 1 : std::max(1, failing(-1).calls / SAMPLE);
            const Row row = reliability::failEveryCall(request.name, request.scenario, point, step, normal, failing);
            table << "| " << textOf(phase) << request.name << " | " << (ofBroker ? "broker" : "provider") << " | "
                  << point.function << " | " << point.failure << " | " << row.calls << " | " << row.fired << " | "
                  << reliability::effectsText(row) << " |\n";
        }
    }

    const support::LogCapture m_log;
    const support::ComMemory m_comMemory;
    const std::string m_portPath = firstPortPath();
    const support::PrivateRegistry m_registry;
};

class BrokerFaultsTest : public BrokerFaults, public testing::WithParamInterface<Request>
{
};

TEST_P(BrokerFaultsTest, FailingCall_leavesNothingBehind)
{
    ASSERT_FALSE(m_portPath.empty()) << "this machine has no adapter";
    std::ofstream table(std::string(ZERIX_TABLES) + "/broker-faults-" + GetParam().name + ".md");
    failEveryCall(GetParam(), Phase::REQUEST, true, table);
}

INSTANTIATE_TEST_SUITE_P(Requests, BrokerFaultsTest, testing::ValuesIn(REQUESTS),
                         [](const auto& instance) { return std::string(instance.param.name); });

// The log level. At level 2 the log makes further platform calls while a module is loaded.
class LoadFaultsTest : public BrokerFaults, public testing::WithParamInterface<int>
{
protected:
    LoadFaultsTest() : BrokerFaults(GetParam()) {}
};

TEST_P(LoadFaultsTest, FailingCall_atLoading_isSurvived)
{
    std::ofstream table(std::string(ZERIX_TABLES) + "/load-faults-" + std::to_string(GetParam()) + ".md");
    failEveryCall(LIST_PORTS, Phase::LOAD, true, table);
    failEveryCall(LIST_PORTS, Phase::LOAD, false, table);
}

INSTANTIATE_TEST_SUITE_P(LogLevels, LoadFaultsTest, testing::Values(1, 2));

class UnloadFaultsTest : public BrokerFaults, public testing::WithParamInterface<Request>
{
};

TEST_P(UnloadFaultsTest, FailingCall_atUnloading_leavesNothing)
{
    std::ofstream table(std::string(ZERIX_TABLES) + "/unload-faults-" + GetParam().name + ".md");
    failEveryCall(GetParam(), Phase::UNLOAD, true, table);
    failEveryCall(GetParam(), Phase::UNLOAD, false, table);
}

// The end leaves a list of instances, marked jobs, and a thread that has just ended.
INSTANTIATE_TEST_SUITE_P(Requests, UnloadFaultsTest, testing::Values(LIST_PORTS, REQUESTS[7], REQUESTS[8]),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
