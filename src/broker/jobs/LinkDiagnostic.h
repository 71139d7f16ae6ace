#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/model/SettingsStore.h"
#include "broker/platform/AdapterSource.h"

namespace broker {

// Samples the state and the counters of an adapter. Knows no clock and asks no platform: it is told both. A sample
// passes when the adapter is up and no error or discard was counted since the sample before. Times are in microseconds.
class LinkDiagnostic
{
public:
    // `start` is the adapter at the start of the job, from which the first sample counts.
    LinkDiagnostic(const DiagnosticSetting& setting, std::uint16_t sampleCount, Adapter start, std::uint64_t startTime);

    const Adapter& adapter() const noexcept { return m_last; }

    // When the next sample is due.
    std::uint64_t nextDue() const noexcept { return m_nextDue; }

    // Takes what was read at the time. False when there is nothing to sample: the adapter is gone or cannot be read.
    bool takeSample(const std::optional<Adapter>& reading, std::uint64_t time);

    bool isComplete() const noexcept { return m_bytesReceived.size() == m_sampleCount; }
    std::uint16_t percentComplete() const noexcept;

    // Of the samples that were to be taken, so that an unfinished diagnostic does not look better than it is.
    std::uint8_t passedPercent() const noexcept;
    bool isPassed() const noexcept { return isComplete() && passedPercent() >= m_thresholdPercent; }

    // One entry per sample.
    const std::vector<std::uint32_t>& bytesReceived() const noexcept { return m_bytesReceived; }
    const std::vector<std::uint32_t>& bytesTransmitted() const noexcept { return m_bytesTransmitted; }

    // One text per sample that did not pass.
    const std::vector<std::string>& problems() const noexcept { return m_problems; }

private:
    std::size_t m_sampleCount;
    std::uint64_t m_period;
    std::uint8_t m_thresholdPercent;
    Adapter m_last;
    std::uint64_t m_nextDue;
    std::vector<std::uint32_t> m_bytesReceived;
    std::vector<std::uint32_t> m_bytesTransmitted;
    std::vector<std::string> m_problems;
};

}  // namespace broker
