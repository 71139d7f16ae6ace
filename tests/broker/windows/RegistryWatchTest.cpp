#include "broker/windows/RegistryWatch.h"

#include <gtest/gtest.h>

#include <thread>

#include "broker/windows/RegistryStorage.h"
#include "support/ImportHook.h"

namespace {

// The processes of several tests use one registry at the same time.
const std::string KEY = "Watched" + std::to_string(GetCurrentProcessId());
const std::string PATH = "Software\\Vexal\\DRAVEv2\\" + KEY;

class RegistryWatch : public testing::Test
{
protected:
    ~RegistryWatch() override { RegDeleteTreeA(HKEY_LOCAL_MACHINE, PATH.c_str()); }

    broker::RegistryStorage m_storage;
    std::unique_ptr<broker::ChangeWatch> m_watch = m_storage.watch(KEY);
};

TEST_F(RegistryWatch, MissingKey_countsAsChanged)
{
    EXPECT_TRUE(m_watch->hasChanged());
    EXPECT_TRUE(m_watch->hasChanged());
}

TEST_F(RegistryWatch, EveryChange_isSeenOnce)
{
    m_storage.write(KEY, "A", "1");
    EXPECT_TRUE(m_watch->hasChanged());
    EXPECT_FALSE(m_watch->hasChanged());
    m_storage.write(KEY, "A", "2");
    EXPECT_TRUE(m_watch->hasChanged());
    EXPECT_FALSE(m_watch->hasChanged());
    m_storage.eraseValue(KEY, "A");
    EXPECT_TRUE(m_watch->hasChanged());
    m_storage.write(KEY + "\\Below", "B", "1");
    EXPECT_TRUE(m_watch->hasChanged());
    EXPECT_FALSE(m_watch->hasChanged());
}

TEST_F(RegistryWatch, Reading_isNoChange)
{
    m_storage.write(KEY, "A", "1");
    m_watch->hasChanged();
    m_storage.read(KEY);
    EXPECT_FALSE(m_watch->hasChanged());
}

TEST_F(RegistryWatch, KeyMadeAnew_isWatchedAgain)
{
    m_storage.write(KEY, "A", "1");
    m_watch->hasChanged();
    m_storage.erase(KEY);
    EXPECT_TRUE(m_watch->hasChanged());
    m_storage.write(KEY, "A", "1");
    EXPECT_TRUE(m_watch->hasChanged());
    m_storage.write(KEY, "A", "2");
    EXPECT_TRUE(m_watch->hasChanged());
}

TEST_F(RegistryWatch, ThreadThatAskedFirst_mayEnd)
{
    m_storage.write(KEY, "A", "1");
    std::thread([this] { m_watch->hasChanged(); }).join();
    // The end of the thread may count as one change.
    m_watch->hasChanged();
    EXPECT_FALSE(m_watch->hasChanged());
    m_storage.write(KEY, "A", "2");
    EXPECT_TRUE(m_watch->hasChanged());
}

TEST_F(RegistryWatch, RefusedNotification_countsAsChanged)
{
    m_storage.write(KEY, "A", "1");
    const support::ImportHook refused("RegNotifyChangeKeyValue",
                                      support::returning<ERROR_NOT_ENOUGH_MEMORY>(&RegNotifyChangeKeyValue));
    EXPECT_TRUE(m_watch->hasChanged());
    EXPECT_TRUE(m_watch->hasChanged());
}

}  // namespace
