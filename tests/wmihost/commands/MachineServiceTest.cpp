// The commands with --service and this machine's WMI. Here it is Wine's WMI, which has only a few classes.

#include <array>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/RowName.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

class MachineServiceTest : public CommandTest
{
protected:
    int runService(std::vector<std::string> arguments)
    {
        arguments.emplace_back("--service");
        return run(std::move(arguments));
    }

    // The answer as JSON; null if the command failed. Wine's path texts end with null characters, and rows without
    // the key have no path.
    Json ask(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--format", "json"});
        if (runService(std::move(arguments)) != 0) {
            return Json();
        }
        Json answer = Json::parse(out);
        for (Json& row : answer) {
            if (row.is_object()) {
                row.erase("__PATH");
            }
        }
        return answer;
    }
};

TEST_F(MachineServiceTest, OperatingSystem_isTheOneOfThisMachine)
{
    std::array<wchar_t, 512> build{};
    DWORD size = sizeof build;
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion",
                           L"CurrentBuildNumber", RRF_RT_REG_SZ, nullptr, build.data(), &size),
              ERROR_SUCCESS);
    const Json systems = ask({"list", "Win32_OperatingSystem"});
    ASSERT_EQ(systems.size(), 1U) << error;
    EXPECT_EQ(systems[0]["BuildNumber"], toUtf8(build.data()));
}

TEST_F(MachineServiceTest, Get_findsAnAdapterByItsPath)
{
    const Json adapters = ask({"list", "Win32_NetworkAdapter", "--property", "DeviceID,MACAddress"});
    ASSERT_FALSE(adapters.empty()) << error;
    const std::string path = "Win32_NetworkAdapter.DeviceID='" + adapters.back()["DeviceId"].get<std::string>() + "'";
    Json one = ask({"get", path, "--property", "DeviceID,MACAddress"});
    one.erase("__PATH");
    EXPECT_EQ(one, adapters.back()) << error;
}

TEST_F(MachineServiceTest, StdRegProv_readsTheRegistry)
{
    const std::wstring key = L"Software\\RegistryTest" + std::to_wstring(GetCurrentProcessId());
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, (key + L"\\sub").c_str(), L"Name", REG_SZ, L"text", sizeof L"text"),
              ERROR_SUCCESS);
    const std::string root = "hDefKey=-2147483647";
    const std::string path = "sSubKeyName=" + toUtf8(key);
    const Json keys = ask({"invoke", "StdRegProv", "EnumKey", root, path});
    EXPECT_EQ(keys["ReturnValue"], 0) << error;
    EXPECT_EQ(keys["sNames"], Json({"sub"})) << error;
    EXPECT_EQ(ask({"invoke", "StdRegProv", "GetStringValue", root, path + "\\sub", "sValueName=Name"})["sValue"],
              "text");
    RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    // A return value that means a refusal counts as a failure.
    EXPECT_EQ(runService({"invoke", "StdRegProv", "EnumKey", root, path, "--format", "json"}), 1);
    EXPECT_EQ(Json::parse(out)["ReturnValue"], ERROR_FILE_NOT_FOUND) << out << error;
}

// Queries that the platform's engine supports. Its answer must equal the one that this program computes from the
// classes that it reads through the service, and must not be empty if `matches` is set. Wine finds nothing for a LIKE
// pattern that begins with %.
struct SharedQuery
{
    const char* name;
    const char* text;
    bool matches;
};

void PrintTo(const SharedQuery& row, std::ostream* stream)
{
    *stream << row.text;
}

class SharedQueries : public MachineServiceTest, public testing::WithParamInterface<SharedQuery>
{
};

TEST_P(SharedQueries, Query_isAnsweredAlike)
{
    const Json theirs = ask({"query", GetParam().text});
    ASSERT_TRUE(theirs.is_array()) << error;
    const Json ours = ask({"query", GetParam().text, "--local"});
    ASSERT_TRUE(ours.is_array()) << error;
    EXPECT_EQ(ours, theirs);
    EXPECT_EQ(!ours.empty(), GetParam().matches) << ours;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SharedQueries,
    testing::Values(
        SharedQuery{"Everything", "SELECT * FROM Win32_BIOS", true},
        SharedQuery{"Properties", "SELECT Name, State FROM Win32_Service", true},
        SharedQuery{"Equal", "SELECT Name FROM Win32_Service WHERE Name = 'Winmgmt'", true},
        SharedQuery{"EqualWithoutCase", "SELECT Name FROM Win32_Service WHERE Name = \"winMGMT\"", true},
        SharedQuery{"NotEqual", "SELECT Name FROM Win32_Service WHERE Name <> 'Winmgmt'", true},
        SharedQuery{"NotEqualWithBang", "SELECT Name FROM Win32_Service WHERE Name != 'Winmgmt'", true},
        SharedQuery{"Less", "SELECT Name FROM Win32_Service WHERE Name < 'P'", true},
        SharedQuery{"GreaterOrEqual", "SELECT Name FROM Win32_Service WHERE Name >= 'P'", true},
        SharedQuery{"Nothing", "SELECT Name FROM Win32_Service WHERE Name = 'x'", false},
        SharedQuery{"And", "SELECT Name FROM Win32_Service WHERE Name > 'A' AND State = 'Running'", true},
        SharedQuery{"Or", "SELECT Name FROM Win32_Service WHERE Name = 'Winmgmt' OR Name = 'PlugPlay'", true},
        SharedQuery{"Not", "SELECT Name FROM Win32_Service WHERE NOT Name = 'Winmgmt'", true},
        SharedQuery{"Parentheses",
                    "SELECT Name FROM Win32_Service WHERE (Name = 'Winmgmt' OR Name = 'PlugPlay') AND Name > 'S'",
                    true},
        SharedQuery{"AndBeforeOr",
                    "SELECT Name FROM Win32_Service WHERE Name = 'Winmgmt' OR Name = 'PlugPlay' AND Name > 'S'", true},
        SharedQuery{"LikeTheBegin", "SELECT Name FROM Win32_Service WHERE Name LIKE 'Win%'", true},
        SharedQuery{"LikeNothing", "SELECT Name FROM Win32_Service WHERE Name LIKE 'x%'", false},
        SharedQuery{"Number", "SELECT DeviceID FROM Win32_LogicalDisk WHERE DriveType = 3", true},
        SharedQuery{"NumberLess", "SELECT DeviceID FROM Win32_LogicalDisk WHERE DriveType < 4", true},
        SharedQuery{"NumberNot", "SELECT DeviceID FROM Win32_LogicalDisk WHERE DriveType <> 5", true},
        SharedQuery{"LargeNumber", "SELECT DeviceID FROM Win32_LogicalDisk WHERE Size > 5000000000", true},
        SharedQuery{"BooleanTrue", "SELECT Name FROM Win32_Service WHERE AcceptStop = TRUE", true},
        SharedQuery{"BooleanFalse", "SELECT Name FROM Win32_Service WHERE AcceptStop = FALSE", true},
        SharedQuery{"IsNull", "SELECT DeviceID FROM Win32_NetworkAdapter WHERE MACAddress IS NULL", false},
        SharedQuery{"IsNotNull", "SELECT DeviceID FROM Win32_NetworkAdapter WHERE MACAddress IS NOT NULL", true}),
    rowName);

}  // namespace
}  // namespace wmihost
