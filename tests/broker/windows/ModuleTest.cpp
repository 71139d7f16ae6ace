#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Os/Windows/Platform.h"
#include "broker/Properties.h"
#include "core/CimBroker.h"
#include "core/CimPropertyTypes.h"

namespace {

using testing::ElementsAre;

constexpr const char* GET_BROKER = "_ZN4core12GetCimBrokerEv";
constexpr const char* GET_INSTANCE = "_ZN4core9CimBroker17getInstanceByPathERNS_7CimPathE";

// The built library, loaded as the provider's import loads it.
class Library
{
public:
    Library() : m_module(LoadLibraryA("ZerixCimCore.dll"))
    {
        if (m_module == nullptr) {
            throw std::runtime_error("ZerixCimCore.dll does not load: " + std::to_string(GetLastError()));
        }
    }
    ~Library() { FreeLibrary(m_module); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    template <class Function>
    Function function(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

    core::CimBroker* broker() const { return function<core::CimBroker* (*)()>(GET_BROKER)(); }

    core::CimInstance* find(const std::string& text) const
    {
        core::CimPath path(text);
        return function<core::CimInstance* (*)(core::CimBroker*, core::CimPath&)>(GET_INSTANCE)(broker(), path);
    }

    std::vector<std::string> exports() const
    {
        const auto* base = reinterpret_cast<const char*>(m_module);
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
        const auto* directory = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
            base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
        const auto* names = reinterpret_cast<const DWORD*>(base + directory->AddressOfNames);
        std::vector<std::string> result;
        for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
            result.emplace_back(base + names[i]);
        }
        // An entry without a name would be an export too.
        EXPECT_EQ(directory->NumberOfFunctions, directory->NumberOfNames);
        return result;
    }

private:
    HMODULE m_module;
};

TEST(Module, ExportsTheTwoEntryPointsAndNothingElse)
{
    EXPECT_THAT(Library().exports(), ElementsAre(GET_BROKER, GET_INSTANCE));
}

TEST(Module, BrokerIsTheSameOnEveryCallAndThread)
{
    const Library library;
    core::CimBroker* broker = library.broker();
    ASSERT_NE(broker, nullptr);
    EXPECT_EQ(library.broker(), broker);
    core::CimBroker* others = nullptr;
    std::thread([&] { others = library.broker(); }).join();
    EXPECT_EQ(others, broker);
}

TEST(Module, EveryServedInstanceIsFoundByItsPath)
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

TEST(Module, CanBeUnloadedWhileThreadsHoldInstances)
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
    // The thread ends after the module that served it.
    SetEvent(done);
    holder.join();
    CloseHandle(done);
    CloseHandle(held);
    EXPECT_GT(Library().broker()->getInstances("Zerix_EthernetPort").size(), 0U);
}

// A running diagnostic of the machine's first port.
std::string startDiagnostic(const Library& library, std::uint16_t samples)
{
    auto ports = library.broker()->getInstances("Zerix_EthernetPort");
    core::CimPath port(ports.getIterator().next()->toPathString());
    core::CimPropertyList in;
    core::CimPropertyUint16 count("SampleCount");
    in.add(&count);
    count.setValue(samples);
    core::CimPropertyList out;
    core::CimInstance* job = nullptr;
    EXPECT_EQ(library.broker()->invokeMethod(port, "RunLinkDiagnostic", in, out, job), 4096U);
    return job == nullptr ? std::string() : job->toPathString();
}

// Waits, for ten seconds at most, until the library is out of the process.
bool unloads()
{
    for (int i = 0; i < 1000 && GetModuleHandleA("ZerixCimCore.dll") != nullptr; ++i) {
        Sleep(10);
    }
    return GetModuleHandleA("ZerixCimCore.dll") == nullptr;
}

void setSamplePeriod(const Library& library, std::uint16_t milliseconds)
{
    core::CimPath path("Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"");
    core::CimPropertyList values;
    core::CimPropertyUint16 period("SamplePeriodMilliseconds");
    values.add(&period);
    period.setValue(milliseconds);
    library.broker()->modifyInstance(path, values);
}

void restoreDefaults(const Library& library)
{
    core::CimPath path("Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"");
    core::CimPropertyList none;
    core::CimInstance* job = nullptr;
    EXPECT_EQ(library.broker()->invokeMethod(path, "RestoreDefaults", none, none, job), 0U);
}

TEST(Module, DiagnosticOfALivePortCompletesWithItsSamples)
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
    auto results = library.broker()->getInstances("Zerix_DiagnosticResult");
    core::CimInstance* result = results.getIterator().next();
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(static_cast<core::CimPropertyUint32_arr*>(result->getProperties().findProperty("SampleBytesReceived"))
                  ->getValue()
                  .size(),
              5U);
    library.find(path)->markForDeletion(true);
    EXPECT_EQ(library.find(path), nullptr);
    restoreDefaults(library);
}

TEST(Module, RunningJobHoldsTheModuleAndNobodyWaits)
{
    {
        const Library library;
        setSamplePeriod(library, 100);
        startDiagnostic(library, 3);
        restoreDefaults(library);
    }
    EXPECT_NE(GetModuleHandleA("ZerixCimCore.dll"), nullptr);
    EXPECT_TRUE(unloads());
}

TEST(Module, DeletedJobLetsTheModuleGoAtOnce)
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

TEST(Module, ProcessEndsWhileAJobRuns)
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

TEST(Module, SettingsSurviveTheModule)
{
    std::string path;
    {
        const Library library;
        auto listed = library.broker()->getInstances("Zerix_AdapterSetting");
        path = listed.getIterator().next()->toPathString();
        core::CimPath parsed(path);
        core::CimPropertyList values;
        core::CimPropertyString label("ElementName");
        values.add(&label);
        label.setValue("Uplink");
        library.broker()->modifyInstance(parsed, values);
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

}  // namespace
