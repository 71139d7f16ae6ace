#include "support/CapturedModules.h"

#include <gmock/gmock.h>

#include "support/LogCapture.h"
#include "support/RunTimeName.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* NEW_LAZY =
    "debug|Utils/Singleton|utils::Singleton<class Lazy>::Singleton|New singleton instance for Lazy";

// A DLL with its copy of the log. This call writes one line.
class LoggingModule
{
public:
    LoggingModule() : m_module(LoadLibraryA("singleton_module.dll")) {}
    ~LoggingModule() { FreeLibrary(m_module); }
    LoggingModule(const LoggingModule&) = delete;
    LoggingModule& operator=(const LoggingModule&) = delete;

    HMODULE get() const noexcept { return m_module; }

    void log() const { reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(m_module, "useLazy")))(); }

private:
    HMODULE m_module;
};

TEST(CapturedModulesTest, CapturedModule_hasItsLinesCollected)
{
    const support::LogCapture log;
    const LoggingModule module;
    support::captureModule(module.get());
    module.log();
    EXPECT_THAT(log.messages(), ElementsAre(NEW_LAZY));
    support::releaseModule(module.get());
}

TEST(CapturedModulesTest, OtherModules_areNotCaptured)
{
    const support::LogCapture log;
    const LoggingModule module;
    module.log();
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(CapturedModulesTest, ReleasedModule_isNotCaptured)
{
    const support::LogCapture log;
    const LoggingModule module;
    support::captureModule(module.get());
    support::releaseModule(module.get());
    module.log();
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(CapturedModulesTest, ModuleWithoutLog_isRefused)
{
    const support::LogCapture log;
    EXPECT_THROW(support::captureModule(GetModuleHandleA(support::RUN_TIME)), std::runtime_error);
}

}  // namespace
