#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "reliability/Accounts.h"
#include "reliability/Scenario.h"
#include "reliability/faults/FaultTable.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"

// Makes every platform call of the provider fail, one at a time, from the class factory to the last release. Checks
// the state of the client and of the other objects afterwards. Each attempt loads the provider again, so that objects
// that are made at first use are made under failures too.
namespace {

using reliability::FaultPoint;
using reliability::Outcome;
using reliability::Row;
using reliability::Scenario;
using testing::IsEmpty;

struct Attempt
{
    Outcome disturbed;
    // The same request to the same module, in which nothing fails.
    Outcome next;
    std::string leaks;
    int calls = 0;
    bool fired = false;
};

Attempt attempt(Scenario scenario, const support::ComMemory& comMemory, const FaultPoint* point, int call)
{
    Attempt result;
    support::CallLog registryCalls;
    const reliability::Balance before = reliability::balanceNow(comMemory);
    std::optional<reliability::RegistrylessModule> module(std::in_place, registryCalls);
    support::captureModule(module->handle());
    reliability::ModuleMemory memory(module->handle());
    {
        std::optional<reliability::Fault> fault;
        if (point != nullptr) {
            fault.emplace(*point, module->handle());
            fault->arm(call);
        }
        result.disturbed = reliability::run(scenario, *module, registryCalls);
        if (point != nullptr) {
            fault->disarm();
            result.calls = fault->calls();
            result.fired = fault->fired();
        }
        result.next = reliability::run(scenario, *module, registryCalls);
    }
    memory.releaseModule();
    support::releaseModule(module->handle());
    module.reset();
    if (memory.live() != 0) {
        result.leaks += std::to_string(memory.live()) + " C++ blocks are left after the module is gone; ";
    }
    const reliability::Balance after = reliability::balanceNow(comMemory);
    if (!(before == after)) {
        result.leaks += "handles " + std::to_string(before.handles) + " -> " + std::to_string(after.handles) +
                        ", COM blocks " + std::to_string(before.comBlocks) + " -> " + std::to_string(after.comBlocks);
    }
    return result;
}

class FaultsTest : public testing::TestWithParam<Scenario>
{
protected:
    // Fails the calls of every function, one function after the other, and writes the table.
    void failEveryCall(int level)
    {
        const support::LogCapture log(level);
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
            const Row row = failEveryCallOf(point, level == 1 || reliability::everyCall() ? 1 : 7, normal, comMemory);
            table << "| " << reliability::nameOf(GetParam()) << " | " << level << " | " << point.function << " | "
                  << point.failure << " | " << row.calls << " | " << row.fired << " | " << reliability::effectsText(row)
                  << " |\n";
        }
        FreeLibrary(broker);
    }

private:
    Row failEveryCallOf(const FaultPoint& point, int step, const Attempt& normal, const support::ComMemory& comMemory)
    {
        Row row;
        for (int call = 1;; call += step) {
            Attempt found = attempt(GetParam(), comMemory, &point, call);
            if (!found.leaks.empty()) {
                // Resources that the platform allocates at first use stay once. A leak grows with every attempt.
                found = attempt(GetParam(), comMemory, &point, call);
            }
            if (call == 1 || found.calls > row.calls) {
                row.calls = found.calls;
            }
            if (!found.fired) {
                break;
            }
            ++row.fired;
            const std::string where = std::string(point.function) + " (" + point.failure + "), call " +
                                      std::to_string(call) + " of " + std::to_string(found.calls);
            const std::string effect = reliability::effectOf(GetParam(), point, normal.disturbed, found.disturbed);
            EXPECT_FALSE(effect.empty()) << where << ": " << reliability::describe(found.disturbed);
            EXPECT_THAT(found.disturbed.disorder + found.leaks, IsEmpty()) << where << ": " << effect;
            EXPECT_EQ(found.next, normal.next) << where << ": the next request: " << reliability::describe(found.next);
            ++row.effects[effect.empty() ? "UNDEFINED" : effect];
        }
        return row;
    }
};

TEST_P(FaultsTest, FailingCall_leavesNothingBehind)
{
    failEveryCall(1);
}

TEST_P(FaultsTest, memoryMayRunOutWhileDebugLinesAreWritten)
{
    failEveryCall(2);
}

INSTANTIATE_TEST_SUITE_P(Requests, FaultsTest,
                         testing::Values(Scenario::ENUMERATE, Scenario::GET, Scenario::GET_MISSING,
                                         Scenario::GET_UNREADABLE_PATH, Scenario::PUT, Scenario::REMOVE,
                                         Scenario::INVOKE, Scenario::REGISTER_SERVER, Scenario::UNREGISTER_SERVER),
                         [](const testing::TestParamInfo<Scenario>& instance) {
                             return std::string(reliability::nameOf(instance.param));
                         });

}  // namespace
