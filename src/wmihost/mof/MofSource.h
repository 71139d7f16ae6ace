#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace wmihost::mof {

// The text of a MOF file in UTF-8, without a byte order mark; a file in UTF-16 has to begin with one. Nothing if the
// file cannot be read.
std::optional<std::string> readSource(const std::filesystem::path& file);

}  // namespace wmihost::mof
