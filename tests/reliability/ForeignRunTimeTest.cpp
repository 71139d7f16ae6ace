#include "Os/Windows/Platform.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

#include "wmihost/commandline/CommandLine.h"

// The provider's host process also loads DLLs of other products. When several DLLs have one base name, the loader gives
// every module the first one.
namespace {

using testing::StrCaseEq;

// The compiler's default names of its run time. DLLs of other products have these names too.
constexpr std::array<const char*, 3> FOREIGN_RUN_TIMES{"libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll"};

std::string fileOf(const char* module)
{
    std::array<char, MAX_PATH> path{};
    const HMODULE handle = GetModuleHandleA(module);
    return handle != nullptr && GetModuleFileNameA(handle, path.data(), static_cast<DWORD>(path.size())) != 0
               ? path.data()
               : "";
}

std::string foreignFile(const char* name)
{
    return std::string(ZERIX_FOREIGN) + "\\" + name;
}

// Lets COM find the provider through a manifest, because all running tests share the machine's registry.
class ProviderManifest
{
public:
    ProviderManifest()
    {
        ACTCTXA description{};
        description.cbSize = sizeof description;
        description.lpSource = ZERIX_MANIFEST;
        m_context = CreateActCtxA(&description);
        m_active = m_context != INVALID_HANDLE_VALUE && ActivateActCtx(m_context, &m_cookie) != FALSE;
    }
    ~ProviderManifest()
    {
        if (m_active) {
            DeactivateActCtx(0, m_cookie);
        }
        ReleaseActCtx(m_context);
    }
    ProviderManifest(const ProviderManifest&) = delete;
    ProviderManifest& operator=(const ProviderManifest&) = delete;

    bool active() const noexcept { return m_active; }

private:
    HANDLE m_context;
    ULONG_PTR m_cookie = 0;
    bool m_active;
};

TEST(ForeignRunTimeTest, RequestsAfterForeignRunTime_areServed)
{
    for (const char* const name : FOREIGN_RUN_TIMES) {
        ASSERT_EQ(fileOf(name), "") << "the stand-ins have to come first";
        ASSERT_NE(LoadLibraryA(foreignFile(name).c_str()), nullptr) << foreignFile(name);
    }
    const ProviderManifest manifest;
    ASSERT_TRUE(manifest.active());

    EXPECT_EQ(wmihost::runCommandLine({"--mof", ZERIX_MOF, "self-test"}), 0);

    for (const char* const name : FOREIGN_RUN_TIMES) {
        EXPECT_THAT(fileOf(name), StrCaseEq(foreignFile(name)));
    }
}

}  // namespace
