#include "reliability/faults/FaultTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace reliability {

namespace {

const std::string FAILED = "0x80041001";
const std::string NOT_FOUND = "0x80041002";
const std::string FORBIDDEN_ANSWER = "0x80041003";
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

}  // namespace

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
    if (may(Effect::FORBIDDEN) && scenario == Scenario::PUT && found.answer == FORBIDDEN_ANSWER &&
        found.reports() == finalStatus(FORBIDDEN_ANSWER))
    {
        return "forbidden";
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

bool everyCall()
{
    return std::getenv("ZERIX_EVERY_CALL") != nullptr;
}

}  // namespace reliability
