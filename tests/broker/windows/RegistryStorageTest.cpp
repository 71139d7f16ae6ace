#include "broker/windows/RegistryStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "Os/Windows/WindowsRegistry.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/WrappedImport.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// The processes of several tests use one registry at the same time.
const std::string CHILD = "Test" + std::to_string(GetCurrentProcessId());
const std::string PARENT = "Software\\Vexal\\DRAVEv2\\" + CHILD;
const std::string KEY = CHILD + "\\Key";

// A registry that fails to open keys and refuses every write and deletion.
class RefusingRegistry : public utils::WindowsRegistry
{
public:
    LSTATUS openKey(HKEY root, const char* path, DWORD options, REGSAM access, HKEY* key) override
    {
        opened.emplace_back(path);
        if (opened.size() <= missing) {
            return ERROR_FILE_NOT_FOUND;
        }
        return status != ERROR_SUCCESS ? status : WindowsRegistry::openKey(root, path, options, access, key);
    }
    bool setKey(HKEY /*root*/, std::string /*path*/, std::string /*name*/, std::string /*value*/) override
    {
        return false;
    }
    bool deleteKey(HKEY /*root*/, std::string /*parent*/, std::string /*child*/) override { return false; }

    std::vector<std::string> opened;
    // The number of opens, from the first, that find no key.
    std::size_t missing = 0;
    LSTATUS status = ERROR_SUCCESS;
};

class RegistryStorage : public testing::Test
{
protected:
    ~RegistryStorage() override { RegDeleteTreeA(HKEY_LOCAL_MACHINE, PARENT.c_str()); }

    std::vector<std::string> values()
    {
        std::vector<std::string> result;
        const std::optional<broker::StoredValues> read = m_storage.read(KEY);
        for (const auto& [name, value] : read.value()) {
            result.push_back(name + "=" + (value.isText ? value.text : "no text"));
        }
        return result;
    }

    void setRaw(const char* name, DWORD type, const std::string& data) const
    {
        ASSERT_EQ(RegSetKeyValueA(HKEY_LOCAL_MACHINE, (PARENT + "\\Key").c_str(), name, type, data.data(),
                                  static_cast<DWORD>(data.size())),
                  ERROR_SUCCESS);
    }

    broker::RegistryStorage m_storage;
};

TEST_F(RegistryStorage, WrittenValue_isKept)
{
    const support::LogCapture log(1);
    EXPECT_THAT(values(), IsEmpty()) << "of a missing key";
    EXPECT_EQ(m_storage.write(KEY, "A", "one"), broker::StoreResult::DONE);
    EXPECT_EQ(m_storage.write(KEY, "B", ""), broker::StoreResult::DONE);
    EXPECT_EQ(m_storage.write(KEY, "C", std::string(1000, 'x')), broker::StoreResult::DONE);
    EXPECT_EQ(m_storage.write(KEY, "A", "two"), broker::StoreResult::DONE);
    EXPECT_THAT(values(), ElementsAre("A=two", "B=", "C=" + std::string(1000, 'x')));
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(RegistryStorage, OnlyTexts_areReadUpToAZero)
{
    setRaw("Binary", REG_BINARY, "abc");
    setRaw("Expand", REG_EXPAND_SZ, "%X%");
    setRaw("Number", REG_DWORD, std::string("\x05\0\0\0", 4));
    setRaw("Text", REG_SZ, "abc");
    setRaw("Zero", REG_SZ, std::string("abc\0def", 7));
    EXPECT_THAT(values(), ElementsAre("Binary=no text", "Expand=no text", "Number=no text", "Text=abc", "Zero=abc"));
}

TEST_F(RegistryStorage, Erase_removesTheKey)
{
    m_storage.write(KEY, "A", "one");
    EXPECT_EQ(m_storage.erase(KEY), broker::StoreResult::DONE);
    EXPECT_THAT(values(), IsEmpty());
    EXPECT_FALSE(utils::WindowsRegistry::getInstance()->keyExists(PARENT + "\\Key"));
    EXPECT_EQ(m_storage.erase(KEY), broker::StoreResult::DONE);
}

TEST_F(RegistryStorage, RefusedWrite_asksNearestKey)
{
    struct Row
    {
        std::size_t missing;
        LSTATUS status;
        broker::StoreResult result;
        std::ptrdiff_t opened;
    };
    using enum broker::StoreResult;
    const std::vector<std::string> upwards{PARENT + "\\Key", PARENT, "Software\\Vexal\\DRAVEv2", "Software\\Vexal",
                                           "Software"};
    for (const Row& row : {Row{0, ERROR_ACCESS_DENIED, ACCESS_DENIED, 1}, Row{0, ERROR_BADDB, FAILED, 1},
                           Row{2, ERROR_ACCESS_DENIED, ACCESS_DENIED, 3}, Row{4, ERROR_SUCCESS, FAILED, 5},
                           Row{100, ERROR_SUCCESS, FAILED, 5}})
    {
        RefusingRegistry registry;
        registry.missing = row.missing;
        registry.status = row.status;
        EXPECT_EQ(m_storage.write(KEY, "A", "one"), row.result) << row.missing;
        EXPECT_EQ(registry.opened, std::vector(upwards.begin(), upwards.begin() + row.opened)) << row.missing;
    }
}

TEST_F(RegistryStorage, CanWrite_asksTheNearestKey)
{
    const support::LogCapture log(1);
    EXPECT_TRUE(m_storage.canWrite(KEY));
    RefusingRegistry registry;
    registry.missing = 1;
    registry.status = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(m_storage.canWrite(KEY));
    EXPECT_THAT(registry.opened, ElementsAre(PARENT + "\\Key", PARENT));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(RegistryStorage, RefusedErase_isLogged)
{
    const support::LogCapture log(1);
    RefusingRegistry registry;
    registry.status = ERROR_ACCESS_DENIED;
    EXPECT_EQ(m_storage.erase(KEY), broker::StoreResult::ACCESS_DENIED);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::RegistryStorage::erase: error: Could not delete registry "
                                                   "key " +
                                                   PARENT + "\\Key\n")));
}

TEST_F(RegistryStorage, EraseValue_removesOneValue)
{
    m_storage.write(KEY, "A", "one");
    m_storage.write(KEY, "B", "two");
    EXPECT_EQ(m_storage.eraseValue(KEY, "A"), broker::StoreResult::DONE);
    EXPECT_THAT(values(), ElementsAre("B=two"));
    EXPECT_EQ(m_storage.eraseValue(KEY, "A"), broker::StoreResult::DONE);
    EXPECT_EQ(m_storage.eraseValue(CHILD + "\\None", "A"), broker::StoreResult::DONE);
}

TEST_F(RegistryStorage, EraseValue_refused_isLogged)
{
    m_storage.write(KEY, "A", "one");
    const support::LogCapture log(1);
    const support::ImportHook refused("RegDeleteValueA", support::returning<ERROR_ACCESS_DENIED>(&RegDeleteValueA));
    EXPECT_EQ(m_storage.eraseValue(KEY, "A"), broker::StoreResult::ACCESS_DENIED);
    EXPECT_THAT(log.events(),
                ElementsAre(EndsWith("Could not delete registry value A of " + PARENT + "\\Key. Error 5\n")));
}

// Makes named mutexes private to this process, so that tests do not wait for each other.
constexpr auto privately = [](auto original, LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name) {
    return original(security, owned, name == nullptr ? nullptr : (name + CHILD).c_str());
};

std::unique_ptr<support::ImportHook> ownMutexes()
{
    return support::WrappedImport<decltype(CreateMutexA), privately>::install("CreateMutexA", nullptr);
}

// Returns whether another thread can take the lock.
broker::StoreResult lockElsewhere()
{
    broker::StoreResult result{};
    std::thread([&result] {
        broker::RegistryStorage other;
        result = other.lock();
        if (result == broker::StoreResult::DONE) {
            other.unlock();
        }
    }).join();
    return result;
}

TEST_F(RegistryStorage, Lock_excludesOthersUntilItIsGivenBack)
{
    const auto own = ownMutexes();
    ASSERT_EQ(m_storage.lock(), broker::StoreResult::DONE);
    const support::LogCapture log(1);
    EXPECT_EQ(lockElsewhere(), broker::StoreResult::FAILED);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::RegistryStorage::lock: error: Settings are locked by "
                                                   "another process. Result 258\n")));
    m_storage.unlock();
    EXPECT_EQ(lockElsewhere(), broker::StoreResult::DONE);
}

TEST_F(RegistryStorage, Lock_ofAThreadThatEnded_isTakenOver)
{
    const auto own = ownMutexes();
    broker::RegistryStorage gone;
    std::thread([&gone] { gone.lock(); }).join();
    const support::LogCapture log(1);
    EXPECT_EQ(m_storage.lock(), broker::StoreResult::DONE);
    m_storage.unlock();
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(RegistryStorage, Lock_refused_tellsWhetherAccessWasDenied)
{
    const support::LogCapture log(1);
    {
        const support::ImportHook refused("CreateMutexA",
                                          support::returning<nullptr, ERROR_ACCESS_DENIED>(&CreateMutexA));
        EXPECT_EQ(m_storage.lock(), broker::StoreResult::ACCESS_DENIED);
    }
    {
        const support::ImportHook refused("CreateMutexA",
                                          support::returning<nullptr, ERROR_NOT_ENOUGH_MEMORY>(&CreateMutexA));
        EXPECT_EQ(m_storage.lock(), broker::StoreResult::FAILED);
    }
    {
        const support::ImportHook timeOut("WaitForSingleObject",
                                          support::returning<WAIT_TIMEOUT>(&WaitForSingleObject));
        EXPECT_EQ(m_storage.lock(), broker::StoreResult::FAILED);
    }
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("Settings could not be locked. Error 5\n"),
                                          EndsWith("Settings could not be locked. Error 8\n"),
                                          EndsWith("Settings are locked by another process. Result 258\n")));
    EXPECT_EQ(m_storage.lock(), broker::StoreResult::DONE);
    m_storage.unlock();
}

TEST_F(RegistryStorage, KeyThatMayNotBeRead_isAFailureAndLogged)
{
    const support::LogCapture log(1);
    RefusingRegistry registry;
    registry.status = ERROR_ACCESS_DENIED;
    EXPECT_EQ(m_storage.read(KEY), std::nullopt);
    EXPECT_EQ(m_storage.children(KEY), std::nullopt);
    EXPECT_THAT(log.events(),
                ElementsAre(EndsWith("broker::RegistryStorage::read: error: Could not read registry key " + PARENT +
                                     "\\Key. Error 5\n"),
                            EndsWith("broker::RegistryStorage::children: error: Could not read registry key " + PARENT +
                                     "\\Key. Error 5\n")));
}

// A registry in which another process writes a value once, while the values are being read.
class BusyRegistry : public utils::WindowsRegistry
{
public:
    LSTATUS enumValue(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved, LPDWORD type,
                      LPBYTE data, LPDWORD dataLength) override
    {
        if (index == 1 && !m_hasWritten) {
            m_hasWritten = true;
            RegSetKeyValueA(HKEY_LOCAL_MACHINE, (PARENT + "\\Key").c_str(), "D", REG_SZ, "long enough to not fit", 23);
        }
        return WindowsRegistry::enumValue(key, index, name, nameLength, reserved, type, data, dataLength);
    }

private:
    bool m_hasWritten = false;
};

TEST_F(RegistryStorage, ValuesThatChangeMeanwhile_areReadAgain)
{
    m_storage.write(KEY, "A", "one");
    m_storage.write(KEY, "B", "two");
    BusyRegistry registry;
    EXPECT_THAT(values(), ElementsAre("A=one", "B=two", "D=long enough to not fit"));
}

}  // namespace
