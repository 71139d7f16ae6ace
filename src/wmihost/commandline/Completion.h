#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace wmihost {

// A script for bash that completes the program's commands, options, the words of options, and the names of classes.
std::string bashCompletion(const CLI::App& program);
std::string powershellCompletion(const CLI::App& program);

}  // namespace wmihost
