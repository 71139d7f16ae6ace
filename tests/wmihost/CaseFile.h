#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/Baseline.h"

namespace wmihost {

// Expects that the file holds the outcome of each of its cases, and shows the differing lines if not.
// ZERIX_ACCEPT_BASELINES=1 writes the outcomes. A case is a heading "## Name", a text of any number of lines, and the
// outcome in one line behind "=> ". Fails if the file has no case.
inline void expectOutcomes(const std::string& file, const std::function<std::string(const std::string& text)>& outcome)
{
    std::vector<std::string> lines;
    std::string text;
    bool hasCases = false;
    for (const std::string& line : support::readBaseline(file)) {
        if (line.starts_with("=> ")) {
            lines.push_back("=> " + outcome(text));
            hasCases = true;
        } else {
            lines.push_back(line);
            text = line.starts_with("## ") ? "" : text + (text.empty() ? "" : "\n") + line;
        }
    }
    ASSERT_TRUE(hasCases) << file;
    support::expectBaseline(file, lines);
}

}  // namespace wmihost
