#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "reliability/Surroundings.h"
#include "support/LogCapture.h"
#include "support/RunTimeName.h"
#include "support/Samples.h"

// What a client without rights can change, and which libraries are loaded, through the built DLLs. The matrix in
// tests/requests tests clients below the impersonation level.
namespace {

using reliability::Outcome;
using reliability::Scenario;
using reliability::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// The real broker. The registry treats it as an identity without the right to write.
LSTATUS WINAPI createDenied(HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, HKEY*, LPDWORD)
{
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI openToReadOnly(HKEY root, LPCSTR path, DWORD options, REGSAM access, HKEY* key)
{
    return access == KEY_READ ? RegOpenKeyExA(root, path, options, access, key) : LSTATUS{ERROR_ACCESS_DENIED};
}

std::string storedPeriod()
{
    std::array<char, 64> text{};
    DWORD size = static_cast<DWORD>(text.size());
    const LSTATUS status = RegGetValueA(HKEY_LOCAL_MACHINE, "Software\\Vexal\\DRAVEv2\\Diagnostics",
                                        "SamplePeriodMilliseconds", RRF_RT_REG_SZ, nullptr, text.data(), &size);
    return status == ERROR_SUCCESS ? text.data() : "nothing";
}

TEST(SecuritySettingsTest, IdentityWithoutRights_changesNothing)
{
    const support::LogCapture log(1);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    support::CallLog registryCalls;
    const reliability::RegistrylessModule module(registryCalls, reliability::Broker::BUILT);
    const HMODULE broker = GetModuleHandleA("ZerixCimCore.dll");
    const std::string before = storedPeriod();

    const support::ImportHook create("RegCreateKeyExA", &createDenied, broker);
    const support::ImportHook open("RegOpenKeyExA", &openToReadOnly, broker);
    Surroundings surroundings;
    const reliability::Provider provider(module, surroundings);
    support::FakeClassObject setting(surroundings.calls, "Setting");
    *setting.path.address() = samples::bstr("Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"");
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = 4321;
    setting.add("SamplePeriodMilliseconds", value, CIM_UINT16);
    const Outcome found = surroundings.request(Scenario::PUT, provider.get(), setting);
    EXPECT_EQ(found.answer, "0x80041003");
    EXPECT_THAT(found.reports(), ElementsAre("sink.SetStatus(0, 0x80041003, null, null)"));
    EXPECT_THAT(found.disorder, IsEmpty());
    EXPECT_EQ(storedPeriod(), before);
    EXPECT_NE(storedPeriod(), "4321");
}

// A file with the name of the run time that is not a DLL, in the process's current folder.
class PlantedFolder
{
public:
    PlantedFolder()
        : m_before(std::filesystem::current_path()),
          m_folder(std::filesystem::temp_directory_path() / ("planted" + std::to_string(GetCurrentProcessId())))
    {
        std::filesystem::create_directories(m_folder);
        for (const char* const name : {support::RUN_TIME, "ZerixCimCore.dll"}) {
            std::ofstream(m_folder / name) << "not a library";
        }
        std::filesystem::current_path(m_folder);
    }
    ~PlantedFolder()
    {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_folder);
    }
    PlantedFolder(const PlantedFolder&) = delete;
    PlantedFolder& operator=(const PlantedFolder&) = delete;

private:
    std::filesystem::path m_before;
    std::filesystem::path m_folder;
};

std::string fileOf(const char* module)
{
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(GetModuleHandleA(module), path.data(), static_cast<DWORD>(path.size()));
    return path.data();
}

// A new process, which is this program with the task to load the provider, so that the loader searches every library.
TEST(SecurityPlantedLibraryTest, Libraries_ofTheCurrentFolder_areNotLoaded)
{
    const std::string program = fileOf(nullptr);
    const PlantedFolder planted;
    std::string command =
        "\"" + program + "\" --gtest_also_run_disabled_tests --gtest_filter=*DISABLED_loadsFromBeside*";
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(
        CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process));
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    EXPECT_EQ(code, 0U);
}

// The second process of the test above. It proves nothing when it runs alone.
TEST(SecurityPlantedLibraryTest, DISABLED_loadsFromBesideTheProgram)
{
    const std::string program = fileOf(nullptr);
    const std::string folder = program.substr(0, program.rfind('\\') + 1);
    ASSERT_NE(std::filesystem::current_path().string() + "\\", folder);
    ASSERT_TRUE(std::filesystem::exists(support::RUN_TIME));
    const std::string provider = folder + "ZerixDRAVEv2Provider.dll";
    ASSERT_NE(LoadLibraryExA(provider.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH), nullptr);
    for (const char* const name : {support::RUN_TIME, "ZerixCimCore.dll"}) {
        EXPECT_THAT(fileOf(name), StartsWith(folder)) << name;
    }
}

}  // namespace
