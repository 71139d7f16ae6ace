#include "broker/model/AdapterRules.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/Baseline.h"

namespace {

// The row of the file, with the answer of the rule in place of the expected one.
std::string judged(const std::string& row)
{
    std::istringstream stream(row);
    std::string expected;
    std::string flag;
    broker::InterfaceTraits traits;
    stream >> expected >> traits.type >> flag >> traits.hardwareAddress >> std::ws;
    std::getline(stream, traits.description);
    if (traits.hardwareAddress == "-") {
        traits.hardwareAddress.clear();
    }
    traits.isFilter = flag == "filter";
    return (broker::isPort(traits) ? "port " : "-    ") + row.substr(5);
}

TEST(AdapterRules, Ports_areThoseOfTheTables)
{
    const std::string file = ZERIX_SOURCE_DIR "/tests/broker/model/AdapterRules.txt";
    std::vector<std::string> lines = support::readBaseline(file);
    for (std::string& line : lines) {
        line = line.empty() || line[0] == '#' ? line : judged(line);
    }
    EXPECT_GT(lines.size(), 40U);
    support::expectBaseline(file, lines);
}

}  // namespace
