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

// The built provider and the built broker on this machine's real adapters, with the classes of the installed MOF.
// Every value that the provider delivers has to match its property's declaration.
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

TEST_F(LiveRequestTest, Ports_areThisMachinesAdapters)
{
    std::set<std::string> identifiers;
    for (const wmihost::ComPtr<IWbemClassObject>& port : enumerate("Zerix_EthernetPort").objects) {
        identifiers.insert(textOf(port.get(), L"DeviceID"));
    }
    EXPECT_FALSE(identifiers.empty());
    EXPECT_EQ(identifiers, adapterIdentifiers());
    EXPECT_EQ(log.events(), support::Lines{});
}

TEST_F(LiveRequestTest, Port_isFoundAgainUnderItsPath)
{
    const auto ports = enumerate("Zerix_EthernetPort").objects;
    EXPECT_FALSE(ports.empty());
    for (const wmihost::ComPtr<IWbemClassObject>& port : ports) {
        const std::string path = textOf(port.get(), L"__RELPATH");
        const auto found = get(path);
        EXPECT_EQ(found.status, 0) << path;
        ASSERT_EQ(found.objects.size(), 1U);
        EXPECT_EQ(textOf(found.objects[0].get(), L"DeviceID"), textOf(port.get(), L"DeviceID"));
    }
    EXPECT_EQ(log.events(), support::Lines{});
}

// Jobs and results exist only after a client has started a diagnostic.
const std::set<std::string> MAY_BE_EMPTY{"Zerix_AffectedJobElement", "Zerix_ConcreteJob", "Zerix_DiagnosticResult"};

TEST_F(LiveRequestTest, EveryClass_hasInstancesAndNoErrorLine)
{
    std::size_t classes = 0;
    for (const wchar_t* const name : {L"root\\DCIM\\vexal", L"root\\interop"}) {
        serve(name);
        for (const std::string& className : classNames()) {
            const Answer answer = enumerate(className);
            EXPECT_EQ(answer.status, 0) << className;
            EXPECT_TRUE(!answer.objects.empty() || MAY_BE_EMPTY.contains(className)) << className;
            EXPECT_EQ(log.events(), support::Lines{}) << className;
            ++classes;
        }
    }
    EXPECT_EQ(classes, 17U);
}

}  // namespace
