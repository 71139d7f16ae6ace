#include <gmock/gmock.h>

#include <cstdlib>

#include "Os/Windows/Platform.h"

namespace {

HMODULE loadModule()
{
    return LoadLibraryA("singleton_module.dll");
}

void useLazy(HMODULE module)
{
    reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(module, "useLazy")))();
}

TEST(SingletonUnloadTest, HeldInstance_livesUntilUnloading)
{
    testing::internal::CaptureStderr();
    const HMODULE module = loadModule();
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "held made\n");
    testing::internal::CaptureStderr();
    FreeLibrary(module);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "held deleted\n");
}

TEST(SingletonUnloadTest, LazySingleton_goesWithItsModule)
{
    testing::internal::CaptureStderr();
    const HMODULE module = loadModule();
    useLazy(module);
    useLazy(module);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "held made\nlazy made\n");
    testing::internal::CaptureStderr();
    FreeLibrary(module);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "lazy deleted\nheld deleted\n");
}

TEST(SingletonUnloadTest, Module_mayBeLoadedAgain)
{
    for (int i = 0; i < 2; ++i) {
        testing::internal::CaptureStderr();
        const HMODULE module = loadModule();
        useLazy(module);
        FreeLibrary(module);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "held made\nlazy made\nlazy deleted\nheld deleted\n");
    }
}

TEST(SingletonUnloadDeathTest, EndingProcess_deletesNothing)
{
    EXPECT_EXIT(
        {
            useLazy(loadModule());
            std::exit(0);
        },
        testing::ExitedWithCode(0), testing::Eq("held made\nlazy made\n"));
}

}  // namespace
