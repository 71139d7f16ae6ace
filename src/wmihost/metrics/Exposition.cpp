#include "wmihost/metrics/Exposition.h"

#include <utility>

namespace wmihost {

void Exposition::succeeded(std::vector<MetricFamily> metrics, std::chrono::duration<double> took,
                           std::chrono::system_clock::time_point when)
{
    m_metrics = std::move(metrics);
    m_success = true;
    m_took = took;
    m_lastSuccess = when;
}

void Exposition::failed(std::chrono::duration<double> took)
{
    m_success = false;
    m_took = took;
}

std::string Exposition::text() const
{
    std::vector<MetricFamily> families = m_metrics;
    const auto add = [&families](const char* name, const char* help, double value) {
        families.push_back({name, help, MetricType::GAUGE, {{{}, value}}});
    };
    add("zerix_read_success",
        "Whether the latest reading of the machine succeeded. 0: the other values are those of the last good reading.",
        m_success ? 1 : 0);
    add("zerix_read_duration_seconds", "How long the latest reading of the machine took.", m_took.count());
    if (m_lastSuccess) {
        add("zerix_read_last_success_timestamp_seconds",
            "When the last good reading of the machine ended. Absent before the first one.",
            std::chrono::duration<double>(m_lastSuccess->time_since_epoch()).count());
    }
    return prometheusText(families);
}

}  // namespace wmihost
