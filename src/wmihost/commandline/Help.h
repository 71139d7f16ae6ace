#pragma once

#include <memory>

#include <CLI/CLI.hpp>

namespace wmihost {

// Help that fits the width of the terminal, and that shows the options of the program below those of each command.
std::shared_ptr<CLI::FormatterBase> helpFormatter();

}  // namespace wmihost
