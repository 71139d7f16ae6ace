#include <gtest/gtest.h>

#include <new>

#include "adapters/wmi/ProviderIdentity.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiProviderFactory.h"
#include "support/CallLog.h"
#include "support/ImportHook.h"

// No header declares the module's exports, because COM finds them by name.
extern "C" BOOL WINAPI DllMain(HINSTANCE hinst, DWORD reason, LPVOID reserved);

namespace {

using support::hex;

class ModuleEntryTest : public testing::Test
{
protected:
    // A factory with one reference.
    static WmiProviderFactory* factory()
    {
        void* made = nullptr;
        EXPECT_EQ(DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made), S_OK);
        return static_cast<WmiProviderFactory*>(made);
    }

    static IUnknown* provider(WmiProviderFactory& factory)
    {
        void* made = nullptr;
        EXPECT_EQ(factory.CreateInstance(nullptr, IID_IUnknown, &made), S_OK);
        return static_cast<IUnknown*>(made);
    }
};

TEST_F(ModuleEntryTest, ProcessAttach_storesTheModule)
{
    const HINSTANCE before = server::moduleHandle;
    auto* const module = reinterpret_cast<HINSTANCE>(this);
    EXPECT_EQ(DllMain(module, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_EQ(server::moduleHandle, module);
    server::moduleHandle = before;
}

TEST_F(ModuleEntryTest, OtherReasons_doNothing)
{
    const HINSTANCE before = server::moduleHandle;
    for (const DWORD reason : {DLL_PROCESS_DETACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH}) {
        EXPECT_EQ(DllMain(reinterpret_cast<HINSTANCE>(this), reason, nullptr), TRUE);
    }
    EXPECT_EQ(server::moduleHandle, before);
}

TEST_F(ModuleEntryTest, UnknownClass_isTheGeneralFailure)
{
    void* made = this;
    EXPECT_EQ(hex(DllGetClassObject(CLSID_WbemLocator, IID_IClassFactory, &made)), "0x80004005");
    EXPECT_EQ(made, this);
}

TEST_F(ModuleEntryTest, Factory_comesWithOneReference)
{
    WmiProviderFactory* const made = factory();
    EXPECT_EQ(made->Release(), 0U);
}

TEST_F(ModuleEntryTest, OtherInterface_destroysTheFactory)
{
    void* made = this;
    EXPECT_EQ(hex(DllGetClassObject(identity::PROVIDER_CLSID, IID_IWbemServices, &made)), "0x80004002");
    EXPECT_EQ(made, nullptr);
}

TEST_F(ModuleEntryTest, Factory_withoutMemory_isRefused)
{
    void* made = this;
    HRESULT hr = S_OK;
    {
        const support::ImportHook hook(
            "_ZnwyRKSt9nothrow_t", +[](std::size_t, const std::nothrow_t&) -> void* { return nullptr; });
        hr = DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made);
    }
    EXPECT_EQ(hex(hr), "0x8007000E");
}

TEST_F(ModuleEntryTest, Provider_keepsTheModule_andAFactoryDoesNot)
{
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    WmiProviderFactory* const made = factory();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    IUnknown* const kept = provider(*made);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    kept->Release();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    made->Release();
}

TEST_F(ModuleEntryTest, CanUnload_judgesEachCounterAlone)
{
    WmiProviderFactory* const made = factory();
    IUnknown* const kept = provider(*made);
    made->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "one object and minus one lock are not nothing";
    kept->Release();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "an unmatched unlock keeps the module";
    made->LockServer(TRUE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    made->Release();
}

TEST_F(ModuleEntryTest, EveryLock_hasToBeUndone)
{
    WmiProviderFactory* const made = factory();
    made->LockServer(TRUE);
    made->LockServer(TRUE);
    made->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    made->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    made->Release();
}

}  // namespace
