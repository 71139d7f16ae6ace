#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <map>

#include "Utils/Utils.h"
#include "adapters/wmi/ServerState.h"
#include "support/CallLog.h"
#include "support/ImportHook.h"
#include "support/LogLines.h"
#include "support/PrivateRegistry.h"

// No header declares the module's exports, because COM's installers find them by name.
extern "C" HRESULT WINAPI DllRegisterServer();
extern "C" HRESULT WINAPI DllUnregisterServer();

namespace {

using support::hex;
using support::ImportHook;
using support::Lines;

// The class identifier as text, as the installer's files contain it.
const std::string CLASSES_KEY = "Software\\classes\\CLSID\\";
const std::string CLASS_KEY = CLASSES_KEY + "{D39A94C6-35D2-4B40-BB6A-56E279951017}";
const std::string SERVER_KEY = CLASS_KEY + "\\InprocServer32";
// The registry's own lines are tested with it.
const testing::Matcher<std::string> REGISTRY =
    testing::StartsWith("debug|Os/Windows/Windows|utils::WindowsRegistry::setKey|Creating REG_SZ ");

// The values of a key by name, each as type, size and text.
using Values = std::map<std::string, std::string>;

const Values MISSING{{"", "missing"}};
const Values CLASS_VALUES{{"", "type 1, 48 bytes: DRAVEv2 Provider for Vexal(R) Ethernet Adapters"}};

Values valuesOf(const std::string& path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return MISSING;
    }
    Values values;
    for (DWORD index = 0;; ++index) {
        std::array<char, 300> name{};
        std::array<BYTE, 600> data{};
        DWORD nameSize = name.size();
        DWORD dataSize = data.size();
        DWORD type = 0;
        if (RegEnumValueA(key, index, name.data(), &nameSize, nullptr, &type, data.data(), &dataSize) != ERROR_SUCCESS)
        {
            break;
        }
        values[name.data()] = utils::format("type %d, %d bytes: %s", static_cast<int>(type), static_cast<int>(dataSize),
                                            reinterpret_cast<char*>(data.data()));
    }
    RegCloseKey(key);
    return values;
}

std::string registered(const std::string& value)
{
    return utils::format("type 1, %d bytes: %s", static_cast<int>(value.size() + 1), value.c_str());
}

// The line that an exported function writes first.
std::string entryOf(const std::string& function)
{
    return support::debugLine(function, function, "WmiAdapter");
}

std::string fileName;

DWORD WINAPI giveFileName(HMODULE module, LPSTR name, DWORD size)
{
    EXPECT_EQ(module, GetModuleHandleA("kernel32.dll"));
    // Behaves as the platform: cuts the text to the buffer, terminates it, and returns the buffer's size.
    const std::string text = fileName.substr(0, size - 1);
    std::strcpy(name, text.c_str());
    return text.size() == fileName.size() ? static_cast<DWORD>(text.size()) : size;
}

class SelfRegistrationTest : public testing::Test
{
protected:
    SelfRegistrationTest()
    {
        fileName = "C:\\provider.dll";
        // Any module that is not the program itself.
        server::moduleHandle = GetModuleHandleA("kernel32.dll");
    }
    ~SelfRegistrationTest() override { server::moduleHandle = nullptr; }

    Lines takeMessages() { return support::takeMessages(log); }

    support::LogCapture log{2};
    support::PrivateRegistry machine;
    ImportHook nameHook{"GetModuleFileNameA", &giveFileName};
};

TEST_F(SelfRegistrationTest, Registration_writesThreeTextsEachTime)
{
    for (int registration = 0; registration < 2; ++registration) {
        EXPECT_EQ(DllRegisterServer(), S_OK);
        EXPECT_EQ(valuesOf(CLASS_KEY), CLASS_VALUES);
        EXPECT_EQ(valuesOf(SERVER_KEY),
                  (Values{{"", registered("C:\\provider.dll")}, {"ThreadingModel", registered("Both")}}));
        EXPECT_THAT(takeMessages(), testing::ElementsAre(entryOf("DllRegisterServer"), REGISTRY, REGISTRY, REGISTRY));
    }
}

TEST_F(SelfRegistrationTest, Registration_longFileName_isCut)
{
    fileName = "C:\\" + std::string(300, 'x') + ".dll";
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(valuesOf(SERVER_KEY).at(""), registered(fileName.substr(0, 259)));
}

TEST_F(SelfRegistrationTest, Unregistering_removesBothKeysOnce)
{
    DllRegisterServer();
    takeMessages();
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(valuesOf(SERVER_KEY), MISSING);
    EXPECT_EQ(valuesOf(CLASS_KEY), MISSING);
    EXPECT_EQ(hex(DllUnregisterServer()), "0x80004005");
    const std::string line = entryOf("DllUnregisterServer");
    EXPECT_EQ(takeMessages(), (Lines{line, line}));
}

TEST_F(SelfRegistrationTest, Removal_undeletableKey_succeeds)
{
    DllRegisterServer();
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, (SERVER_KEY + "\\Child").c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                              &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(valuesOf(SERVER_KEY).at("ThreadingModel"), registered("Both"));
}

std::vector<std::string> removals;
decltype(&RegOpenKeyExA) openKey = nullptr;

LSTATUS WINAPI recordDelete(HKEY, LPCSTR child)
{
    removals.push_back(std::string("delete ") + child);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI recordOpen(HKEY root, LPCSTR path, DWORD options, REGSAM access, PHKEY key)
{
    removals.push_back(std::string("open ") + path);
    return openKey(root, path, options, access, key);
}

TEST_F(SelfRegistrationTest, Removal_goesFromTheBottomUp)
{
    DllRegisterServer();
    const ImportHook removal("RegDeleteKeyA", &recordDelete);
    const ImportHook open("RegOpenKeyExA", &recordOpen);
    openKey = open.original<decltype(&RegOpenKeyExA)>();
    removals.clear();
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(removals, (Lines{"open " + CLASS_KEY, "delete InProcServer32", "open " + CLASSES_KEY,
                               "delete {D39A94C6-35D2-4B40-BB6A-56E279951017}"}));
}

int allowedCreations = 0;
decltype(&RegCreateKeyExA) createKey = nullptr;

LSTATUS WINAPI limitedCreate(HKEY root, LPCSTR path, DWORD reserved, LPSTR name, DWORD options, REGSAM access,
                             LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition)
{
    if (allowedCreations-- > 0) {
        return createKey(root, path, reserved, name, options, access, security, key, disposition);
    }
    return ERROR_ACCESS_DENIED;
}

TEST_F(SelfRegistrationTest, Registration_stopsAtTheFirstFailure)
{
    const ImportHook hook("RegCreateKeyExA", &limitedCreate);
    createKey = hook.original<decltype(&RegCreateKeyExA)>();
    for (int texts = 0; texts < 3; ++texts) {
        allowedCreations = texts;
        EXPECT_EQ(hex(DllRegisterServer()), "0x80004005");
        const Lines lines = takeMessages();
        EXPECT_EQ(lines.size(), texts + 3U) << "the entry, a line for each attempted text, and the error";
        EXPECT_THAT(lines, testing::Contains(testing::StartsWith("error|")).Times(1));
        EXPECT_EQ(valuesOf(CLASS_KEY), texts < 1 ? MISSING : CLASS_VALUES);
        EXPECT_EQ(valuesOf(SERVER_KEY), (texts < 2 ? MISSING : Values{{"", registered("C:\\provider.dll")}}));
    }
}

}  // namespace
