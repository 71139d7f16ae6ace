#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/classes/Times.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

struct Row
{
    Jobs& jobs;
    JobStatus status;
};

std::vector<Row> rows(Workspace& workspace)
{
    Jobs& jobs = workspace.sources().jobs;
    std::vector<JobStatus> all = jobs.jobs();
    std::vector<Row> result;
    result.reserve(all.size());
    for (JobStatus& status : all) {
        result.push_back({jobs, std::move(status)});
    }
    return result;
}

// Deletes the job when it is marked for deletion.
std::unique_ptr<core::CimInstance> makeInstance(const Row& row)
{
    return row.jobs.makeInstance(row.status.id, CONCRETE_JOB);
}

std::string jobId(const Row& row)
{
    return row.status.id;
}
std::string jobName(const Row& /*row*/)
{
    return "Link Diagnostic";
}
std::string jobDescription(const Row& row)
{
    return "Link diagnostic of " + row.status.adapterName;
}

std::string jobStatus(const Row& row)
{
    switch (row.status.state) {
        case JobState::RUNNING:
            return "Running";
        case JobState::COMPLETED:
            return "Completed";
        case JobState::TERMINATED:
            return "Terminated";
        case JobState::KILLED:
            return "Killed";
        default:
            return "Failed: " + row.status.error;
    }
}

std::optional<std::string> jobOwner(const Row& row)
{
    const std::string& owner = row.status.owner;
    return owner.empty() ? std::nullopt : std::make_optional(owner);
}

std::uint16_t jobState(const Row& row)
{
    return static_cast<std::uint16_t>(row.status.state);
}
std::uint16_t percentComplete(const Row& row)
{
    return row.status.percentComplete;
}

std::uint16_t errorCode(const Row& row)
{
    constexpr std::uint16_t NO_ERROR_FOUND = 0;
    constexpr std::uint16_t ADAPTER_NOT_READ = 1;
    return row.status.state == JobState::EXCEPTION ? ADAPTER_NOT_READ : NO_ERROR_FOUND;
}

std::optional<std::string> errorDescription(const Row& row)
{
    const std::string& error = row.status.error;
    return error.empty() ? std::nullopt : std::make_optional(error);
}

// All jobs are of the same urgency.
std::uint32_t priority(const Row& /*row*/)
{
    return 0;
}
utils::Time jobStart(const Row& row)
{
    return timestamp(row.status.startTime);
}
utils::Time elapsedTime(const Row& row)
{
    return period(row.status.elapsed);
}
utils::Time timeBeforeRemoval(const Row& row)
{
    return period(row.status.retention);
}
bool deleteOnCompletion(const Row& /*row*/)
{
    return true;
}

constexpr std::array columns{
    key<&jobId>("InstanceID"),
    column<&jobName>("Name"),
    column<&jobDescription>("Description"),
    column<&jobStatus>("JobStatus", PutRule::VOLATILE),
    column<&jobOwner>("Owner"),
    column<&jobState>("JobState", PutRule::VOLATILE),
    column<&percentComplete>("PercentComplete", PutRule::VOLATILE),
    column<&errorCode>("ErrorCode", PutRule::VOLATILE),
    column<&errorDescription>("ErrorDescription", PutRule::VOLATILE),
    column<&priority>("Priority"),
    column<&jobStart>("StartTime"),
    column<&elapsedTime>("ElapsedTime", PutRule::VOLATILE),
    column<&timeBeforeRemoval>("TimeBeforeRemoval"),
    column<&deleteOnCompletion>("DeleteOnCompletion"),
};

constexpr ClassDescription<Row> definition{
    .name = CONCRETE_JOB, .columns = columns, .id = &jobId, .rows = &rows, .make = &makeInstance};

}  // namespace

const ServedClass concreteJob = serve<definition>();

}  // namespace broker
