#include "broker/classes/JobClasses.h"

#include <algorithm>
#include <array>

#include "Utils/Time.h"

namespace broker {

namespace {

std::string jobId(const JobRow& row)
{
    return row.entry.status.id;
}
std::string jobName(const JobRow& /*row*/)
{
    return "Link Diagnostic";
}
std::string jobDescription(const JobRow& row)
{
    return "Link diagnostic of " + row.entry.status.adapterName;
}

std::string jobStatus(const JobRow& row)
{
    switch (row.entry.status.state) {
        case JobState::RUNNING:
            return "Running";
        case JobState::COMPLETED:
            return "Completed";
        case JobState::TERMINATED:
            return "Terminated";
        case JobState::KILLED:
            return "Killed";
        default:
            return "Failed: " + row.entry.status.error;
    }
}

std::optional<std::string> jobOwner(const JobRow& row)
{
    const std::string& owner = row.entry.status.owner;
    return owner.empty() ? std::nullopt : std::make_optional(owner);
}

std::uint16_t jobState(const JobRow& row)
{
    return static_cast<std::uint16_t>(row.entry.status.state);
}
std::uint16_t percentComplete(const JobRow& row)
{
    return row.entry.status.percentComplete;
}

std::uint16_t errorCode(const JobRow& row)
{
    constexpr std::uint16_t NO_ERROR_FOUND = 0;
    constexpr std::uint16_t ADAPTER_NOT_READ = 1;
    return row.entry.status.state == JobState::EXCEPTION ? ADAPTER_NOT_READ : NO_ERROR_FOUND;
}

// All jobs are of the same urgency.
std::uint32_t priority(const JobRow& /*row*/)
{
    return 0;
}
utils::Time jobStart(const JobRow& row)
{
    return utils::Time::timestamp(row.entry.status.startTime);
}
utils::Time elapsedTime(const JobRow& row)
{
    return utils::Time::period(row.entry.status.elapsed);
}
utils::Time timeBeforeRemoval(const JobRow& row)
{
    return utils::Time::period(row.entry.status.retention);
}
bool deleteOnCompletion(const JobRow& /*row*/)
{
    return true;
}

constexpr std::array jobColumns{
    key<&jobId>("InstanceID"),
    column<&jobName>("Name"),
    column<&jobDescription>("Description"),
    column<&jobStatus>("JobStatus", PutRule::VOLATILE),
    column<&jobOwner>("Owner"),
    column<&jobState>("JobState", PutRule::VOLATILE),
    column<&percentComplete>("PercentComplete", PutRule::VOLATILE),
    column<&errorCode>("ErrorCode", PutRule::VOLATILE),
    column<&priority>("Priority"),
    column<&jobStart>("StartTime"),
    column<&elapsedTime>("ElapsedTime", PutRule::VOLATILE),
    column<&timeBeforeRemoval>("TimeBeforeRemoval"),
    column<&deleteOnCompletion>("DeleteOnCompletion"),
};

std::string resultId(const DiagnosticResultRow& row)
{
    return row.result->id;
}
core::CimInstance* port(const DiagnosticResultRow& row)
{
    return row.port;
}
std::string resultJobId(const DiagnosticResultRow& row)
{
    return row.result->jobId;
}

bool hasSeenTraffic(const DiagnosticResult& result)
{
    const auto isSome = [](std::uint32_t bytes) { return bytes != 0; };
    return std::any_of(result.bytesReceived.begin(), result.bytesReceived.end(), isSome) ||
           std::any_of(result.bytesTransmitted.begin(), result.bytesTransmitted.end(), isSome);
}

// The values of CIM_DiagnosticCompletionRecord.CompletionState.
std::uint16_t completionState(const DiagnosticResultRow& row)
{
    constexpr std::uint16_t OK = 2;
    constexpr std::uint16_t WARNING = 3;
    constexpr std::uint16_t INCOMPLETE = 4;
    constexpr std::uint16_t FAILED = 5;
    constexpr std::uint16_t ABORTED = 6;
    constexpr std::uint16_t STOPPED = 7;
    switch (row.result->jobState) {
        case JobState::TERMINATED:
            return STOPPED;
        case JobState::KILLED:
            return ABORTED;
        case JobState::COMPLETED:
            break;
        default:
            // The samples that were still to come could not be taken.
            return INCOMPLETE;
    }
    if (!row.result->isPassed) {
        return FAILED;
    }
    return hasSeenTraffic(*row.result) ? OK : WARNING;
}

std::uint8_t passedPercent(const DiagnosticResultRow& row)
{
    return row.result->passedPercent;
}
utils::Time resultStart(const DiagnosticResultRow& row)
{
    return utils::Time::timestamp(row.result->startTime);
}
utils::Time duration(const DiagnosticResultRow& row)
{
    return utils::Time::period(row.result->duration);
}
const std::vector<std::uint32_t>& bytesReceived(const DiagnosticResultRow& row)
{
    return row.result->bytesReceived;
}

const std::vector<std::uint32_t>& bytesTransmitted(const DiagnosticResultRow& row)
{
    return row.result->bytesTransmitted;
}

const std::vector<std::string>& errorMessages(const DiagnosticResultRow& row)
{
    return row.result->errors;
}

constexpr std::array resultColumns{
    key<&resultId>("InstanceID"),
    // The adapter may go between a client's reading and its put.
    column<&port>("ManagedElement", PutRule::VOLATILE),
    column<&resultJobId>("JobInstanceID"),
    column<&completionState>("CompletionState"),
    column<&passedPercent>("PassedPercent"),
    column<&resultStart>("StartTime"),
    column<&duration>("Duration"),
    column<&bytesReceived>("SampleBytesReceived"),
    column<&bytesTransmitted>("SampleBytesTransmitted"),
    column<&errorMessages>("ErrorMessages"),
};

}  // namespace

const ClassDescription<JobRow> concreteJobClass{CONCRETE_JOB, jobColumns, &jobId, [](const JobRow& row) {
                                                    return row.table.makeInstance(row.entry.job, CONCRETE_JOB);
                                                }};

const ClassDescription<DiagnosticResultRow> diagnosticResultClass{DIAGNOSTIC_RESULT, resultColumns, &resultId};

}  // namespace broker
