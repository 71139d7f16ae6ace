#include <array>
#include <map>

#include "adapters/wmi/ProviderIdentity.h"
#include "requests/RequestTest.h"

// The provider as COM finds it through the machine's registry.
namespace {

const std::string SERVER_KEY = "Software\\classes\\CLSID\\{D39A94C6-35D2-4B40-BB6A-56E279951017}\\InprocServer32";

std::string registeredFile()
{
    std::array<char, MAX_PATH> text{};
    DWORD size = text.size();
    return RegGetValueA(HKEY_LOCAL_MACHINE, SERVER_KEY.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text.data(), &size) ==
                   ERROR_SUCCESS
               ? text.data()
               : "";
}

// Restores the registration, because another build may be registered in this machine's registry.
class RegistrationAsItWas
{
public:
    RegistrationAsItWas() : m_file(registeredFile()) {}
    RegistrationAsItWas(const RegistrationAsItWas&) = delete;
    RegistrationAsItWas& operator=(const RegistrationAsItWas&) = delete;
    ~RegistrationAsItWas()
    {
        const support::ProviderModule module;
        if (m_file.empty()) {
            module.unregisterServer();
            return;
        }
        module.registerServer();
        HKEY key = nullptr;
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, SERVER_KEY.c_str(), 0, KEY_WRITE, &key) == ERROR_SUCCESS) {
            RegSetValueExA(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(m_file.c_str()),
                           static_cast<DWORD>(m_file.size() + 1));
            RegCloseKey(key);
        }
    }

private:
    std::string m_file;
};

TEST(RegistrationTest, Registration_letsComCreateTheProvider)
{
    const RegistrationAsItWas before;
    const ComApartment apartment;
    {
        const support::ProviderModule module;
        ASSERT_EQ(module.registerServer(), S_OK);
        std::array<char, MAX_PATH> file{};
        GetModuleFileNameA(module.handle(), file.data(), file.size());
        EXPECT_EQ(registeredFile(), file.data());
    }
    utils::ComReference<IWbemProviderInit> init;
    ASSERT_EQ(support::hex(CoCreateInstance(identity::PROVIDER_CLSID, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()))),
              "0x00000000");
    utils::ComReference<IWbemServices> services;
    EXPECT_EQ(init->QueryInterface(IID_IWbemServices, reinterpret_cast<void**>(services.out())), S_OK);
    EXPECT_EQ(support::hex(services->CancelAsyncCall(nullptr)), "0x8004100C");
    services.reset();
    init.reset();
    const support::ProviderModule module;
    EXPECT_EQ(module.canUnloadNow(), S_OK);
    EXPECT_EQ(module.unregisterServer(), S_OK);
    EXPECT_EQ(support::hex(CoCreateInstance(identity::PROVIDER_CLSID, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()))),
              "0x80040154");
}

}  // namespace
