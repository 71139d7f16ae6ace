#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "broker/platform/Machine.h"

namespace broker {

enum class JobState : std::uint16_t
{
    RUNNING = 4,
    COMPLETED = 7,
    TERMINATED = 8,
    KILLED = 9,
    EXCEPTION = 10
};

// A job at one moment.
struct JobStatus
{
    std::string id;
    std::string adapterName;
    std::string adapterGuid;
    std::string owner;
    JobState state = JobState::RUNNING;
    std::uint16_t percentComplete = 0;
    // Empty unless the state is EXCEPTION.
    std::string error;
    WallTime startTime;
    std::chrono::microseconds elapsed{0};
    // The time for which the job is kept after its end.
    std::chrono::microseconds retention{0};

    bool isRunning() const noexcept { return state == JobState::RUNNING; }
};

// The stored form of a job.
struct StoredJob
{
    JobStatus status;
    // The name of the process that runs or ran it.
    std::string host;
    // Unspecified while the job runs.
    WallTime endTime;
};

// The findings of a diagnostic. They never change.
struct DiagnosticResult
{
    std::string id;
    std::string jobId;
    std::string adapterGuid;
    JobState jobState = JobState::COMPLETED;
    bool isPassed = false;
    std::uint8_t passedPercent = 0;
    WallTime startTime;
    std::chrono::microseconds duration{0};
    std::vector<std::uint32_t> bytesReceived;
    std::vector<std::uint32_t> bytesTransmitted;
    std::vector<std::string> errors;
};

}  // namespace broker
