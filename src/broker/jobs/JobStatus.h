#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace broker {

enum class JobState : std::uint16_t
{
    RUNNING = 4,
    COMPLETED = 7,
    TERMINATED = 8,
    KILLED = 9,
    EXCEPTION = 10
};

// A job at one moment. Times are in microseconds.
struct JobStatus
{
    std::string id;
    std::string adapterName;
    std::string owner;
    JobState state = JobState::RUNNING;
    std::uint16_t percentComplete = 0;
    // Empty unless the state is EXCEPTION.
    std::string error;
    std::uint64_t startTime = 0;
    std::uint64_t elapsed = 0;
    // How long the job is kept once it has ended.
    std::uint64_t retention = 0;
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
    std::uint64_t startTime = 0;
    std::uint64_t duration = 0;
    std::vector<std::uint32_t> bytesReceived;
    std::vector<std::uint32_t> bytesTransmitted;
    std::vector<std::string> errors;
};

}  // namespace broker
