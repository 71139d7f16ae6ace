#include "broker/jobs/LinkDiagnostic.h"

#include <algorithm>
#include <utility>

#include "Utils/Utils.h"
#include "broker/model/AdapterRules.h"

namespace broker {

namespace {

constexpr std::size_t ALL_PERCENT = 100;

// The increase of a counter of bytes or packets. After a restart of the driver the counter starts at 0 again.
std::uint64_t moved(std::uint64_t before, std::uint64_t now) noexcept
{
    return now >= before ? now - before : now;
}

// The number of lost packets. After a restart of the driver nobody knows whether the counted packets were lost in this
// sample or before it, so they are ignored.
std::uint64_t lost(std::uint64_t before, std::uint64_t now) noexcept
{
    return now >= before ? now - before : 0;
}

// The value, or the largest number of 32 bits if it does not fit.
std::uint32_t clamped(std::uint64_t value) noexcept
{
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, UINT32_MAX));
}

// Network stacks discard a packet now and then without harm, for example one of a burst or one for an unknown protocol.
// So only more than one packet and more than one in a hundred counts as a loss.
bool areTooMany(std::uint64_t discards, std::uint64_t packets) noexcept
{
    return discards > 1 && discards > packets / ALL_PERCENT;
}

// Why the sample does not pass, or an empty text.
std::string problem(const Adapter& before, const Adapter& now)
{
    if (!hasLink(now)) {
        return "the link is down";
    }
    const Counters& from = before.counters;
    const Counters& to = now.counters;
    const std::uint64_t errors =
        lost(from.receiveErrors, to.receiveErrors) + lost(from.transmitErrors, to.transmitErrors);
    if (errors != 0) {
        return utils::format("%llu packets in error", static_cast<unsigned long long>(errors));
    }
    const std::uint64_t discards =
        lost(from.receiveDiscards, to.receiveDiscards) + lost(from.transmitDiscards, to.transmitDiscards);
    const std::uint64_t packets = moved(from.unicastPacketsReceived, to.unicastPacketsReceived) +
                                  moved(from.unicastPacketsTransmitted, to.unicastPacketsTransmitted) +
                                  moved(from.nonUnicastPacketsReceived, to.nonUnicastPacketsReceived) +
                                  moved(from.nonUnicastPacketsTransmitted, to.nonUnicastPacketsTransmitted);
    if (areTooMany(discards, packets)) {
        return utils::format("%llu of %llu packets discarded", static_cast<unsigned long long>(discards),
                             static_cast<unsigned long long>(packets));
    }
    return {};
}

}  // namespace

LinkDiagnostic::LinkDiagnostic(const DiagnosticSetting& setting, std::uint16_t sampleCount, Adapter start,
                               SteadyTime startTime)
    : m_sampleCount(sampleCount),
      m_period(setting.samplePeriod),
      m_thresholdPercent(setting.passThresholdPercent),
      m_last(std::move(start)),
      m_nextDue(startTime + m_period)
{
    // After this, adding a sample cannot fail between its two numbers.
    m_bytesReceived.reserve(sampleCount);
    m_bytesTransmitted.reserve(sampleCount);
}

bool LinkDiagnostic::takeSample(const std::optional<Adapter>& reading, SteadyTime time)
{
    // Another adapter may have taken the place of the one that is gone.
    if (!reading || reading->guid != m_last.guid) {
        return false;
    }
    m_bytesReceived.push_back(clamped(moved(m_last.counters.bytesReceived, reading->counters.bytesReceived)));
    m_bytesTransmitted.push_back(clamped(moved(m_last.counters.bytesTransmitted, reading->counters.bytesTransmitted)));
    const std::string text = problem(m_last, *reading);
    if (!text.empty()) {
        ++m_failedSamples;
        m_problems.push_back(utils::format("Sample %d: %s", static_cast<int>(m_bytesReceived.size()), text.c_str()));
    }
    m_hasSeenTraffic = m_hasSeenTraffic || m_bytesReceived.back() != 0 || m_bytesTransmitted.back() != 0;
    if (isComplete() && !m_hasSeenTraffic) {
        m_problems.emplace_back("Nothing was seen: no byte was received or transmitted during the samples");
    }
    m_last = *reading;
    // The period starts now and not when this sample was due, so that delayed samples do not follow each other at once.
    m_nextDue = time + m_period;
    return true;
}

std::uint16_t LinkDiagnostic::percentComplete() const noexcept
{
    return static_cast<std::uint16_t>(m_bytesReceived.size() * ALL_PERCENT / m_sampleCount);
}

std::uint8_t LinkDiagnostic::passedPercent() const noexcept
{
    return m_hasSeenTraffic ? unfailedPercent() : 0;
}

bool LinkDiagnostic::isPassed() const noexcept
{
    return isComplete() && unfailedPercent() >= m_thresholdPercent;
}

std::uint8_t LinkDiagnostic::unfailedPercent() const noexcept
{
    return static_cast<std::uint8_t>((m_bytesReceived.size() - m_failedSamples) * ALL_PERCENT / m_sampleCount);
}

}  // namespace broker
