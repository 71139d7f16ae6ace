#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "broker/windows/PlatformAdapters.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"
#include "support/WrappedImport.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

constexpr const char* DRIVERS = R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318})";
constexpr const char* MINIPORT = "{8E301A52-AFFA-4F49-B9CA-C79096A1A056}";
constexpr const char* DEBUGGER = "{29898C9D-B0A4-4FEF-BDB6-57A562022CEE}";
constexpr const char* CARD = "{71F897D7-EB7C-4D8D-89DB-AC80D9DD2270}";

// The usual sums of flags for a WAN Miniport, a card, and a virtual adapter with a settings page.
constexpr DWORD MINIPORT_FLAGS = 0x29;
constexpr DWORD CARD_FLAGS = 0x84;
constexpr DWORD VIRTUAL_FLAGS = 0x81;

// The list of drivers, which the test sets.
class HiddenAdapters : public testing::Test
{
protected:
    static std::string path(const char* key) { return std::string(DRIVERS) + "\\" + key; }

    static void setFlags(const char* key, DWORD flags, DWORD type = REG_DWORD)
    {
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, path(key).c_str(), "Characteristics", type, &flags, sizeof(flags));
    }

    static void setGuid(const char* key, const std::string& guid, DWORD type = REG_SZ)
    {
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, path(key).c_str(), "NetCfgInstanceId", type, guid.c_str(),
                        static_cast<DWORD>(guid.size() + 1));
    }

    static void add(const char* key, DWORD flags, const char* guid)
    {
        setFlags(key, flags);
        setGuid(key, guid);
    }

    broker::PlatformAdapters m_source;
    const support::PrivateRegistry m_registry;
    const support::LogCapture m_log{1};
};

TEST_F(HiddenAdapters, DriverWithTheFlag_isHidden)
{
    add("0000", MINIPORT_FLAGS, MINIPORT);
    add("0001", CARD_FLAGS, CARD);
    add("0002", 0x9, DEBUGGER);
    add("0003", VIRTUAL_FLAGS, "{00000000-0000-0000-0000-000000000001}");
    add("0004", MINIPORT_FLAGS, "{8e301a52-affa-4f49-b9ca-c79096a1a056}");
    EXPECT_THAT(m_source.readHiddenAdapters(), ElementsAre(MINIPORT, DEBUGGER, MINIPORT))
        << "GUIDs are given in upper case";
}

// A hidden adapter is found in the tables by its GUID, which therefore has the same form everywhere.
TEST_F(HiddenAdapters, Guid_isThatOfTheTables)
{
    const auto addresses = m_source.readAddresses();
    ASSERT_FALSE(addresses.empty());
    const std::string guid = addresses[0].adapterGuid;
    add("0000", MINIPORT_FLAGS, guid.c_str());
    EXPECT_THAT(m_source.readHiddenAdapters(), ElementsAre(guid));
    EXPECT_THAT(m_source.readAdapters(), Contains(Field(&broker::Adapter::guid, guid)));
    EXPECT_THAT(m_source.readIpConfigurations(), Contains(Field(&broker::IpConfiguration::adapterGuid, guid)));
}

TEST_F(HiddenAdapters, DriverThatSaysNothing_isShown)
{
    setGuid("0000", CARD);
    setFlags("0001", MINIPORT_FLAGS);
    setFlags("0002", MINIPORT_FLAGS, REG_BINARY);
    setGuid("0002", CARD);
    setFlags("0003", MINIPORT_FLAGS);
    setGuid("0003", CARD, REG_EXPAND_SZ);
    setFlags("0004", MINIPORT_FLAGS);
    setGuid("0004", std::string(CARD) + " and more");
    add("Configuration", 0, CARD);
    EXPECT_THAT(m_source.readHiddenAdapters(), IsEmpty());
}

std::string refusedKey;

constexpr auto refuseKey = [](auto original, HKEY root, LPCSTR path, auto... arguments) {
    return refusedKey == path ? ERROR_ACCESS_DENIED : original(root, path, arguments...);
};

TEST_F(HiddenAdapters, MissingOrRefusedKey_isSkipped)
{
    EXPECT_THAT(m_source.readHiddenAdapters(), IsEmpty());
    add("0000", MINIPORT_FLAGS, MINIPORT);
    add("0001", MINIPORT_FLAGS, DEBUGGER);
    const auto hook = support::WrappedImport<decltype(RegOpenKeyExA), refuseKey>::install("RegOpenKeyExA", nullptr);
    refusedKey = "0000";
    EXPECT_THAT(m_source.readHiddenAdapters(), ElementsAre(DEBUGGER));
    refusedKey = DRIVERS;
    EXPECT_THAT(m_source.readHiddenAdapters(), IsEmpty());
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(HiddenAdapters, NamesOrValues_thatAreRefused_hideNone)
{
    add("0000", MINIPORT_FLAGS, MINIPORT);
    {
        const support::ImportHook refused("RegEnumKeyExA", support::returning<ERROR_ACCESS_DENIED>(&RegEnumKeyExA));
        EXPECT_THAT(m_source.readHiddenAdapters(), IsEmpty());
    }
    const support::ImportHook refused("RegQueryValueExA", support::returning<ERROR_ACCESS_DENIED>(&RegQueryValueExA));
    EXPECT_THAT(m_source.readHiddenAdapters(), IsEmpty());
}

}  // namespace
