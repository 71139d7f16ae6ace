#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "Os/Windows/Platform.h"
#include "broker/Properties.h"
#include "broker/windows/BrokerLibrary.h"
#include "broker/windows/RegistryStorage.h"
#include "broker/windows/ServiceRegistry.h"
#include "core/CimBroker.h"
#include "core/CimPropertyTypes.h"
#include "support/ImportHook.h"

namespace {

using support::GET_BROKER;
using support::GET_INSTANCE;
using support::Library;
using support::setSamplePeriod;
using support::startDiagnostic;
using testing::ElementsAre;

TEST(Module, Exports_areTheTwoEntryPoints)
{
    EXPECT_THAT(Library().exports(), ElementsAre(GET_BROKER, GET_INSTANCE));
}

TEST(Module, Broker_isTheSameOnEachCall)
{
    const Library library;
    core::CimBroker* broker = library.broker();
    ASSERT_NE(broker, nullptr);
    EXPECT_EQ(library.broker(), broker);
    core::CimBroker* others = nullptr;
    std::thread([&] { others = library.broker(); }).join();
    EXPECT_EQ(others, broker);
}

TEST(Module, EachInstance_isFoundByItsPath)
{
    const Library library;
    for (const char* className :
         {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_IPProtocolEndpoint", "Zerix_SoftwareIdentity",
          "Zerix_RegisteredProfile", "Zerix_PortImplementsEndpoint", "Zerix_ElementConformsToProfile",
          "Zerix_AdapterSetting", "Zerix_ElementSettingData", "Zerix_DiagnosticSetting"})
    {
        auto listed = library.broker()->getInstances(className);
        const std::vector<std::string> listedPaths = support::paths(listed);
        EXPECT_FALSE(listedPaths.empty()) << className;
        for (const std::string& path : listedPaths) {
            core::CimInstance* found = library.find(path);
            ASSERT_NE(found, nullptr) << path;
            EXPECT_EQ(found->toPathString(), path);
        }
    }
}

TEST(Module, Unloading_whileThreadsHoldInstances_works)
{
    const HANDLE done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE held = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread holder;
    {
        const Library library;
        holder = std::thread([&library, done, held] {
            library.broker()->getInstances("Zerix_EthernetPort");
            SetEvent(held);
            WaitForSingleObject(done, INFINITE);
        });
        WaitForSingleObject(held, INFINITE);
        library.broker()->getInstances("Zerix_EthernetPort");
    }
    EXPECT_EQ(GetModuleHandleA("ZerixCimCore.dll"), nullptr);
    // The thread ends after the module that it has used.
    SetEvent(done);
    holder.join();
    CloseHandle(done);
    CloseHandle(held);
    EXPECT_GT(Library().broker()->getInstances("Zerix_EthernetPort").size(), 0U);
}

// Waits, at most ten seconds, until the process has unloaded the library.
bool unloads()
{
    for (int i = 0; i < 1000 && GetModuleHandleA("ZerixCimCore.dll") != nullptr; ++i) {
        Sleep(10);
    }
    return GetModuleHandleA("ZerixCimCore.dll") == nullptr;
}

void restoreDefaults(const Library& library)
{
    core::CimPath path(support::DIAGNOSTICS);
    core::CimPropertyList in;
    core::CimPropertyList out;
    core::CimInstance* job = nullptr;
    EXPECT_EQ(library.broker()->invokeMethod(path, "RestoreDefaults", in, out, job), 0U);
}

TEST(Module, Diagnostic_ofALivePort_completes)
{
    const Library library;
    setSamplePeriod(library, 10);
    const std::string path = startDiagnostic(library, 5);
    std::string state;
    for (int i = 0; i < 500 && state != "7"; ++i) {
        Sleep(10);
        core::CimInstance* job = library.find(path);
        ASSERT_NE(job, nullptr);
        state = support::value(*job, "JobState");
    }
    EXPECT_EQ(state, "7");
    const std::string bytes =
        support::value(*library.find(support::firstPath(library, "Zerix_DiagnosticResult")), "SampleBytesReceived");
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), ','), 4) << bytes;
    library.find(path)->markForDeletion(true);
    EXPECT_EQ(library.find(path), nullptr);
    restoreDefaults(library);
}

TEST(Module, RunningJob_holdsTheModule)
{
    {
        const Library library;
        setSamplePeriod(library, 100);
        ASSERT_NE(startDiagnostic(library, 3), "");
        restoreDefaults(library);
    }
    EXPECT_NE(GetModuleHandleA("ZerixCimCore.dll"), nullptr);
    EXPECT_TRUE(unloads());
}

TEST(Module, DeletedJob_releasesTheModuleAtOnce)
{
    const auto begin = GetTickCount64();
    {
        const Library library;
        setSamplePeriod(library, 60'000);
        const std::string path = startDiagnostic(library, 600);
        restoreDefaults(library);
        Sleep(50);
        library.find(path)->markForDeletion(true);
        EXPECT_EQ(library.find(path), nullptr);
    }
    EXPECT_TRUE(unloads());
    EXPECT_LT(GetTickCount64() - begin, 8'000U);
}

TEST(Module, ProcessEnd_whileAJobRuns_isClean)
{
    EXPECT_EXIT(
        {
            const Library library;
            startDiagnostic(library, 600);
            Sleep(20);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Module, Settings_outliveTheModule)
{
    std::string path;
    {
        const Library library;
        path = support::firstPath(library, "Zerix_AdapterSetting");
        support::change<core::CimPropertyString>(library, path, "ElementName", "Uplink");
    }
    ASSERT_TRUE(unloads());
    {
        const Library library;
        core::CimInstance* setting = library.find(path);
        ASSERT_NE(setting, nullptr);
        EXPECT_EQ(support::value(*setting, "ElementName"), "Uplink");
    }
    EXPECT_EQ(RegDeleteTreeA(HKEY_LOCAL_MACHINE, "Software\\Vexal\\DRAVEv2\\Adapters"), ERROR_SUCCESS);
}

bool isStored(const std::string& id)
{
    return broker::RegistryStorage().read("Jobs").value().contains(id);
}

// The process may write only below these two keys, and its clients may not write there.
TEST(Module, Jobs_areStoredAsTheProcessAlone)
{
    const Library library;
    setSamplePeriod(library, 60'000);
    for (const char* key : {"Software\\Vexal\\DRAVEv2\\Jobs", "Software\\Vexal\\DRAVEv2\\Results"}) {
        HKEY made = nullptr;
        RegCreateKeyExA(HKEY_LOCAL_MACHINE, key, 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr);
        RegCloseKey(made);
    }
    const support::ServiceRegistry registry(GetModuleHandleA("ZerixCimCore.dll"));
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    const std::string path = startDiagnostic(library, 600);
    ASSERT_NE(path, "");
    const std::string id = support::value(*library.find(path), "InstanceID");
    EXPECT_TRUE(isStored(id));
    library.find(path)->markForDeletion(true);
    EXPECT_FALSE(isStored(id));
    // A client's changes of settings are written under the client's identity.
    restoreDefaults(library);
    RevertToSelf();
    EXPECT_EQ(registry.refused(), 0);
}

// Counted on the thread that unloads the module.
std::atomic<int> callsAtDetach{0};
std::atomic<DWORD> unloadingThread{0};

template <class Function>
struct Counted;
template <class Result, class... Arguments>
struct Counted<Result(WINAPI*)(Arguments...)>
{
    static Result WINAPI call(Arguments... /*arguments*/)
    {
        callsAtDetach += GetCurrentThreadId() == unloadingThread ? 1 : 0;
        return {};
    }
};

// Counts the library's calls of the function from now on.
template <class Function>
void count(const char* name)
{
    support::ImportHook(name, &Counted<Function>::call, GetModuleHandleA("ZerixCimCore.dll")).abandon();
}

TEST(Module, Detach_callsNeitherRegistryNorEventLog)
{
    {
        const Library library;
        library.broker()->getInstances("Zerix_ConcreteJob");
        library.broker()->getInstances("Zerix_AdapterSetting");
        unloadingThread = GetCurrentThreadId();
        count<decltype(&RegOpenKeyExA)>("RegOpenKeyExA");
        count<decltype(&RegCreateKeyExA)>("RegCreateKeyExA");
        count<decltype(&RegSetValueExA)>("RegSetValueExA");
        count<decltype(&RegDeleteValueA)>("RegDeleteValueA");
        count<decltype(&RegCloseKey)>("RegCloseKey");
        count<decltype(&RegNotifyChangeKeyValue)>("RegNotifyChangeKeyValue");
        count<decltype(&ReportEventA)>("ReportEventA");
    }
    EXPECT_TRUE(unloads());
    EXPECT_EQ(callsAtDetach, 0);
}

}  // namespace
