#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "wmihost/metrics/PrometheusText.h"

namespace wmihost {

// The text for a collector: the metrics of the last successful reading and its time, and the outcome and duration of
// the latest reading. Used by one thread at a time.
class Exposition
{
public:
    void succeeded(std::vector<MetricFamily> metrics, std::chrono::duration<double> took,
                   std::chrono::system_clock::time_point when);
    // Keeps the metrics of the last successful reading.
    void failed(std::chrono::duration<double> took);

    // In Prometheus' text format. At least one reading must have been reported.
    std::string text() const;

private:
    std::vector<MetricFamily> m_metrics;
    bool m_success = false;
    std::chrono::duration<double> m_took{};
    std::optional<std::chrono::system_clock::time_point> m_lastSuccess;
};

}  // namespace wmihost
