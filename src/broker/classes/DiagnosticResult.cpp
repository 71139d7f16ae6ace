#include <algorithm>
#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/Rows.h"
#include "broker/classes/ServedClasses.h"
#include "broker/classes/Times.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

struct Row
{
    std::shared_ptr<const DiagnosticResult> result;
    // From the same workspace; null if the adapter is gone.
    core::CimInstance* port;
};

std::vector<Row> rows(Workspace& workspace)
{
    return rowsOf(workspace.sources().jobs.results(), [&](const std::shared_ptr<const DiagnosticResult>& result) {
        // Once for each result, so that without results the platform is not asked.
        const InstanceStore::Record* port = workspace.references(ETHERNET_PORT).withId(result->adapterGuid);
        return Row{result, port == nullptr ? nullptr : port->instance.get()};
    });
}

std::string resultId(const Row& row)
{
    return row.result->id;
}
core::CimInstance* port(const Row& row)
{
    return row.port;
}
std::string resultJobId(const Row& row)
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
std::uint16_t completionState(const Row& row)
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
            // The remaining samples could not be taken.
            return INCOMPLETE;
    }
    if (!row.result->isPassed) {
        return FAILED;
    }
    return hasSeenTraffic(*row.result) ? OK : WARNING;
}

std::uint8_t passedPercent(const Row& row)
{
    return row.result->passedPercent;
}
utils::Time resultStart(const Row& row)
{
    return timestamp(row.result->startTime);
}
utils::Time duration(const Row& row)
{
    return period(row.result->duration);
}
const std::vector<std::uint32_t>& bytesReceived(const Row& row)
{
    return row.result->bytesReceived;
}

const std::vector<std::uint32_t>& bytesTransmitted(const Row& row)
{
    return row.result->bytesTransmitted;
}

const std::vector<std::string>& errorMessages(const Row& row)
{
    return row.result->errors;
}

constexpr std::array columns{
    key<&resultId>("InstanceID"),
    // The adapter may disappear between a client's reading and its put.
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

constexpr ClassDescription<Row> definition{
    .name = "Zerix_DiagnosticResult", .columns = columns, .id = &resultId, .rows = &rows};

}  // namespace

const ServedClass diagnosticResult = serve<definition>();

}  // namespace broker
