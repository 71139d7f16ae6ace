#include <gtest/gtest.h>

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

using support::debugLine;
using support::errorLine;
using support::hex;
using support::ImportHook;
using support::Lines;

// The class identifier as text, as the installer's files contain it.
const std::string CLASSES_KEY = "Software\\classes\\CLSID\\";
const std::string CLASS_KEY = CLASSES_KEY + "{D39A94C6-35D2-4B40-BB6A-56E279951017}";
const std::string SERVER_KEY = CLASS_KEY + "\\InprocServer32";
const std::string DESCRIPTION = "DRAVEv2 Provider for Vexal(R) Ethernet Adapters";
constexpr const char* SET = "utils::WindowsRegistry::setKey";
constexpr const char* REGISTRY = "Os/Windows/Windows";

// The values of a key by name, each as type, size and text. One entry "missing" if the key does not exist.
std::map<std::string, std::string> valuesOf(const std::string& path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return {{"", "missing"}};
    }
    std::map<std::string, std::string> values;
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

std::string fileName;
HMODULE askedModule = nullptr;

DWORD WINAPI giveFileName(HMODULE module, LPSTR name, DWORD size)
{
    askedModule = module;
    // Behaves as the platform: cuts the text to the buffer, terminates it, and returns the buffer's size.
    const std::string text = fileName.substr(0, size - 1);
    std::strcpy(name, text.c_str());
    return text.size() == fileName.size() ? static_cast<DWORD>(text.size()) : size;
}

class SelfRegistrationTest : public testing::Test
{
protected:
    void SetUp() override { fileName = "C:\\provider.dll"; }

    Lines takeMessages() { return support::takeMessages(log); }

    // The log lines of one registration.
    Lines written() const
    {
        const auto creating = [](const std::string& key, const std::string& value) {
            return debugLine(SET, "Creating REG_SZ registry key '80000002\\" + key + "' with value '" + value + "'",
                             REGISTRY);
        };
        return {debugLine("DllRegisterServer", "DllRegisterServer", "WmiAdapter"), creating(CLASS_KEY, DESCRIPTION),
                creating(SERVER_KEY, fileName), creating(SERVER_KEY, "Both")};
    }

    // A registration fails after the first lines of a whole one, with this error line.
    void expectFailure(std::size_t lines, const std::string& error)
    {
        EXPECT_EQ(hex(DllRegisterServer()), "0x80004005");
        Lines expected = written();
        expected.resize(lines);
        expected.push_back(errorLine(SET, error, REGISTRY));
        EXPECT_EQ(takeMessages(), expected);
    }

    support::LogCapture log{2};
    support::PrivateRegistry machine;
    ImportHook nameHook{"GetModuleFileNameA", &giveFileName};
};

TEST_F(SelfRegistrationTest, Registration_writesThreeTextsEachTime)
{
    for (int registration = 0; registration < 2; ++registration) {
        EXPECT_EQ(DllRegisterServer(), S_OK);
        EXPECT_EQ(valuesOf(CLASS_KEY), (std::map<std::string, std::string>{{"", registered(DESCRIPTION)}}));
        EXPECT_EQ(valuesOf(SERVER_KEY), (std::map<std::string, std::string>{{"", registered("C:\\provider.dll")},
                                                                            {"ThreadingModel", registered("Both")}}));
        EXPECT_EQ(takeMessages(), written());
    }
}

TEST_F(SelfRegistrationTest, Registration_namesTheAttachedModule)
{
    const HINSTANCE before = server::moduleHandle;
    server::moduleHandle = reinterpret_cast<HINSTANCE>(this);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(askedModule, reinterpret_cast<HMODULE>(this));
    server::moduleHandle = before;
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
    const std::map<std::string, std::string> missing{{"", "missing"}};
    EXPECT_EQ(valuesOf(SERVER_KEY), missing);
    EXPECT_EQ(valuesOf(CLASS_KEY), missing);
    EXPECT_EQ(hex(DllUnregisterServer()), "0x80004005");
    const std::string line = debugLine("DllUnregisterServer", "DllUnregisterServer", "WmiAdapter");
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

TEST_F(SelfRegistrationTest, WithoutAccess_oneErrorLineIsWritten)
{
    const ImportHook hook("RegCreateKeyExA", &limitedCreate);
    allowedCreations = 0;
    expectFailure(2, "RegCreateKeyEx -2147483646, " + CLASS_KEY + ", " + DESCRIPTION + " error 5");
    const std::map<std::string, std::string> missing{{"", "missing"}};
    EXPECT_EQ(valuesOf(CLASS_KEY), missing);
}

TEST_F(SelfRegistrationTest, Registration_stopsAtTheFirstFailure)
{
    const ImportHook hook("RegCreateKeyExA", &limitedCreate);
    createKey = hook.original<decltype(&RegCreateKeyExA)>();
    allowedCreations = 1;
    expectFailure(3, "RegCreateKeyEx -2147483646, " + SERVER_KEY + ", C:\\provider.dll error 5");
    EXPECT_EQ(valuesOf(CLASS_KEY), (std::map<std::string, std::string>{{"", registered(DESCRIPTION)}}));
}

TEST_F(SelfRegistrationTest, Registration_refusedValue_fails)
{
    const ImportHook hook("RegSetValueExA", support::returning<ERROR_NOT_ENOUGH_MEMORY>(&RegSetValueExA));
    expectFailure(2, "RegSetValueEx -2147483646, " + CLASS_KEY + ", " + DESCRIPTION + " error 8");
}

}  // namespace
