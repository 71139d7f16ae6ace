#include "wmihost/commands/JobFollower.h"

#include <chrono>
#include <cstddef>
#include <string>

#include "wmihost/commands/Report.h"
#include "wmihost/commands/Requests.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Interrupt.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr auto PAUSE = std::chrono::milliseconds(100);
constexpr long COMPLETED = 7;
constexpr long FIRST_END_STATE = COMPLETED;
constexpr std::size_t JOB_BAR_WIDTH = 30;

struct JobState
{
    long state = 0;
    long percent = 0;
    std::string word;

    bool operator==(const JobState&) const = default;
};

long numberOf(IWbemClassObject& object, const wchar_t* name)
{
    const Variant value = valueOf(object, name);
    return value.type() == VT_I4 ? value.get().lVal : 0;
}

JobState read(Connection& connection, const InstanceTarget& job, const CommandOptions& options)
{
    const auto object = getInstance(connection, job, options);
    const Property& property = propertyOf(*job.target.definition, L"JobState");
    return {numberOf(*object.get(), L"JobState"), numberOf(*object.get(), L"PercentComplete"),
            displayText(property, valueOf(*object.get(), L"JobState").get())};
}

void show(const JobState& state, bool terminal, const CommandOptions& options)
{
    if (options.quiet) {
        return;
    }
    const std::string text = std::to_string(state.percent) + " % " + state.word;
    if (!terminal) {
        writeError(text + "\n");
        return;
    }
    const std::size_t filled = JOB_BAR_WIDTH * static_cast<std::size_t>(state.percent) / 100;
    writeStatus("[" + std::string(filled, '#') + std::string(JOB_BAR_WIDTH - filled, '.') + "] " + text + "   ");
}

int interruptedAt(const JobState& state, const InstanceTarget& job, const CommandOptions& options)
{
    writeError("interrupted: the job " + toUtf8(job.path) + " was at " + std::to_string(state.percent) + " %, " +
               state.word +
               (options.jobsGoOn ? "; it goes on\n" : "; it ends with this process, and is then shown as failed\n"));
    return INTERRUPTED_EXIT;
}

}  // namespace

int followJob(Connection& connection, const InstanceTarget& job, const CommandOptions& options)
{
    const InterruptGuard guard;
    const bool terminal = errorIsTerminal();
    JobState shown;
    JobState now = read(connection, job, options);
    while (true) {
        if (!(now == shown)) {
            show(now, terminal, options);
            shown = now;
        }
        if (now.state >= FIRST_END_STATE || !guard.pause(PAUSE)) {
            break;
        }
        now = read(connection, job, options);
    }
    writeHint(options, terminal ? "\n" : "");
    if (now.state < FIRST_END_STATE) {
        return interruptedAt(now, job, options);
    }
    writeRemark(options, "job ended: " + std::to_string(now.state) + " (" + now.word + ")\n");
    return now.state == COMPLETED ? 0 : 1;
}

}  // namespace wmihost
