// The class definitions in the MOF and the classes of the broker must be equal, property by property. No client would
// see a property that differs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>

#include "broker/Fakes.h"
#include "support/TypeName.h"

namespace {

using Classes = std::map<std::string, std::vector<std::string>>;

// "Name: type", followed by " key" for a key and " write" for a writable property.
Classes definedClasses()
{
    static const std::regex classLine(R"(^class (\w+)$)");
    static const std::regex propertyLine(R"(^    (\w+)( ref)? (\w+)(\[\])?;$)");
    static const std::regex qualifiersBegin(R"(^    \[.*$)");
    std::ifstream file(ZERIX_SOURCE_DIR "/install/ZerixDRAVEv2.mof");
    Classes result;
    std::string className;
    std::string qualifiers;
    std::string line;
    while (std::getline(file, line)) {
        std::smatch match;
        if (std::regex_match(line, match, classLine)) {
            className = match[1];
        } else if (line == "};") {
            className.clear();
        } else if (!className.empty() && std::regex_match(line, match, propertyLine)) {
            result[className].push_back(match[3].str() + ": " + (match[2].matched ? "ref" : match[1].str()) +
                                        match[4].str() + (qualifiers.find("[key,") != std::string::npos ? " key" : "") +
                                        (qualifiers.find(" write,") != std::string::npos ? " write" : ""));
        } else if (std::regex_match(line, qualifiersBegin)) {
            qualifiers = line;
        }
    }
    return result;
}

TEST(ClassDefinitions, Definitions_areThoseOfTheInstances)
{
    const Classes defined = definedClasses();
    ASSERT_EQ(defined.size(), 17U);
    fakes::World world;
    world.adapters.set({fakes::adapter(1)});
    world.adapters.set({fakes::address(1, "192.0.2.1")});
    world.adapters.set({fakes::ipConfiguration(1)});
    world.jobs.startDiagnostic(fakes::adapter(1), {}, 1);
    world.work(2);
    broker::Workspace workspace(world.sources());
    for (const auto& [className, expected] : defined) {
        workspace.begin(className);
        const auto* instances = workspace.instances(className);
        ASSERT_NE(instances, nullptr) << className;
        ASSERT_FALSE(instances->records().empty()) << className;
        EXPECT_EQ(instances->records()[0].instance->getClassName(), className);
        std::vector<std::string> served;
        for (const core::CimProperty* property : instances->records()[0].properties) {
            served.push_back(property->getName() + ": " + support::typeName(property->getType()) +
                             (property->isKey() ? " key" : "") + (property->isModifiable() ? " write" : ""));
        }
        EXPECT_EQ(served, expected) << className;
    }
}

}  // namespace
