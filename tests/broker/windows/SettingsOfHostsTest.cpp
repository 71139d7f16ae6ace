#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "broker/Properties.h"
#include "broker/windows/BrokerLibrary.h"
#include "broker/windows/TestProcess.h"
#include "support/PrivateRegistry.h"

// Processes change different settings of one record at once through the built library. Each must find the settings that
// it has stored, although the others change the record too.
namespace {

constexpr const char* ROOT_VARIABLE = "ZERIX_SETTINGS_ROOT";
constexpr const char* ROLE_VARIABLE = "ZERIX_SETTINGS_ROLE";
constexpr int CHANGES = 60;

using support::DIAGNOSTICS;

void changeText(const support::Library& library, const std::string& path, const char* name, const std::string& text)
{
    support::change<core::CimPropertyString>(library, path, name, text);
    EXPECT_EQ(support::value(*library.find(path), name), text);
}

// One change writes two settings. A reader sees both or neither.
void changePair(const support::Library& library, std::uint16_t number)
{
    core::CimPath path(DIAGNOSTICS);
    core::CimPropertyUint16 count("SampleCount");
    core::CimPropertyUint16 period("SamplePeriodMilliseconds");
    count.setValue(number);
    period.setValue(static_cast<std::uint16_t>(number + 100));
    core::CimPropertyList values;
    values.add(&count);
    values.add(&period);
    library.broker()->modifyInstance(path, values);
}

void changeRetention(const support::Library& library, std::uint64_t seconds)
{
    support::change<core::CimPropertyUint64>(library, DIAGNOSTICS, "JobRetentionSeconds", seconds);
    core::CimInstance& shown = *library.find(DIAGNOSTICS);
    EXPECT_EQ(support::value(shown, "JobRetentionSeconds"), std::to_string(seconds));
    const std::string count = support::value(shown, "SampleCount");
    EXPECT_EQ(support::value(shown, "SamplePeriodMilliseconds"), std::to_string(std::stoi(count) + 100));
}

// The work of each of the two processes. The test below starts them.
TEST(SettingsOfHostsClient, DISABLED_run)
{
    const char* const root = std::getenv(ROOT_VARIABLE);
    const char* const role = std::getenv(ROLE_VARIABLE);
    if (root == nullptr || role == nullptr) {
        return;
    }
    const support::PrivateRegistry registry(root);
    const support::Library library;
    const std::string adapter = support::firstPath(library, "Zerix_AdapterSetting");
    const bool isFirst = role == std::string("first");
    for (int i = 1; i <= CHANGES; ++i) {
        changeText(library, adapter, isFirst ? "ElementName" : "Tag", role + std::to_string(i));
        if (isFirst) {
            changePair(library, static_cast<std::uint16_t>(i));
        } else {
            changeRetention(library, static_cast<std::uint64_t>(i));
        }
    }
}

TEST(SettingsOfHosts, ChangesAtOnce_areAllKept)
{
    const support::PrivateRegistry registry;
    const support::Library library;
    changePair(library, 1);
    SetEnvironmentVariableA(ROOT_VARIABLE, registry.name().c_str());
    SetEnvironmentVariableA(ROLE_VARIABLE, "first");
    const support::TestProcess first("SettingsOfHostsClient.DISABLED_run");
    SetEnvironmentVariableA(ROLE_VARIABLE, "second");
    const support::TestProcess second("SettingsOfHostsClient.DISABLED_run");
    ASSERT_TRUE(first.hasStarted() && second.hasStarted());
    EXPECT_EQ(first.exitCode(), 0U);
    EXPECT_EQ(second.exitCode(), 0U);
    const std::string last = std::to_string(CHANGES);
    core::CimInstance& adapter = *library.find(support::firstPath(library, "Zerix_AdapterSetting"));
    EXPECT_EQ(support::value(adapter, "ElementName"), "first" + last);
    EXPECT_EQ(support::value(adapter, "Tag"), "second" + last);
    core::CimInstance& diagnostics = *library.find(DIAGNOSTICS);
    EXPECT_EQ(support::value(diagnostics, "SampleCount"), last);
    EXPECT_EQ(support::value(diagnostics, "JobRetentionSeconds"), last);
}

}  // namespace
