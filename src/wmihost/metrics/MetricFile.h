#pragma once

#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace wmihost {

// A file of metrics could not be written; what() says in UTF-8 which one and why.
class MetricFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Replaces the content of a file atomically: a reader sees the whole old text or the whole new one. If a reader's open
// handle forbids the replacement, tries again for up to five seconds. The text is first written to a file with the
// additional ending ".tmp" in the same folder, which collectors ignore. Throws MetricFileError; the file is then
// unchanged. Only one process at a time may write a file.
void replaceMetricFile(const std::filesystem::path& file, std::string_view text);

}  // namespace wmihost
