#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <array>
#include <memory>
#include <set>

#include "Utils/Utils.h"
#include "requests/LiveProvider.h"

// The built provider with the built broker on this machine's own adapters, and with the classes as they are
// installed: every value that comes has to fit its property's declaration.
namespace {

std::set<std::string> adapterIdentifiers()
{
    MIB_IF_TABLE2* table = nullptr;
    std::set<std::string> result;
    if (GetIfTable2(&table) != NO_ERROR) {
        return result;
    }
    const std::unique_ptr<MIB_IF_TABLE2, void (*)(void*)> owned(table, [](void* memory) { FreeMibTable(memory); });
    for (ULONG i = 0; i < table->NumEntries; ++i) {
        std::array<wchar_t, 39> text{};
        if (table->Table[i].Type != IF_TYPE_SOFTWARE_LOOPBACK) {
            StringFromGUID2(table->Table[i].InterfaceGuid, text.data(), static_cast<int>(text.size()));
            result.insert(utils::narrow(text.data()));
        }
    }
    return result;
}

using LiveRequestTest = requests::LiveProvider;
using requests::textOf;

TEST_F(LiveRequestTest, ThePortsAreThisMachinesAdapters)
{
    std::set<std::string> identifiers;
    for (const wmihost::ComPtr<IWbemClassObject>& port : enumerate("Zerix_EthernetPort").objects) {
        identifiers.insert(textOf(port.get(), L"DeviceID"));
    }
    EXPECT_FALSE(identifiers.empty());
    EXPECT_EQ(identifiers, adapterIdentifiers());
    EXPECT_EQ(log.events(), support::Lines{});
}

TEST_F(LiveRequestTest, EachPortIsFoundAgainUnderItsPath)
{
    for (const wmihost::ComPtr<IWbemClassObject>& port : enumerate("Zerix_EthernetPort").objects) {
        const std::string path = textOf(port.get(), L"__RELPATH");
        const auto found = get(path);
        EXPECT_EQ(found.status, 0) << path;
        ASSERT_EQ(found.objects.size(), 1U);
        EXPECT_EQ(textOf(found.objects[0].get(), L"DeviceID"), textOf(port.get(), L"DeviceID"));
    }
    EXPECT_EQ(log.events(), support::Lines{});
}

TEST_F(LiveRequestTest, EveryClassIsEnumeratedWithoutAnErrorLine)
{
    for (const std::string& name : classNames()) {
        EXPECT_EQ(enumerate(name).status, 0) << name;
        EXPECT_EQ(log.events(), support::Lines{}) << name;
    }
}

}  // namespace
