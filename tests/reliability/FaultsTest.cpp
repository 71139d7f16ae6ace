#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include "reliability/Accounts.h"
#include "reliability/Fault.h"
#include "reliability/Scenario.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"

// Makes every platform call of the provider fail, one at a time, from the class factory to the last release, and looks
// at what the client and everybody else is left with. Each attempt loads the provider anew, so that what it makes on
// first use is made under fire as well.
namespace {

using reliability::Effect;
using reliability::FaultPoint;
using reliability::Outcome;
using reliability::Scenario;
using testing::IsEmpty;

const std::string FAILED = "0x80041001";

struct Attempt
{
    Outcome disturbed;
    // The same once more through the same module, with nothing failing.
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
    std::optional<reliability::ProviderModule> module(std::in_place, registryCalls);
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

std::vector<std::string> finalStatus(const std::string& status)
{
    return {"sink.SetStatus(0, " + status + ", null, null)"};
}

// What the outcome is called among the effects that the failing function may have; empty when it is none of them.
std::string effectOf(Scenario scenario, const FaultPoint& point, const Outcome& normal, const Outcome& found)
{
    const auto may = [&point](Effect effect) { return (point.effects & effect) != 0; };
    if (found == normal && may(Effect::UNCHANGED)) {
        return "unchanged";
    }
    if (may(Effect::VALUE_LOST) && found.answer == normal.answer && found.reports() == normal.reports()) {
        return "value lost";
    }
    if (may(Effect::DENIED) && found.answer == "0x80041003" &&
        found.reports() == finalStatus(support::hex(point.reported))) {
        return "denied";
    }
    if (may(Effect::CREATION_FAILED) && found.answer == "no provider: 0x8007000E" && found.reports().empty()) {
        return "no provider";
    }
    const bool registration = scenario == Scenario::registerServer || scenario == Scenario::unregisterServer;
    if (registration) {
        if (may(Effect::REGISTRATION_FAILED) && found.answer == "0x80004005") {
            return "E_FAIL";
        }
        return may(Effect::OUT_OF_MEMORY) && found.answer == "0x8007000E" ? "E_OUTOFMEMORY" : "";
    }
    const std::map<Effect, std::string> thrown{{Effect::EXCEPTION, "threw utils::Exception"},
                                               {Effect::COM_ERROR, "threw _com_error"},
                                               {Effect::OUT_OF_MEMORY, "threw std::bad_alloc"}};
    for (const auto& [effect, text] : thrown) {
        if (!may(effect)) {
            continue;
        }
        // The path of a retrieval is read before the part of it that catches.
        const bool mayEscape = reliability::letsExceptionsOut(scenario) ||
                               (effect == Effect::OUT_OF_MEMORY && reliability::isRetrieval(scenario));
        if (found.answer == text && found.reports().empty() && mayEscape) {
            return text;
        }
        // So does an update while it is at the broker, which reads the list of values through the provider's code.
        const bool mayBeCaught = !reliability::letsExceptionsOut(scenario) || scenario == Scenario::put;
        if (found.answer == FAILED && found.reports() == finalStatus(FAILED) && mayBeCaught) {
            return "WBEM_E_FAILED";
        }
    }
    return "";
}

// One row of the table: what became of every call of one function.
struct Row
{
    int calls = 0;
    int fired = 0;
    std::map<std::string, int> effects;
};

std::string effectsText(const Row& row)
{
    std::string text;
    for (const auto& [effect, count] : row.effects) {
        text += (text.empty() ? "" : ", ") + effect + " " + std::to_string(count);
    }
    return text;
}

std::string describe(const Outcome& outcome)
{
    return outcome.answer + testing::PrintToString(outcome.reports()) + " " + outcome.disorder;
}

// With debug lines there are hundreds of calls; the ordinary run takes a sample of them.
bool everyCall()
{
    return std::getenv("ZERIX_EVERY_CALL") != nullptr;
}

class FaultsTest : public testing::TestWithParam<Scenario>
{
protected:
    // Fails the calls of every function in turn, and writes the table.
    void failEveryCall(int level)
    {
        const support::LogCapture log(level);
        const HMODULE companion = LoadLibraryA("ZerixCimCore.dll");
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        const support::ComMemory comMemory;
        attempt(GetParam(), comMemory, nullptr, 0);
        const Attempt normal = attempt(GetParam(), comMemory, nullptr, 0);
        ASSERT_THAT(normal.disturbed.disorder + normal.leaks, IsEmpty());

        std::filesystem::create_directories(ZERIX_TABLES);
        std::ofstream table(std::string(ZERIX_TABLES) + "/faults-" + reliability::nameOf(GetParam()) + "-level" +
                            std::to_string(level) + ".md");
        for (const FaultPoint& point : reliability::faultPoints()) {
            // What debug lines add is memory.
            if (level > 1 && std::string(point.function) != "_Znwy") {
                continue;
            }
            const Row row = failEveryCallOf(point, level == 1 || everyCall() ? 1 : 7, normal, comMemory);
            table << "| " << reliability::nameOf(GetParam()) << " | " << level << " | " << point.function << " | "
                  << point.failure << " | " << row.calls << " | " << row.fired << " | " << effectsText(row) << " |\n";
        }
        FreeLibrary(companion);
    }

private:
    Row failEveryCallOf(const FaultPoint& point, int step, const Attempt& normal, const support::ComMemory& comMemory)
    {
        Row row;
        for (int call = 1;; call += step) {
            Attempt found = attempt(GetParam(), comMemory, &point, call);
            if (!found.leaks.empty()) {
                // What the platform sets up on first use stays once; a leak comes back with every attempt.
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
            const std::string effect = effectOf(GetParam(), point, normal.disturbed, found.disturbed);
            EXPECT_FALSE(effect.empty()) << where << ": " << describe(found.disturbed);
            EXPECT_THAT(found.disturbed.disorder + found.leaks, IsEmpty()) << where << ": " << effect;
            EXPECT_EQ(found.next, normal.next) << where << ": the next request: " << describe(found.next);
            ++row.effects[effect.empty() ? "UNDEFINED" : effect];
        }
        return row;
    }
};

TEST_P(FaultsTest, everyFailingCallHasItsDefinedOutcomeAndLeavesNothingBehind)
{
    failEveryCall(1);
}

TEST_P(FaultsTest, memoryMayRunOutWhileDebugLinesAreWritten)
{
    failEveryCall(2);
}

INSTANTIATE_TEST_SUITE_P(Requests, FaultsTest,
                         testing::Values(Scenario::enumerate, Scenario::get, Scenario::getMissing,
                                         Scenario::getUnreadablePath, Scenario::put, Scenario::remove, Scenario::invoke,
                                         Scenario::registerServer, Scenario::unregisterServer),
                         [](const testing::TestParamInfo<Scenario>& instance) {
                             return std::string(reliability::nameOf(instance.param));
                         });

}  // namespace
