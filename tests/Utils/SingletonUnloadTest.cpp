#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Os/Windows/Platform.h"

namespace {

void useLazy(HMODULE module)
{
    reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(module, "useLazy")))();
}

// What the module writes when it is loaded, when its lazy singleton is used twice or not, and when it is unloaded.
std::string lifeOf(bool usesLazy)
{
    testing::internal::CaptureStderr();
    const HMODULE module = LoadLibraryA("singleton_module.dll");
    for (int use = 0; usesLazy && use < 2; ++use) {
        useLazy(module);
    }
    std::fputs("unloading\n", stderr);
    FreeLibrary(module);
    return testing::internal::GetCapturedStderr();
}

TEST(SingletonUnloadTest, Unloading_deletesAll)
{
    EXPECT_EQ(lifeOf(false), "held made\nunloading\nheld deleted\n");
    for (int load = 0; load < 2; ++load) {
        EXPECT_EQ(lifeOf(true), "held made\nlazy made\nunloading\nlazy deleted\nheld deleted\n");
    }
}

TEST(SingletonUnloadDeathTest, EndingProcess_deletesNothing)
{
    EXPECT_EXIT(
        {
            useLazy(LoadLibraryA("singleton_module.dll"));
            std::exit(0);
        },
        testing::ExitedWithCode(0), testing::Eq("held made\nlazy made\n"));
}

}  // namespace
