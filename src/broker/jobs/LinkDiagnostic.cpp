#include "broker/jobs/LinkDiagnostic.h"

#include <algorithm>
#include <utility>

#include "Utils/Utils.h"

namespace broker {

namespace {

constexpr std::uint64_t MICROSECONDS_PER_MILLISECOND = 1000;
constexpr std::size_t ALL_PERCENT = 100;

// How far a counter has come. A driver that restarts counts from 0 again.
std::uint64_t increase(std::uint64_t before, std::uint64_t now) noexcept
{
    return now >= before ? now - before : now;
}

// The most that fits stands for all that does not.
std::uint32_t clamped(std::uint64_t value) noexcept
{
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, UINT32_MAX));
}

// Why the sample does not pass, or an empty text.
std::string problem(const Adapter& before, const Adapter& now)
{
    if (now.operational != OperationalState::UP) {
        return "the link is down";
    }
    const Counters& from = before.counters;
    const Counters& to = now.counters;
    const std::uint64_t lost =
        increase(from.receiveErrors, to.receiveErrors) + increase(from.transmitErrors, to.transmitErrors) +
        increase(from.receiveDiscards, to.receiveDiscards) + increase(from.transmitDiscards, to.transmitDiscards);
    if (lost != 0) {
        return utils::format("%llu packets in error or discarded", static_cast<unsigned long long>(lost));
    }
    return {};
}

}  // namespace

LinkDiagnostic::LinkDiagnostic(const DiagnosticSetting& setting, std::uint16_t sampleCount, Adapter start,
                               std::uint64_t startTime)
    : m_sampleCount(sampleCount),
      m_period(setting.samplePeriodMilliseconds * MICROSECONDS_PER_MILLISECOND),
      m_thresholdPercent(setting.passThresholdPercent),
      m_last(std::move(start)),
      m_nextDue(startTime + m_period)
{
}

bool LinkDiagnostic::takeSample(const std::optional<Adapter>& reading, std::uint64_t time)
{
    // Another adapter may have taken the place of the one that is gone.
    if (!reading || reading->guid != m_last.guid) {
        return false;
    }
    m_bytesReceived.push_back(clamped(increase(m_last.counters.bytesReceived, reading->counters.bytesReceived)));
    m_bytesTransmitted.push_back(
        clamped(increase(m_last.counters.bytesTransmitted, reading->counters.bytesTransmitted)));
    const std::string text = problem(m_last, *reading);
    if (!text.empty()) {
        m_problems.push_back(utils::format("Sample %d: %s", static_cast<int>(m_bytesReceived.size()), text.c_str()));
    }
    m_last = *reading;
    // From now, not from when it was due: samples that were held up must not follow each other at once.
    m_nextDue = time + m_period;
    return true;
}

std::uint16_t LinkDiagnostic::percentComplete() const noexcept
{
    return static_cast<std::uint16_t>(m_bytesReceived.size() * ALL_PERCENT / m_sampleCount);
}

std::uint8_t LinkDiagnostic::passedPercent() const noexcept
{
    return static_cast<std::uint8_t>((m_bytesReceived.size() - m_problems.size()) * ALL_PERCENT / m_sampleCount);
}

}  // namespace broker
