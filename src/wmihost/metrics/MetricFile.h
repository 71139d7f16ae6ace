#pragma once

#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace wmihost {

// A file of metrics that could not be written; what() says in UTF-8 which one and why.
class MetricFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Puts a text in the place of a file in one step: a reader sees the old text or the new one, whole. While a reader
// holds the file in a way that forbids its replacement, it is tried again for up to five seconds. The text is first
// written beside the file under its name with ".tmp" behind it, which collectors do not read. Throws MetricFileError;
// the file is then as it was. Only one process at a time may write a file.
void replaceMetricFile(const std::filesystem::path& file, std::string_view text);

}  // namespace wmihost
