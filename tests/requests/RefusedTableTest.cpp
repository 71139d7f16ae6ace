#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <gmock/gmock.h>

#include <memory>
#include <set>

#include "requests/LiveProvider.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"
#include "support/WrappedImport.h"

// Whole requests on a machine whose tables the platform refuses to read, or whose tables are empty. A refusal must fail
// every request that needs the table, never give an empty list or "not found". An empty table is a valid answer.
namespace {

using testing::IsEmpty;
using testing::Not;

// The number of further reads that the platform refuses, and the error. After that it answers.
int refusals = 0;
ULONG refusal = NO_ERROR;
int asked = 0;

bool refuses()
{
    ++asked;
    return refusals > 0 && refusals-- > 0;
}

constexpr auto refused = [](auto original, auto... arguments) { return refuses() ? refusal : original(arguments...); };

struct Table
{
    const char* function;
    std::unique_ptr<support::ImportHook> (*hook)(const char* function, HMODULE module);
    // A class whose instances each contain a row of the table.
    const wchar_t* subject;
    // The classes that cannot be enumerated without the table, the class itself included.
    std::set<std::wstring> classes;
    // Whether these classes have no instances when the table is empty.
    bool areEmptyWithoutRows;

    friend void PrintTo(const Table& table, std::ostream* out) { *out << table.function; }
};

const Table TABLES[]{
    {"GetIfTable2",
     &support::WrappedImport<decltype(GetIfTable2), refused>::install,
     L"Zerix_EthernetPort",
     {L"Zerix_EthernetPort", L"Zerix_EthernetPortStatistics", L"Zerix_AdapterSetting", L"Zerix_ElementStatisticalData",
      L"Zerix_PortImplementsEndpoint", L"Zerix_PortIPConfiguration", L"Zerix_ElementConformsToProfile",
      L"Zerix_ElementSettingData", L"Zerix_PortDiagnosticSetting"},
     true},
    {"GetAdaptersAddresses",
     &support::WrappedImport<decltype(GetAdaptersAddresses), refused>::install,
     L"Zerix_IPProtocolEndpoint",
     {L"Zerix_IPProtocolEndpoint", L"Zerix_IPConfiguration", L"Zerix_PortImplementsEndpoint",
      L"Zerix_PortIPConfiguration"},
     true},
    // Without the table of the families a configuration lacks four values.
    {"GetIpInterfaceTable",
     &support::WrappedImport<decltype(GetIpInterfaceTable), refused>::install,
     L"Zerix_IPConfiguration",
     {L"Zerix_IPConfiguration", L"Zerix_PortIPConfiguration"},
     false},
};

class RefusedTable : public requests::LiveProvider, public testing::WithParamInterface<Table>
{
protected:
    void SetUp() override
    {
        refusals = 0;
        const auto before = enumerate(GetParam().subject).objects;
        ASSERT_THAT(before, Not(IsEmpty())) << "this machine has no adapter with an address";
        m_object = before[0];
        m_path = wmihost::textOf(*m_object.get(), L"__RELPATH");
        m_hook = GetParam().hook(GetParam().function, GetModuleHandleA("ZerixCimCore.dll"));
    }

    void TearDown() override { m_hook.reset(); }

    static void refuse(ULONG status, int times = 1'000)
    {
        refusal = status;
        refusals = times;
        asked = 0;
    }

    HRESULT statusOfGet() { return session().get(m_path, {}).status; }
    HRESULT statusOfPut() { return session().put(m_object.get(), {}).status; }

    // Hides the jobs and results of other tests.
    const support::PrivateRegistry m_registry;
    wmihost::ComPtr<IWbemClassObject> m_object;
    std::wstring m_path;
    std::unique_ptr<support::ImportHook> m_hook;
};

TEST_P(RefusedTable, RequestsThatNeedIt_fail)
{
    refuse(ERROR_ACCESS_DENIED);
    const std::string reason = std::string("DRAVEv2: ") + GetParam().function + " error 5";
    for (const wmihost::ClassTarget& target : workspace.classes(wmihost::ADAPTER_NAMESPACE)) {
        const std::wstring& name = target.definition->name;
        const wmihost::RequestResult result = enumerate(name);
        EXPECT_EQ(result.exception, GetParam().classes.contains(name) ? reason : "") << name;
        EXPECT_EQ(result.status == 0, !GetParam().classes.contains(name)) << name;
    }
    const support::LogCapture log(1);
    support::captureModule(GetModuleHandleA("ZerixDRAVEv2Provider.dll"));
    EXPECT_EQ(statusOfGet(), HRESULT(WBEM_E_FAILED));
    EXPECT_THAT(log.events(), Not(IsEmpty()));
    EXPECT_EQ(statusOfPut(), HRESULT(WBEM_E_FAILED));
    if (GetParam().subject == std::wstring(L"Zerix_EthernetPort")) {
        const auto arguments = nullArguments(GetParam().subject, L"RunLinkDiagnostic");
        EXPECT_EQ(session().execMethod(m_path, L"RunLinkDiagnostic", arguments.get(), {}).status,
                  HRESULT(WBEM_E_FAILED));
    }
}

TEST_P(RefusedTable, Refusal_isFollowedByASecondTry)
{
    refuse(ERROR_ACCESS_DENIED, 1);
    EXPECT_EQ(statusOfGet(), 0);
    EXPECT_EQ(asked, 2);
    refuse(ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(statusOfGet(), HRESULT(WBEM_E_FAILED));
    EXPECT_EQ(statusOfGet(), 0);
}

// Two errors mean an empty table.
TEST_P(RefusedTable, EmptyTable_isAnAnswer)
{
    for (const ULONG status : {ERROR_NO_DATA, ERROR_ADDRESS_NOT_ASSOCIATED}) {
        refuse(status);
        for (const wmihost::ClassTarget& target : workspace.classes(wmihost::ADAPTER_NAMESPACE)) {
            const std::wstring& name = target.definition->name;
            const wmihost::RequestResult result = enumerate(name);
            EXPECT_EQ(result.status, 0) << name;
            if (GetParam().classes.contains(name)) {
                EXPECT_EQ(result.objects.empty(), GetParam().areEmptyWithoutRows) << name;
            }
        }
        EXPECT_EQ(statusOfGet(), GetParam().areEmptyWithoutRows ? HRESULT(WBEM_E_NOT_FOUND) : 0);
        if (GetParam().areEmptyWithoutRows) {
            EXPECT_EQ(statusOfPut(), HRESULT(WBEM_E_NOT_FOUND));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, RefusedTable, testing::ValuesIn(TABLES),
                         [](const auto& table) { return std::string(table.param.function); });

}  // namespace
