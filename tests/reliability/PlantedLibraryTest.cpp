#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "Os/Windows/Platform.h"
#include "support/RunTimeName.h"

// Which libraries the provider loads when others with their names are in the current folder.
namespace {

using testing::StartsWith;

// Files with the names of the libraries that are not DLLs, in the process's current folder.
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
TEST(PlantedLibraryTest, Libraries_ofTheCurrentFolder_areNotLoaded)
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
TEST(PlantedLibraryTest, DISABLED_loadsFromBesideTheProgram)
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
