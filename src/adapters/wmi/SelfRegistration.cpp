#include <array>
#include <cstdlib>
#include <new>
#include <string>

#include "Os/Windows/Platform.h"
#include "Os/Windows/WindowsRegistry.h"
#include "Utils/Log.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "adapters/wmi/ServerState.h"

// The module's own COM registration: three values under the machine-wide classes key. The WMI registration is the
// installer's.
namespace {

constexpr const char* FILE_NAME = "WmiAdapter";
constexpr const char* CLASSES_KEY = "Software\\classes\\CLSID\\";

std::string clsidText()
{
    std::array<wchar_t, 39> wide{};
    StringFromGUID2(identity::PROVIDER_CLSID, wide.data(), static_cast<int>(wide.size()));
    std::array<char, 39> text{};
    std::wcstombs(text.data(), wide.data(), text.size());
    return text.data();
}

std::string moduleFileName()
{
    // A longer name is silently cut, as it has always been.
    std::array<char, MAX_PATH> name{};
    GetModuleFileNameA(server::moduleHandle, name.data(), static_cast<DWORD>(name.size()));
    name.back() = '\0';
    return name.data();
}

bool registerServer()
{
    utils::WindowsRegistry& registry = *utils::WindowsRegistry::getInstance();
    const std::string classKey = CLASSES_KEY + clsidText();
    const std::string serverKey = classKey + "\\InprocServer32";
    return registry.setKey(HKEY_LOCAL_MACHINE, classKey, "", identity::DESCRIPTION) &&
           registry.setKey(HKEY_LOCAL_MACHINE, serverKey, "", moduleFileName()) &&
           registry.setKey(HKEY_LOCAL_MACHINE, serverKey, "ThreadingModel", "Both");
}

bool unregisterServer()
{
    utils::WindowsRegistry& registry = *utils::WindowsRegistry::getInstance();
    // From the bottom up, since the platform deletes no key that has subkeys. The registry ignores the case in which
    // the two directions spell the server key.
    return registry.deleteKey(HKEY_LOCAL_MACHINE, CLASSES_KEY + clsidText(), "InProcServer32") &&
           registry.deleteKey(HKEY_LOCAL_MACHINE, CLASSES_KEY, clsidText());
}

HRESULT statusOf(bool (*step)()) noexcept
{
    try {
        return step() ? S_OK : E_FAIL;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

// Stops at the first failure and leaves what is written: a second registration writes everything again.
extern "C" HRESULT WINAPI DllRegisterServer()
{
    static constexpr utils::LogSite here{FILE_NAME, "DllRegisterServer"};
    here.debug("DllRegisterServer");
    return statusOf(registerServer);
}

extern "C" HRESULT WINAPI DllUnregisterServer()
{
    static constexpr utils::LogSite here{FILE_NAME, "DllUnregisterServer"};
    here.debug("DllUnregisterServer");
    return statusOf(unregisterServer);
}
