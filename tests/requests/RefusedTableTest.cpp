#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "requests/LiveProvider.h"
#include "support/PrivateRegistry.h"
#include "support/Thrown.h"
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
    const char* subject;
    // The classes that cannot be enumerated without the table, the class itself included.
    std::vector<std::string> classes;

    friend void PrintTo(const Table& table, std::ostream* out) { *out << table.function; }
};

const std::vector<Table>& tables()
{
    static const std::vector<Table> all{
        {"GetIfTable2",
         &support::WrappedImport<decltype(GetIfTable2), refused>::install,
         "Zerix_EthernetPort",
         {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_AdapterSetting", "Zerix_ElementStatisticalData",
          "Zerix_PortImplementsEndpoint", "Zerix_PortIPConfiguration", "Zerix_ElementConformsToProfile",
          "Zerix_ElementSettingData", "Zerix_PortDiagnosticSetting"}},
        {"GetAdaptersAddresses",
         &support::WrappedImport<decltype(GetAdaptersAddresses), refused>::install,
         "Zerix_IPProtocolEndpoint",
         {"Zerix_IPProtocolEndpoint", "Zerix_IPConfiguration", "Zerix_PortImplementsEndpoint",
          "Zerix_PortIPConfiguration"}},
        {"GetIpInterfaceTable",
         &support::WrappedImport<decltype(GetIpInterfaceTable), refused>::install,
         "Zerix_IPConfiguration",
         {"Zerix_IPConfiguration", "Zerix_PortIPConfiguration"}},
    };
    return all;
}

std::string nameOf(const testing::TestParamInfo<Table>& table)
{
    return table.param.function;
}

class RefusedTable : public requests::LiveProvider, public testing::WithParamInterface<Table>
{
protected:
    void SetUp() override
    {
        LiveProvider::SetUp();
        refusals = 0;
        const auto before = enumerate(GetParam().subject).objects;
        ASSERT_THAT(before, Not(IsEmpty())) << "this machine has no adapter with an address";
        m_object = before[0];
        m_path = requests::textOf(m_object.get(), L"__RELPATH");
        m_hook = GetParam().hook(GetParam().function, GetModuleHandleA("ZerixCimCore.dll"));
    }

    void TearDown() override { m_hook.reset(); }

    static void refuse(ULONG status, int times = 1'000)
    {
        refusal = status;
        refusals = times;
        asked = 0;
    }

    static bool needsTable(const std::string& className)
    {
        const std::vector<std::string>& classes = GetParam().classes;
        return std::find(classes.begin(), classes.end(), className) != classes.end();
    }

    // Hides the jobs and results of other tests.
    const support::PrivateRegistry m_registry;
    wmihost::ComPtr<IWbemClassObject> m_object;
    std::string m_path;
    std::unique_ptr<support::ImportHook> m_hook;
};

TEST_P(RefusedTable, Enumeration_fails)
{
    refuse(ERROR_ACCESS_DENIED);
    const std::string reason = std::string("DRAVEv2: ") + GetParam().function + " error 5";
    for (const std::string& name : classNames()) {
        const std::string thrown =
            support::thrownBy<utils::EFailed>([&] { EXPECT_EQ(enumerate(name).status, 0) << name; });
        EXPECT_EQ(thrown, needsTable(name) ? reason : "nothing was thrown") << name;
    }
}

TEST_P(RefusedTable, GetAndPut_fail)
{
    refuse(ERROR_ACCESS_DENIED);
    EXPECT_EQ(get(m_path).status, HRESULT(WBEM_E_FAILED));
    EXPECT_THAT(log.events(), Not(IsEmpty()));
    EXPECT_EQ(put(m_object.get()).status, HRESULT(WBEM_E_FAILED));
}

TEST_P(RefusedTable, RefusedOnce_isAskedAgain)
{
    refuse(ERROR_ACCESS_DENIED, 1);
    EXPECT_EQ(get(m_path).status, 0);
    EXPECT_EQ(asked, 2);
}

TEST_P(RefusedTable, AfterARefusal_allIsAsBefore)
{
    refuse(ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(get(m_path).status, HRESULT(WBEM_E_FAILED));
    EXPECT_EQ(get(m_path).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Tables, RefusedTable, testing::ValuesIn(tables()), nameOf);

using RefusedAdapters = RefusedTable;

TEST_P(RefusedAdapters, Method_fails)
{
    refuse(ERROR_ACCESS_DENIED);
    EXPECT_EQ(execute(m_path, GetParam().subject, "RunLinkDiagnostic").status, HRESULT(WBEM_E_FAILED));
}

INSTANTIATE_TEST_SUITE_P(Tables, RefusedAdapters, testing::Values(tables()[0]), nameOf);

// The two errors that mean an empty table. Without the table of the families a configuration lacks four values.
using EmptyTable = RefusedTable;

TEST_P(EmptyTable, RefusedTable_givesEmptyLists)
{
    for (const ULONG status : {ERROR_NO_DATA, ERROR_ADDRESS_NOT_ASSOCIATED}) {
        refuse(status);
        for (const std::string& name : classNames()) {
            const Answer answer = enumerate(name);
            EXPECT_EQ(answer.status, 0) << name;
            if (needsTable(name)) {
                EXPECT_THAT(answer.objects, IsEmpty()) << name;
            }
        }
        EXPECT_EQ(get(m_path).status, HRESULT(WBEM_E_NOT_FOUND));
        EXPECT_EQ(put(m_object.get()).status, HRESULT(WBEM_E_NOT_FOUND));
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, EmptyTable, testing::Values(tables()[0], tables()[1]), nameOf);

}  // namespace
