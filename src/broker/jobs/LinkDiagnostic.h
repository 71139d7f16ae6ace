#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/model/SettingsStore.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/Machine.h"

namespace broker {

// Samples the state and the counters of an adapter. Pure: the caller passes in the time and what was read. A sample
// passes when the adapter has a link and since the sample before no packet was in error and at most one, or one in a
// hundred, was discarded.
class LinkDiagnostic
{
public:
    // `start` is the adapter at the start of the job, from which the first sample counts.
    LinkDiagnostic(const DiagnosticSetting& setting, std::uint16_t sampleCount, Adapter start, SteadyTime startTime);

    const Adapter& adapter() const noexcept { return m_last; }

    // When the next sample is due.
    SteadyTime nextDue() const noexcept { return m_nextDue; }

    // Takes a sample of what was read at that time. Returns false if the adapter is gone or could not be read.
    bool takeSample(const std::optional<Adapter>& reading, SteadyTime time);

    bool isComplete() const noexcept { return m_bytesReceived.size() == m_sampleCount; }
    std::uint16_t percentComplete() const noexcept;

    // The share of passed samples among all planned ones, so that an unfinished diagnostic does not look better than it
    // is. 0 while no byte has moved, since nothing was seen to pass.
    std::uint8_t passedPercent() const noexcept;

    // Whether enough samples passed. Samples without any traffic count as passed.
    bool isPassed() const noexcept;

    // One entry per sample.
    const std::vector<std::uint32_t>& bytesReceived() const noexcept { return m_bytesReceived; }
    const std::vector<std::uint32_t>& bytesTransmitted() const noexcept { return m_bytesTransmitted; }

    // One text for each sample that did not pass, and one at the end if no byte has moved.
    const std::vector<std::string>& problems() const noexcept { return m_problems; }

private:
    std::uint8_t unfailedPercent() const noexcept;

    std::size_t m_sampleCount;
    std::chrono::milliseconds m_period;
    std::uint8_t m_thresholdPercent;
    Adapter m_last;
    SteadyTime m_nextDue;
    std::vector<std::uint32_t> m_bytesReceived;
    std::vector<std::uint32_t> m_bytesTransmitted;
    std::size_t m_failedSamples = 0;
    bool m_hasSeenTraffic = false;
    std::vector<std::string> m_problems;
};

}  // namespace broker
