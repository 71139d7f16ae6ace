#include "Os/Windows/WindowsRegistry.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <optional>

#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using support::ImportHook;
using support::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using utils::WindowsRegistry;

const std::string KEY = "Software\\ZerixRegistryTest";

std::string line(const char* level, const char* function, const std::string& text)
{
    return std::string(level) + "|Os/Windows/Windows|utils::WindowsRegistry::" + function + "|" + text;
}

std::string openingLine(const std::string& name)
{
    return line("debug", "getRegistryData", "Opennig key " + KEY + " (" + name + ")");
}

int rootNumber(HKEY root)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(root));
}

std::string creatingLine(const std::string& path, const std::string& value)
{
    return line("debug", "setKey", "Creating REG_SZ registry key '80000002\\" + path + "' with value '" + value + "'");
}

const std::string CREATING_TEXT = creatingLine(KEY, "text");

// Every test starts without the key and deletes it at the end.
class WindowsRegistryTest : public testing::Test
{
protected:
    WindowsRegistryTest() { RegDeleteTreeA(HKEY_LOCAL_MACHINE, KEY.c_str()); }
    ~WindowsRegistryTest() override { RegDeleteTreeA(HKEY_LOCAL_MACHINE, KEY.c_str()); }

    void write(const char* name, DWORD type, const void* data, std::size_t size)
    {
        ASSERT_EQ(RegSetKeyValueA(HKEY_LOCAL_MACHINE, KEY.c_str(), name, type, data, static_cast<DWORD>(size)),
                  ERROR_SUCCESS);
    }

    void writeText(const char* name, const std::string& text, DWORD type = REG_SZ)
    {
        write(name, type, text.c_str(), text.size() + 1);
    }

    bool read(DWORD type, const char* name)
    {
        m_text = "untouched";
        return m_registry.getRegistryData(HKEY_LOCAL_MACHINE, KEY, type, name, &m_text);
    }

    bool readNumber(DWORD type, const char* name)
    {
        m_number = 4711;
        return m_registry.getRegistryUint(HKEY_LOCAL_MACHINE, KEY, type, name, &m_number);
    }

    // The bytes and the type of a value as the registry stores them.
    std::pair<DWORD, std::string> stored(const char* name)
    {
        DWORD type = REG_NONE;
        std::array<char, 1024> data{};
        auto size = static_cast<DWORD>(data.size());
        EXPECT_EQ(RegGetValueA(HKEY_LOCAL_MACHINE, KEY.c_str(), name, RRF_RT_ANY, &type, data.data(), &size),
                  ERROR_SUCCESS);
        return {type, std::string(data.data(), size)};
    }

    WindowsRegistry& m_registry = *WindowsRegistry::getInstance();
    std::string m_text;
    std::uint32_t m_number = 0;
};

TEST_F(WindowsRegistryTest, Registry_existsFromModuleLoadOn)
{
    const LogCapture log;
    EXPECT_NE(WindowsRegistry::getInstance(), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty()) << "made now, it would have logged";
}

TEST_F(WindowsRegistryTest, OtherInstance_isCurrentWhileItLives)
{
    const LogCapture log;
    {
        WindowsRegistry other;
        EXPECT_EQ(WindowsRegistry::getInstance(), &other);
    }
    EXPECT_EQ(WindowsRegistry::getInstance(), &m_registry);
    EXPECT_THAT(log.numberedMessages(),
                ElementsAre("debug|Utils/Singleton:68|utils::Singleton<class utils::WindowsRegistry>::Singleton|New "
                            "singleton instance for WindowsRegistry"));
}

TEST_F(WindowsRegistryTest, SetKey_writesATextWithItsTerminator)
{
    const LogCapture log;
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY + "\\a\\b", "Name", "text"));
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "caf\xe9"));
    EXPECT_EQ(stored("Name"), std::pair(static_cast<DWORD>(REG_SZ), std::string("caf\xe9\0", 5)));
    EXPECT_THAT(log.messages(), ElementsAre(creatingLine(KEY + "\\a\\b", "text"), creatingLine(KEY, "caf\xe9")));
}

TEST_F(WindowsRegistryTest, SetKey_withoutName_writesTheDefaultValue)
{
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "", "text"));
    EXPECT_EQ(stored(nullptr), std::pair(static_cast<DWORD>(REG_SZ), std::string("text\0", 5)));
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", ""));
    EXPECT_EQ(stored("Name"), std::pair(static_cast<DWORD>(REG_SZ), std::string(1, '\0')));
}

TEST_F(WindowsRegistryTest, SetKey_logsBeforeItAssertsAPath)
{
    const LogCapture log;
    EXPECT_EQ(support::unnumberedAssertionOf([&] { m_registry.setKey(HKEY_LOCAL_MACHINE, "", "Name", "text"); }),
              "Os/Windows/Windows:#: path.size() > 0");
    ASSERT_EQ(log.messages().size(), 2U);
    EXPECT_EQ(log.messages()[0], creatingLine("", "text"));
}

std::vector<std::string> calls;

LSTATUS WINAPI refuseCreate(HKEY root, LPCSTR path, DWORD reserved, LPSTR type, DWORD options, REGSAM access,
                            const LPSECURITY_ATTRIBUTES security, PHKEY /*result*/, LPDWORD disposition)
{
    EXPECT_TRUE(reserved == 0 && type == nullptr && security == nullptr && disposition == nullptr);
    calls.push_back(utils::format("create %d %s, options %X, access %X", rootNumber(root), path,
                                  static_cast<int>(options), static_cast<int>(access)));
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI refuseOpen(HKEY root, LPCSTR path, DWORD options, REGSAM access, PHKEY /*result*/)
{
    calls.push_back(utils::format("open %d %s, options %X, access %X", rootNumber(root), path,
                                  static_cast<int>(options), static_cast<int>(access)));
    return ERROR_ACCESS_DENIED;
}

TEST_F(WindowsRegistryTest, Keys_areOpenedWithTheAccessTheyNeed)
{
    const LogCapture log;
    const ImportHook create("RegCreateKeyExA", &refuseCreate);
    const ImportHook open("RegOpenKeyExA", &refuseOpen);
    EXPECT_FALSE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text"));
    EXPECT_FALSE(m_registry.keyExists(KEY));
    EXPECT_FALSE(m_registry.deleteKey(HKEY_CURRENT_USER, KEY, "child"));
    EXPECT_FALSE(read(REG_SZ, "Name"));
    EXPECT_EQ(m_text, "");
    // A created key is not volatile and is opened for writing alone.
    EXPECT_THAT(calls, ElementsAre("create -2147483646 " + KEY + ", options 0, access 20006",
                                   "open -2147483646 " + KEY + ", options 0, access 20019",
                                   "open -2147483647 " + KEY + ", options 0, access 20006",
                                   "open -2147483646 " + KEY + ", options 0, access 20019"));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(CREATING_TEXT, line("error", "setKey", "RegCreateKeyEx -2147483646, " + KEY + ", text error 5"),
                    openingLine("Name")));
}

int closedKeys = 0;
ImportHook* closeHook = nullptr;

LSTATUS WINAPI countClose(HKEY key)
{
    ++closedKeys;
    return closeHook->original<decltype(&countClose)>()(key);
}

class RegistryCloseTest : public WindowsRegistryTest
{
protected:
    RegistryCloseTest() { closeHook = &m_hook; }

private:
    ImportHook m_hook{"RegCloseKey", &countClose};
};

TEST_F(RegistryCloseTest, FailedValue_isLogged_andTheKeyClosed)
{
    const LogCapture log;
    const ImportHook hook("RegSetValueExA", support::returning<ERROR_ACCESS_DENIED>(&RegSetValueExA));
    EXPECT_FALSE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text"));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(CREATING_TEXT, line("error", "setKey", "RegSetValueEx -2147483646, " + KEY + ", text error 5")));
    EXPECT_EQ(closedKeys, 1);
}

TEST_F(RegistryCloseTest, EveryOperation_closesItsKey)
{
    m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text");
    EXPECT_EQ(closedKeys, 1);
    m_registry.keyExists(KEY);
    EXPECT_EQ(closedKeys, 2);
    m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child");
    EXPECT_EQ(closedKeys, 3);
    read(REG_SZ, "Name");
    EXPECT_EQ(closedKeys, 4);
    read(REG_SZ, "Missing");
    EXPECT_EQ(closedKeys, 5);
    m_registry.keyExists(KEY + "\\missing");
    read(REG_DWORD, "Name");
    EXPECT_EQ(closedKeys, 6);
}

TEST_F(WindowsRegistryTest, KeyExists_looksUnderTheLocalMachine)
{
    EXPECT_FALSE(m_registry.keyExists(KEY));
    m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "", "");
    EXPECT_TRUE(m_registry.keyExists(KEY));
    EXPECT_FALSE(m_registry.keyExists("Environment")) << "which is there for the current user alone";
}

TEST_F(WindowsRegistryTest, DeleteKey_isTrueWithAParent)
{
    EXPECT_FALSE(m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child")) << "without the parent";
    m_registry.setKey(HKEY_LOCAL_MACHINE, KEY + "\\child", "", "");
    EXPECT_TRUE(m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child"));
    EXPECT_FALSE(m_registry.keyExists(KEY + "\\child"));
    EXPECT_TRUE(m_registry.keyExists(KEY));
    EXPECT_TRUE(m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "missing"));
    m_registry.setKey(HKEY_LOCAL_MACHINE, KEY + "\\child\\grandchild", "", "");
    EXPECT_TRUE(m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child"));
    EXPECT_TRUE(m_registry.keyExists(KEY + "\\child\\grandchild"));
}

struct Reading
{
    const char* name;
    DWORD storedType;
    std::string bytes;
    DWORD askedType;
    // The value that is read. Without a value the function returns false and the text is empty.
    std::optional<std::string> text;
};

std::string bytesOf(DWORD number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

// The registry stores a text's terminator if there is one.
const std::vector<Reading>& readings()
{
    static const std::vector<Reading> all{
        {"text", REG_SZ, std::string("text", 5), REG_SZ, "text"},
        {"textUpToItsFirstZero", REG_SZ, std::string("a\0b", 4), REG_SZ, "a"},
        {"textWithoutAZero", REG_SZ, "abc", REG_SZ, "abc"},
        {"textThatFillsTheBuffer", REG_SZ, std::string(255, 'a') + '\0', REG_SZ, std::string(255, 'a')},
        {"textWithoutAZeroThatFillsIt", REG_SZ, std::string(256, 'b'), REG_SZ, std::string(256, 'b')},
        {"textThatIsTooLong", REG_SZ, std::string(256, 'c') + '\0', REG_SZ, std::nullopt},
        {"emptyText", REG_SZ, std::string(1, '\0'), REG_SZ, std::nullopt},
        {"nothing", REG_SZ, "", REG_SZ, std::nullopt},
        {"variableUnexpanded", REG_EXPAND_SZ, std::string("%SystemRoot%", 13), REG_EXPAND_SZ, "%SystemRoot%"},
        {"textAskedAsVariable", REG_SZ, std::string("text", 5), REG_EXPAND_SZ, std::nullopt},
        {"number", REG_DWORD, bytesOf(7), REG_DWORD, "7"},
        {"numberSigned", REG_DWORD, bytesOf(0xFFFFFFFF), REG_DWORD, "-1"},
        {"numberOfTwoBytes", REG_DWORD, std::string("\1\0", 2), REG_DWORD, std::nullopt},
        {"numberAskedAsText", REG_DWORD, bytesOf(7), REG_SZ, std::nullopt},
        {"bytes", REG_BINARY, "abc", REG_BINARY, std::nullopt},
    };
    return all;
}

TEST_F(WindowsRegistryTest, GetData_readsAsInTheTable)
{
    for (const Reading& reading : readings()) {
        const LogCapture log;
        // The platform appends a terminator itself if the following memory is zero, so none may follow.
        const std::string followed = reading.bytes + '!';
        write(reading.name, reading.storedType, followed.c_str(), reading.bytes.size());
        EXPECT_EQ(read(reading.askedType, reading.name), reading.text.has_value()) << reading.name;
        EXPECT_EQ(m_text, reading.text.value_or("")) << reading.name;
        std::vector<std::string> lines{openingLine(reading.name)};
        if (reading.bytes.size() > 256) {
            lines.push_back(
                line("debug", "getRegistryData", std::string(reading.name) + " Registry Entry does not exist"));
        }
        EXPECT_EQ(log.messages(), lines) << reading.name;
    }
}

TEST_F(WindowsRegistryTest, GetData_ofAMissingKey_logsTheOpeningAlone)
{
    const LogCapture log;
    EXPECT_FALSE(read(REG_SZ, "Name"));
    EXPECT_THAT(log.messages(), ElementsAre(openingLine("Name")));
}

TEST_F(WindowsRegistryTest, GetUint_readsTextsAndNumbers)
{
    for (const DWORD number : {7U, 0xFFFFFFFEU}) {
        write("Number", REG_DWORD, &number, sizeof number);
        EXPECT_TRUE(readNumber(REG_DWORD, "Number"));
        EXPECT_EQ(m_number, number);
    }
    writeText("Text", " 0x1F ");
    EXPECT_TRUE(readNumber(REG_SZ, "Text"));
    EXPECT_EQ(m_number, 31U);
    writeText("Word", "apples");
    EXPECT_FALSE(readNumber(REG_SZ, "Word"));
    EXPECT_EQ(m_number, 0U);
    EXPECT_FALSE(readNumber(REG_SZ, "Missing"));
    EXPECT_EQ(m_number, 4711U) << "untouched";
}

BOOL WINAPI windows61(LPOSVERSIONINFOA version)
{
    // Six numbers and 128 characters of text, all zero but the size.
    static const std::array<char, 144> zeros{};
    if (version->dwOSVersionInfoSize != 148 || std::memcmp(&version->dwMajorVersion, zeros.data(), 144) != 0) {
        return FALSE;
    }
    version->dwMajorVersion = 6;
    version->dwMinorVersion = 1;
    return TRUE;
}

TEST_F(WindowsRegistryTest, OsVersion_isTenTimesMajorPlusMinor)
{
    const ImportHook hook("GetVersionExA", &windows61);
    EXPECT_EQ(m_registry.getOsVersion(), 61);
    const ImportHook none("GetVersionExA", support::returning<FALSE>(&GetVersionExA));
    EXPECT_EQ(m_registry.getOsVersion(), 0);
}

TEST_F(WindowsRegistryTest, Primitives_areThePlatformsFunctions)
{
    m_registry.setKey(HKEY_LOCAL_MACHINE, KEY + "\\child", "", "");
    writeText("Name", "text");
    HKEY key = nullptr;
    ASSERT_EQ(m_registry.openKey(HKEY_LOCAL_MACHINE, KEY.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD subKeys = 0;
    DWORD values = 0;
    DWORD longestName = 0;
    EXPECT_EQ(m_registry.queryInfoKey(key, nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, &values, &longestName,
                                      nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subKeys, 1U);
    EXPECT_EQ(values, 1U);
    EXPECT_EQ(longestName, 4U);
    std::array<char, 32> name{};
    DWORD length = name.size();
    EXPECT_EQ(m_registry.enumKey(key, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_STREQ(name.data(), "child");
    length = name.size();
    EXPECT_EQ(m_registry.enumKey(key, 1, name.data(), &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
    length = name.size();
    DWORD type = REG_NONE;
    std::array<BYTE, 32> data{};
    DWORD size = data.size();
    EXPECT_EQ(m_registry.enumValue(key, 0, name.data(), &length, nullptr, &type, data.data(), &size), ERROR_SUCCESS);
    EXPECT_STREQ(name.data(), "Name");
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_STREQ(reinterpret_cast<const char*>(data.data()), "text");
    EXPECT_EQ(m_registry.closeKey(key), ERROR_SUCCESS);
    EXPECT_EQ(m_registry.openKey(HKEY_LOCAL_MACHINE, (KEY + "\\missing").c_str(), 0, KEY_READ, &key),
              ERROR_FILE_NOT_FOUND);
}

// Replaces the primitives and records which operations call them.
class StandIn : public WindowsRegistry
{
public:
    LSTATUS openKey(HKEY root, const char* path, DWORD options, REGSAM access, HKEY* key) override
    {
        m_calls.emplace_back("openKey");
        return WindowsRegistry::openKey(root, path, options, access, key);
    }

    LSTATUS closeKey(HKEY key) override
    {
        m_calls.emplace_back("closeKey");
        return WindowsRegistry::closeKey(key);
    }

    bool getRegistryData(HKEY root, std::string path, DWORD type, std::string name, std::string* out) override
    {
        m_calls.emplace_back("getRegistryData");
        return WindowsRegistry::getRegistryData(root, path, type, name, out);
    }

    std::vector<std::string> m_calls;
};

TEST_F(WindowsRegistryTest, Reading_passesThroughTheObject)
{
    writeText("Name", "7");
    StandIn registry;
    EXPECT_TRUE(registry.getRegistryUint(HKEY_LOCAL_MACHINE, KEY, REG_SZ, "Name", &m_number));
    EXPECT_THAT(registry.m_calls, ElementsAre("getRegistryData", "openKey", "closeKey"));
    registry.m_calls.clear();
    EXPECT_FALSE(registry.getRegistryData(HKEY_LOCAL_MACHINE, KEY, REG_SZ, "Missing", &m_text));
    EXPECT_THAT(registry.m_calls, ElementsAre("getRegistryData", "openKey", "closeKey"));
}

TEST_F(WindowsRegistryTest, OtherOperations_callThePlatformDirectly)
{
    StandIn registry;
    EXPECT_TRUE(registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text"));
    EXPECT_TRUE(registry.keyExists(KEY));
    EXPECT_TRUE(registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child"));
    EXPECT_THAT(registry.m_calls, IsEmpty());
}

TEST_F(WindowsRegistryTest, Operations_keepTheirSlots)
{
    // The destructor occupies the first two entries.
    using Registry = WindowsRegistry;
    EXPECT_THAT(support::slotsOf(&Registry::openKey, &Registry::queryInfoKey, &Registry::enumKey, &Registry::enumValue,
                                 &Registry::closeKey, &Registry::keyExists, &Registry::setKey, &Registry::deleteKey,
                                 &Registry::getOsVersion, &Registry::getRegistryUint, &Registry::getRegistryData),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
}

}  // namespace
