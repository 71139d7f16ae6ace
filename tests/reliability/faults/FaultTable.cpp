#include "reliability/faults/FaultTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

#include "support/CallLog.h"

namespace reliability {

namespace {

const std::string FAILED = "0x80041001";
const std::string NOT_FOUND = "0x80041002";
const std::string UNEXPECTED = "0x8004101D";

std::vector<std::string> finalStatus(const std::string& status)
{
    return {"sink.SetStatus(0, " + status + ", null, null)"};
}

// The answer of a machine that lacks the data of the failing call.
bool isNotThere(Scenario scenario, const Outcome& normal, const Outcome& found)
{
    if (scenario != Scenario::ENUMERATE) {
        return found.answer == NOT_FOUND && found.reports() == finalStatus(NOT_FOUND);
    }
    const std::vector<std::string> reports = found.reports();
    return found.answer == "0x00000000" && !reports.empty() && reports.size() < normal.reports().size() &&
           reports.back() == "sink.SetStatus(0, 0x00000000, null, null)";
}

// The normal outcome of a diagnostic's start, with the return value 4 (Failed) in place of 4096 (started).
bool isNotStarted(const Outcome& normal, const Outcome& found)
{
    static const std::regex started("^(Out#\\d+\\.Put\\(ReturnValue, 0, VT_I4 )4096,");
    Outcome failed = normal;
    for (std::string& call : failed.calls) {
        call = std::regex_replace(call, started, "$014,");
    }
    return failed != normal && found == failed;
}

// Returns the name of the outcome if it is one of the function's permitted effects, and otherwise an empty text.
// `normal` is the outcome without a failure.
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
    if (may(Effect::NOT_THERE) && isNotThere(scenario, normal, found)) {
        return "not there";
    }
    if (may(Effect::NOT_STARTED) && isNotStarted(normal, found)) {
        return "not started";
    }
    const bool registration = scenario == Scenario::REGISTER_SERVER || scenario == Scenario::UNREGISTER_SERVER;
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
        // A retrieval or a method call reads its arguments before it starts to catch exceptions.
        const bool mayEscape = reliability::letsExceptionsOut(scenario) ||
                               (effect == Effect::OUT_OF_MEMORY && reliability::readsArgumentsFirst(scenario));
        if (found.answer == text && found.reports().empty() && mayEscape) {
            return text;
        }
        // An update turns some exceptions into a status: the broker reads the values through the provider's code.
        const bool mayBeCaught = !reliability::letsExceptionsOut(scenario) || scenario == Scenario::PUT;
        if (found.answer == FAILED && found.reports() == finalStatus(FAILED) && mayBeCaught) {
            return "WBEM_E_FAILED";
        }
        // A removal recognises only a few exceptions of a broker by their types.
        if (effect == Effect::EXCEPTION && scenario == Scenario::REMOVE && found.answer == UNEXPECTED &&
            found.reports() == finalStatus(UNEXPECTED))
        {
            return "WBEM_E_UNEXPECTED";
        }
    }
    return "";
}

std::string describe(const Outcome& outcome)
{
    return outcome.answer + testing::PrintToString(outcome.reports()) + " " + outcome.disorder;
}

}  // namespace

std::string leaksText(const ModuleMemory& memory, const Balance& before, const Balance& after)
{
    std::string text;
    if (memory.live() != 0) {
        text += std::to_string(memory.live()) + " C++ blocks are left after the modules are gone; ";
    }
    if (before != after) {
        text += "handles " + std::to_string(before.handles) + " -> " + std::to_string(after.handles) + ", COM blocks " +
                std::to_string(before.comBlocks) + " -> " + std::to_string(after.comBlocks);
    }
    return text;
}

std::string effectsText(const Row& row)
{
    std::string text;
    for (const auto& [effect, count] : row.effects) {
        text += (text.empty() ? "" : ", ") + effect + " " + std::to_string(count);
    }
    return text;
}

Row failEveryCall(const std::string& request, Scenario scenario, const FaultPoint& point, int step,
                  const Attempt& normal, const std::function<Attempt(int call)>& attempt)
{
    Row row;
    for (int call = 1;; call += step) {
        Attempt found = attempt(call);
        // What the platform and the run time open at first use stays once, and some of it is opened late: an event for
        // a mutex when two threads first meet at it, a directory for the first name. A leak grows with every attempt.
        for (int i = 0; i < 3 && !found.leaks.empty(); ++i) {
            found = attempt(call);
        }
        row.calls = std::max(row.calls, found.calls);
        if (!found.fired) {
            return row;
        }
        ++row.fired;
        const std::string where = request + ": " + point.function + " (" + point.failure + "), call " +
                                  std::to_string(call) + " of " + std::to_string(found.calls);
        const std::string effect = effectOf(scenario, point, normal.disturbed, found.disturbed);
        EXPECT_FALSE(effect.empty()) << where << ": " << describe(found.disturbed);
        EXPECT_EQ(found.disturbed.disorder + found.leaks, "") << where << ": " << effect;
        EXPECT_EQ(found.next, normal.next) << where << ": the next request: " << describe(found.next);
        ++row.effects[effect.empty() ? "UNDEFINED" : effect];
    }
}

bool everyCall()
{
    return std::getenv("ZERIX_EVERY_CALL") != nullptr;
}

}  // namespace reliability
