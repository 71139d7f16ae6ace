#include "Os/Windows/WindowsRegistry.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <optional>
#include <tuple>
#include <type_traits>

#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"
#include "support/WrappedImport.h"

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

TEST_F(WindowsRegistryTest, SetKey_writesATextWithItsTerminator)
{
    const LogCapture log;
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY + "\\a\\b", "Name", "text"));
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "caf\xe9"));
    EXPECT_EQ(stored("Name"), std::pair(static_cast<DWORD>(REG_SZ), std::string("caf\xe9\0", 5)));
    EXPECT_THAT(log.messages(), ElementsAre(creatingLine(KEY + "\\a\\b", "text"), creatingLine(KEY, "caf\xe9")));
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", ""));
    EXPECT_EQ(stored("Name"), std::pair(static_cast<DWORD>(REG_SZ), std::string(1, '\0')));
    EXPECT_TRUE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "", "text"));
    EXPECT_EQ(stored(nullptr), std::pair(static_cast<DWORD>(REG_SZ), std::string("text\0", 5))) << "the default value";
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

constexpr auto counted = [](auto original, HKEY key) {
    ++closedKeys;
    return original(key);
};

TEST_F(WindowsRegistryTest, EveryOperation_closesItsKey)
{
    const auto hook = support::WrappedImport<decltype(RegCloseKey), counted>::install("RegCloseKey", nullptr);
    const auto closedBy = [](const auto& operation) {
        closedKeys = 0;
        operation();
        return closedKeys;
    };
    EXPECT_EQ(closedBy([&] { m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text"); }), 1);
    EXPECT_EQ(closedBy([&] { m_registry.keyExists(KEY); }), 1);
    EXPECT_EQ(closedBy([&] { m_registry.keyExists(KEY + "\\missing"); }), 0);
    EXPECT_EQ(closedBy([&] { m_registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child"); }), 1);
    EXPECT_EQ(closedBy([&] { read(REG_SZ, "Name"); }), 1);
    EXPECT_EQ(closedBy([&] { read(REG_SZ, "Missing"); }), 1);
    EXPECT_EQ(closedBy([&] { read(REG_DWORD, "Name"); }), 1);
    const LogCapture log;
    const ImportHook refused("RegSetValueExA", support::returning<ERROR_ACCESS_DENIED>(&RegSetValueExA));
    EXPECT_EQ(closedBy([&] { EXPECT_FALSE(m_registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "text")); }), 1);
    EXPECT_THAT(
        log.messages(),
        ElementsAre(CREATING_TEXT, line("error", "setKey", "RegSetValueEx -2147483646, " + KEY + ", text error 5")));
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

// Returns another argument on each call.
template <class Argument>
Argument nextArgument(std::uintptr_t& number)
{
    ++number;
    if constexpr (std::is_pointer_v<Argument>) {
        return reinterpret_cast<Argument>(number);
    } else {
        return static_cast<Argument>(number);
    }
}

// The platform's function gets every argument, and its answer comes back.
template <class... Arguments>
void expectPassedOn(LSTATUS (WindowsRegistry::*operation)(Arguments...), const char* function)
{
    static std::tuple<Arguments...> received;
    const ImportHook hook(
        function, +[](Arguments... arguments) -> LSTATUS {
            received = {arguments...};
            return ERROR_MORE_DATA;
        });
    std::uintptr_t number = 0;
    const std::tuple<Arguments...> sent{nextArgument<Arguments>(number)...};
    const auto call = [&](auto... arguments) { return (WindowsRegistry::getInstance()->*operation)(arguments...); };
    EXPECT_EQ(std::apply(call, sent), ERROR_MORE_DATA) << function;
    EXPECT_TRUE(received == sent) << function;
}

TEST_F(WindowsRegistryTest, Primitives_areThePlatformsFunctions)
{
    expectPassedOn(&WindowsRegistry::openKey, "RegOpenKeyExA");
    expectPassedOn(&WindowsRegistry::queryInfoKey, "RegQueryInfoKeyA");
    expectPassedOn(&WindowsRegistry::enumKey, "RegEnumKeyExA");
    expectPassedOn(&WindowsRegistry::enumValue, "RegEnumValueA");
    expectPassedOn(&WindowsRegistry::closeKey, "RegCloseKey");
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

TEST_F(WindowsRegistryTest, OnlyReading_usesThePrimitives)
{
    StandIn registry;
    EXPECT_TRUE(registry.setKey(HKEY_LOCAL_MACHINE, KEY, "Name", "7"));
    EXPECT_TRUE(registry.keyExists(KEY));
    EXPECT_TRUE(registry.deleteKey(HKEY_LOCAL_MACHINE, KEY, "child"));
    EXPECT_THAT(registry.m_calls, IsEmpty());
    EXPECT_TRUE(registry.getRegistryUint(HKEY_LOCAL_MACHINE, KEY, REG_SZ, "Name", &m_number));
    EXPECT_THAT(registry.m_calls, ElementsAre("getRegistryData", "openKey", "closeKey"));
    EXPECT_FALSE(registry.getRegistryData(HKEY_LOCAL_MACHINE, KEY, REG_SZ, "Missing", &m_text));
    EXPECT_THAT(registry.m_calls,
                ElementsAre("getRegistryData", "openKey", "closeKey", "getRegistryData", "openKey", "closeKey"));
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
