#pragma once

#include <string>
#include <vector>

// Whole outputs kept in files beside the tests. With ZERIX_ACCEPT_BASELINES=1 in the environment a comparison writes
// the file anew instead of failing.
namespace support {

// Addresses as <address>, and line numbers as <line> except in the files whose numbers are part of their text.
std::string withoutAddressesAndLines(const std::string& line);

// Fails the running test, and shows the lines that differ, when the file is missing or does not hold exactly these
// lines.
void expectBaseline(const std::string& file, const std::vector<std::string>& lines);

// Whether comparisons write their files.
bool acceptsBaselines();

// The lines of the file; none when it is missing.
std::vector<std::string> readBaseline(const std::string& file);

}  // namespace support
