#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace wmihost {

// A script that makes a shell complete the program's commands, options, their words, and the names of classes.
std::string bashCompletion(const CLI::App& program);
std::string powershellCompletion(const CLI::App& program);

}  // namespace wmihost
