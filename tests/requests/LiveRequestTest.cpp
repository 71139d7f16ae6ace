#include <set>

#include "requests/LiveProvider.h"
#include "support/CapturedModules.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

namespace {

using LiveRequestTest = requests::LiveProvider;

// Jobs and results exist only after a client has started a diagnostic.
const std::set<std::wstring> MAY_BE_EMPTY{L"Zerix_AffectedJobElement", L"Zerix_ConcreteJob", L"Zerix_DiagnosticResult"};

TEST_F(LiveRequestTest, EveryInstance_isFoundUnderItsPath)
{
    const support::LogCapture log(1);
    support::captureModule(GetModuleHandleA("ZerixDRAVEv2Provider.dll"));
    support::captureModule(GetModuleHandleA("ZerixCimCore.dll"));
    const auto classes = workspace.classes(L"");
    EXPECT_EQ(classes.size(), 17U);
    for (const wmihost::ClassTarget& target : classes) {
        const std::wstring& name = target.definition->name;
        const wmihost::RequestResult all = enumerate(name);
        EXPECT_EQ(all.status, 0) << name;
        EXPECT_TRUE(!all.objects.empty() || MAY_BE_EMPTY.contains(name)) << name;
        for (const auto& instance : all.objects) {
            const std::wstring path = wmihost::textOf(*instance.get(), L"__RELPATH");
            const wmihost::RequestResult found = session(name).get(path, {});
            ASSERT_EQ(found.objects.size(), 1U) << path;
            EXPECT_EQ(wmihost::textOf(*found.objects[0].get(), L"__RELPATH"), path);
        }
        EXPECT_EQ(log.events(), std::vector<std::string>{}) << name;
    }
}

// The registry treats the client as an identity that may only read.
LSTATUS WINAPI createDenied(HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, HKEY*, LPDWORD)
{
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI openToReadOnly(HKEY root, LPCSTR path, DWORD options, REGSAM access, HKEY* key)
{
    return access == KEY_READ ? RegOpenKeyExA(root, path, options, access, key) : LSTATUS{ERROR_ACCESS_DENIED};
}

TEST_F(LiveRequestTest, ClientWithoutRights_changesNothing)
{
    const auto setting = [&] {
        return session().get(L"Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"", {}).objects.at(0);
    };
    const auto period = [&] { return wmihost::valueOf(*setting().get(), L"SamplePeriodMilliseconds").get().lVal; };
    const LONG before = period();
    const auto changed = setting();
    VARIANT value = samples::i4(before + 1);
    ASSERT_EQ(changed->Put(L"SamplePeriodMilliseconds", 0, &value, 0), 0);
    {
        const HMODULE broker = GetModuleHandleA("ZerixCimCore.dll");
        const support::ImportHook create("RegCreateKeyExA", &createDenied, broker);
        const support::ImportHook open("RegOpenKeyExA", &openToReadOnly, broker);
        EXPECT_EQ(session().put(changed.get(), {}).status, HRESULT(WBEM_E_ACCESS_DENIED));
    }
    EXPECT_EQ(period(), before);
}

}  // namespace
