#include <gmock/gmock.h>

#include <set>

#include "requests/LiveProvider.h"
#include "support/ImportHook.h"

// The built provider and the built broker on this machine's real adapters, with the classes of the installed MOF.
// Every value that the provider delivers has to match its property's declaration.
namespace {

using LiveRequestTest = requests::LiveProvider;
using requests::textOf;

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
    const std::string path = "Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"";
    const auto period = [&] {
        const auto found = get(path).objects;
        utils::ScopedVariant value;
        EXPECT_EQ(found.at(0)->Get(L"SamplePeriodMilliseconds", 0, value.address(), nullptr, nullptr), 0);
        return value.get().lVal;
    };
    const LONG before = period();
    const auto setting = get(path).objects;
    VARIANT changed = samples::i4(before + 1);
    ASSERT_EQ(setting.at(0)->Put(L"SamplePeriodMilliseconds", 0, &changed, 0), 0);
    {
        const HMODULE broker = GetModuleHandleA("ZerixCimCore.dll");
        const support::ImportHook create("RegCreateKeyExA", &createDenied, broker);
        const support::ImportHook open("RegOpenKeyExA", &openToReadOnly, broker);
        EXPECT_EQ(support::hex(put(setting.at(0).get()).status), "0x80041003");
    }
    EXPECT_EQ(period(), before);
}

}  // namespace
