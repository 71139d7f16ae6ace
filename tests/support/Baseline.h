#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// Compares whole outputs with files beside the tests. With ZERIX_ACCEPT_BASELINES=1 in the environment a comparison
// writes the file and does not fail.
namespace support {

// Replaces addresses by <address>, and line numbers by <line> except in files whose line numbers are fixed.
std::string withoutAddressesAndLines(const std::string& line);

// Fails the running test and shows the differing lines if the file is missing or does not hold exactly these
// lines.
void expectBaseline(const std::string& file, const std::vector<std::string>& lines);

// Compares a file of cases. A line "FUNCTION [TEXT]" is a case: the function of that name turns the text into lines,
// which stand below it, indented. Blank lines and lines that start with '#' are comments. Fails if the file has no
// case.
using CaseFunctions = std::map<std::string, std::function<std::vector<std::string>(const std::string& text)>>;
void expectCases(const std::string& file, const CaseFunctions& functions);

// Returns whether comparisons write their files.
bool acceptsBaselines();

// Returns the lines of the file, or none when it is missing.
std::vector<std::string> readBaseline(const std::string& file);

}  // namespace support
