// The commands with --service and this machine's WMI. Here it is Wine's WMI, which has only a few
// classes.

#include <algorithm>
#include <array>
#include <set>

#include <winsock2.h>

#include <iphlpapi.h>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"
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

std::string registryText(HKEY root, const wchar_t* key, const wchar_t* name)
{
    std::array<wchar_t, 512> buffer{};
    DWORD size = sizeof buffer;
    EXPECT_EQ(RegGetValueW(root, key, name, RRF_RT_REG_SZ, nullptr, buffer.data(), &size), ERROR_SUCCESS);
    return toUtf8(buffer.data());
}

std::set<std::string> registryKeys(HKEY root, const wchar_t* path)
{
    std::set<std::string> names;
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(root, path, 0, KEY_READ, &key), ERROR_SUCCESS);
    std::array<wchar_t, 256> name{};
    for (DWORD i = 0;; ++i) {
        DWORD length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            break;
        }
        names.insert(toUtf8(std::wstring_view(name.data(), length)));
    }
    RegCloseKey(key);
    return names;
}

// The hardware address, "02:fc:00:00:00:01", of each adapter that has one.
std::multiset<std::string> adapterAddresses()
{
    std::multiset<std::string> addresses;
    ULONG size = 0;
    GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, nullptr, &size);
    std::vector<char> buffer(size);
    auto* first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data());
    EXPECT_EQ(GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, first, &size), ERROR_SUCCESS);
    for (const auto* adapter = first; adapter != nullptr; adapter = adapter->Next) {
        if (adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK) {
            continue;
        }
        std::string text;
        for (ULONG i = 0; i < adapter->PhysicalAddressLength; ++i) {
            std::array<char, 4> byte{};
            std::snprintf(byte.data(), byte.size(), "%02x", adapter->PhysicalAddress[i]);
            text += (text.empty() ? "" : ":") + std::string(byte.data());
        }
        addresses.insert(text);
    }
    return addresses;
}

constexpr const char* LOCAL_MACHINE = "hDefKey=-2147483646";
constexpr const wchar_t* VERSION_KEY = L"Software\\Microsoft\\Windows NT\\CurrentVersion";

TEST_F(MachineServiceTest, OperatingSystem_isTheOneOfThisMachine)
{
    const Json systems = ask({"list", "Win32_OperatingSystem"});
    ASSERT_EQ(systems.size(), 1U) << error;
    EXPECT_EQ(systems[0]["BuildNumber"], registryText(HKEY_LOCAL_MACHINE, VERSION_KEY, L"CurrentBuildNumber"));
}

TEST_F(MachineServiceTest, NetworkAdapters_haveTheAddressesOfTheMachine)
{
    std::multiset<std::string> addresses;
    for (const Json& adapter : ask({"list", "Win32_NetworkAdapter", "--property", "MACAddress"})) {
        addresses.insert(adapter["MACAddress"].is_null() ? "" : adapter["MACAddress"].get<std::string>());
    }
    EXPECT_EQ(addresses, adapterAddresses()) << error;
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
    const Json keys = ask({"invoke", "StdRegProv", "EnumKey", LOCAL_MACHINE, "sSubKeyName=Software"});
    ASSERT_EQ(keys["ReturnValue"], 0) << error;
    EXPECT_EQ(keys["sNames"].get<std::set<std::string>>(), registryKeys(HKEY_LOCAL_MACHINE, L"Software"));
    const Json value = ask({"invoke", "StdRegProv", "GetStringValue", LOCAL_MACHINE,
                            "sSubKeyName=" + toUtf8(VERSION_KEY), "sValueName=CurrentBuildNumber"});
    EXPECT_EQ(value["sValue"], registryText(HKEY_LOCAL_MACHINE, VERSION_KEY, L"CurrentBuildNumber")) << error;
    // A return value that means a refusal counts as a failure.
    EXPECT_EQ(runService({"invoke", "StdRegProv", "EnumKey", LOCAL_MACHINE, "sSubKeyName=Software\\Of nobody",
                          "--format", "json"}),
              1);
    EXPECT_EQ(Json::parse(out)["ReturnValue"], ERROR_FILE_NOT_FOUND) << out << error;
}

TEST_F(MachineServiceTest, Refusals_failTheCommand)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"set", "Win32_Service.Name='Winmgmt'", "DisplayName=x"},
          {"delete", "Win32_Service.Name='Winmgmt'"},
          {"classes", "--namespace", "root\\cimv2"}})
    {
        EXPECT_EQ(runService(arguments), 1) << arguments.front();
        EXPECT_NE(error.find("WBEM_E_FAILED (0x80041001)"), std::string::npos) << error;
        EXPECT_EQ(out, "");
    }
}

TEST_F(MachineServiceTest, UnknownClass_fails)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"list", "Nope"}, {"query", "SELECT * FROM Nope"}, {"get", "Nope='x'"}})
    {
        EXPECT_EQ(runService(arguments), 1) << arguments.front() << out;
        EXPECT_NE(error.find("WMI has no class Nope in"), std::string::npos) << error;
    }
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
