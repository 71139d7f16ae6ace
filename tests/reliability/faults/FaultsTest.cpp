#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "reliability/Accounts.h"
#include "reliability/Scenario.h"
#include "reliability/faults/FaultTable.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"

// Makes every platform call of the provider fail, one at a time, from the class factory to the last release. Checks
// the state of the client and of the other objects afterwards. Each attempt loads the provider again, so that objects
// that are made at first use are made under failures too.
namespace {

using reliability::Attempt;
using reliability::FaultPoint;
using reliability::Row;
using reliability::Scenario;
using testing::IsEmpty;

Attempt attempt(Scenario scenario, const support::ComMemory& comMemory, const FaultPoint* point, int call)
{
    Attempt result;
    const reliability::Balance before = reliability::balanceNow(comMemory);
    std::optional<support::ProviderModule> module(std::in_place);
    module->useTheTestsBroker();
    module->captureLog();
    reliability::ModuleMemory memory(module->handle());
    {
        std::optional<reliability::Fault> fault;
        if (point != nullptr) {
            fault.emplace(*point, module->handle());
            fault->arm(call);
        }
        result.disturbed = reliability::run(scenario, *module);
        if (point != nullptr) {
            fault->disarm();
            result.calls = fault->calls();
            result.fired = fault->fired();
        }
        result.next = reliability::run(scenario, *module);
    }
    memory.releaseModule();
    module.reset();
    result.leaks = reliability::leaksText(memory, before, reliability::balanceNow(comMemory));
    return result;
}

class FaultsTest : public testing::TestWithParam<Scenario>
{
protected:
    // Fails the calls of every function, one function after the other, and writes the table.
    void failEveryCall(int level)
    {
        const support::LogCapture log(level);
        const support::PrivateRegistry registry;
        const HMODULE broker = LoadLibraryA("ZerixCimCore.dll");
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        const support::ComMemory comMemory;
        attempt(GetParam(), comMemory, nullptr, 0);
        const Attempt normal = attempt(GetParam(), comMemory, nullptr, 0);
        ASSERT_THAT(normal.disturbed.disorder + normal.leaks, IsEmpty());

        std::filesystem::create_directories(ZERIX_TABLES);
        std::ofstream table(std::string(ZERIX_TABLES) + "/faults-" + reliability::nameOf(GetParam()) + "-level" +
                            std::to_string(level) + ".md");
        for (const FaultPoint& point : reliability::faultPoints()) {
            // Debug lines add only allocations of memory.
            if (level > 1 && std::string(point.function) != "_Znwy") {
                continue;
            }
            const Row row = reliability::failEveryCall(
                reliability::nameOf(GetParam()), GetParam(), point, level == 1 || reliability::everyCall() ? 1 : 7,
                normal, [&](int call) { return attempt(GetParam(), comMemory, &point, call); });
            table << "| " << reliability::nameOf(GetParam()) << " | " << level << " | " << point.function << " | "
                  << point.failure << " | " << row.calls << " | " << row.fired << " | " << reliability::effectsText(row)
                  << " |\n";
        }
        FreeLibrary(broker);
    }
};

TEST_P(FaultsTest, FailingCall_leavesNothingBehind)
{
    failEveryCall(1);
}

TEST_P(FaultsTest, MissingMemory_atLevel2_leavesNothing)
{
    failEveryCall(2);
}

INSTANTIATE_TEST_SUITE_P(Requests, FaultsTest,
                         testing::Values(Scenario::ENUMERATE, Scenario::GET, Scenario::GET_MISSING,
                                         Scenario::GET_UNREADABLE_PATH, Scenario::PUT, Scenario::REMOVE,
                                         Scenario::INVOKE, Scenario::REGISTER_SERVER, Scenario::UNREGISTER_SERVER),
                         [](const auto& instance) { return std::string(reliability::nameOf(instance.param)); });

}  // namespace
