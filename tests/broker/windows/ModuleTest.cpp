#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <string>
#include <thread>

#include "Os/Windows/Platform.h"
#include "broker/Properties.h"
#include "broker/windows/BrokerLibrary.h"
#include "broker/windows/RegistryStorage.h"
#include "core/CimBroker.h"
#include "core/CimPropertyTypes.h"
#include "support/WrappedImport.h"

namespace {

using support::Library;
using support::setSamplePeriod;
using support::startDiagnostic;

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

TEST(Module, Unloading_whileThreadsHoldInstances_works)
{
    std::promise<void> held;
    std::promise<void> end;
    std::thread holder;
    {
        const Library library;
        holder = std::thread([&] {
            library.broker()->getInstances("Zerix_EthernetPort");
            held.set_value();
            end.get_future().wait();
        });
        held.get_future().wait();
        library.broker()->getInstances("Zerix_EthernetPort");
    }
    EXPECT_EQ(GetModuleHandleA("ZerixCimCore.dll"), nullptr);
    // The thread ends after the module that it has used.
    end.set_value();
    holder.join();
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

// The job would take ten hours.
TEST(Module, DeletedJob_releasesTheModuleAtOnce)
{
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

// The registry as in WMI's host process, which runs under a service account and may write only below the existing keys
// of jobs and results. A thread with a client's token may not write even there.
const std::array<std::string, 2> KEYS_OF_JOBS{"Software\\Vexal\\DRAVEv2\\Jobs", "Software\\Vexal\\DRAVEv2\\Results"};
std::atomic<int> deniedAccesses{0};

bool isClient()
{
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) {
        return GetLastError() != ERROR_NO_TOKEN;
    }
    CloseHandle(token);
    return true;
}

LSTATUS WINAPI openAsService(HKEY root, LPCSTR path, DWORD options, REGSAM access, PHKEY key)
{
    constexpr REGSAM WRITING = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | DELETE | WRITE_DAC | WRITE_OWNER;
    const bool isOfJobs = std::find(KEYS_OF_JOBS.begin(), KEYS_OF_JOBS.end(), path) != KEYS_OF_JOBS.end();
    if ((access & WRITING) != 0 && isClient() == isOfJobs) {
        ++deniedAccesses;
        return ERROR_ACCESS_DENIED;
    }
    return RegOpenKeyExA(root, path, options, access, key);
}

// A process that may not write above the key cannot create it.
LSTATUS WINAPI createAsService(HKEY root, LPCSTR path, DWORD reserved, LPSTR className, DWORD options, REGSAM access,
                               LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition)
{
    const LSTATUS status = openAsService(root, path, options, access, key);
    if (status == ERROR_FILE_NOT_FOUND && isClient()) {
        return RegCreateKeyExA(root, path, reserved, className, options, access, security, key, disposition);
    }
    deniedAccesses += status == ERROR_FILE_NOT_FOUND ? 1 : 0;
    return status;
}

TEST(Module, Jobs_areStoredAsTheProcessAlone)
{
    deniedAccesses = 0;
    const Library library;
    setSamplePeriod(library, 60'000);
    for (const std::string& path : KEYS_OF_JOBS) {
        HKEY key = nullptr;
        RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr);
        RegCloseKey(key);
    }
    const HMODULE module = GetModuleHandleA("ZerixCimCore.dll");
    const support::ImportHook open("RegOpenKeyExA", &openAsService, module);
    const support::ImportHook create("RegCreateKeyExA", &createAsService, module);
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    const std::string path = startDiagnostic(library, 600);
    ASSERT_NE(path, "");
    const std::string id = support::value(*library.find(path), "InstanceID");
    const auto isStored = [&id] { return broker::RegistryStorage().read("Jobs").value().contains(id); };
    EXPECT_TRUE(isStored());
    library.find(path)->markForDeletion(true);
    EXPECT_FALSE(isStored());
    // A client's changes of settings are written under the client's identity.
    restoreDefaults(library);
    RevertToSelf();
    EXPECT_EQ(deniedAccesses, 0);
}

// Counted on the thread that unloads the module.
std::atomic<int> callsAtDetach{0};
std::atomic<DWORD> unloadingThread{0};

constexpr auto counted = [](auto original, auto... arguments) {
    callsAtDetach += GetCurrentThreadId() == unloadingThread ? 1 : 0;
    return original(arguments...);
};

// Counts the library's calls of the function from now on.
template <class Function>
void count(const char* name)
{
    support::WrappedImport<Function, counted>::install(name, GetModuleHandleA("ZerixCimCore.dll"))->abandon();
}

TEST(Module, Detach_callsNeitherRegistryNorEventLog)
{
    {
        const Library library;
        library.broker()->getInstances("Zerix_ConcreteJob");
        library.broker()->getInstances("Zerix_AdapterSetting");
        unloadingThread = GetCurrentThreadId();
        count<decltype(RegOpenKeyExA)>("RegOpenKeyExA");
        count<decltype(RegCreateKeyExA)>("RegCreateKeyExA");
        count<decltype(RegSetValueExA)>("RegSetValueExA");
        count<decltype(RegDeleteValueA)>("RegDeleteValueA");
        count<decltype(RegCloseKey)>("RegCloseKey");
        count<decltype(RegNotifyChangeKeyValue)>("RegNotifyChangeKeyValue");
        count<decltype(ReportEventA)>("ReportEventA");
    }
    EXPECT_TRUE(unloads());
    EXPECT_EQ(callsAtDetach, 0);
}

}  // namespace
