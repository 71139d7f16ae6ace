#pragma once

#include <string>
#include <utility>
#include <vector>

namespace wmihost {

enum class MetricType
{
    GAUGE,
    COUNTER
};

// Names and values in UTF-8, in the order in which they are written.
using Labels = std::vector<std::pair<std::string, std::string>>;

struct MetricSample
{
    Labels labels;
    double value = 0;
};

// The samples of one metric. Its name is a valid one, and the name of a counter ends in "_total".
struct MetricFamily
{
    std::string name;
    std::string help;
    MetricType type = MetricType::GAUGE;
    std::vector<MetricSample> samples;
};

// The families in Prometheus' text format, version 0.0.4: lines that end in a line feed, no time stamps. Families
// without samples are left out. Of several samples with the same labels the first is written, since a collector refuses
// a whole file for one that occurs twice. Control characters in texts become spaces, and label values are cut after 256
// bytes.
std::string prometheusText(const std::vector<MetricFamily>& families);

}  // namespace wmihost
