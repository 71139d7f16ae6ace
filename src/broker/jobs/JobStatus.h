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
    // How long the job is kept once it has ended.
    std::chrono::microseconds retention{0};

    bool isRunning() const noexcept { return state == JobState::RUNNING; }
};

// A job as it is stored.
struct StoredJob
{
    JobStatus status;
    // The process that carries it on, or did.
    std::string host;
    // Means nothing while the job runs.
    WallTime endTime;
};

// What a diagnostic found; never changes.
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
