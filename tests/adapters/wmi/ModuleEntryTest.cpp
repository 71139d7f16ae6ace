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

TEST(ModuleEntryTest, Attach_storesTheModule)
{
    const HINSTANCE before = server::moduleHandle;
    const HINSTANCE module = GetModuleHandleA("KERNEL32.dll");
    for (const DWORD reason : {DLL_PROCESS_DETACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH}) {
        EXPECT_EQ(DllMain(module, reason, nullptr), TRUE);
        EXPECT_EQ(server::moduleHandle, before);
    }
    EXPECT_EQ(DllMain(module, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_EQ(server::moduleHandle, module);
    server::moduleHandle = before;
}

TEST(ModuleEntryTest, Refusal_hasItsCode)
{
    int untouched = 0;
    void* made = &untouched;
    EXPECT_EQ(hex(DllGetClassObject(CLSID_WbemLocator, IID_IClassFactory, &made)), "0x80004005");
    EXPECT_EQ(made, &untouched);
    EXPECT_EQ(hex(DllGetClassObject(identity::PROVIDER_CLSID, IID_IWbemServices, &made)), "0x80004002");
    EXPECT_EQ(made, nullptr);
    const support::ImportHook withoutMemory(
        "_ZnwyRKSt9nothrow_t", +[](std::size_t, const std::nothrow_t&) -> void* { return nullptr; });
    EXPECT_EQ(hex(DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made)), "0x8007000E");
}

TEST(ModuleEntryTest, ObjectsAndLocks_keepTheModule)
{
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    void* made = nullptr;
    ASSERT_EQ(DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made), S_OK);
    auto* const factory = static_cast<WmiProviderFactory*>(made);
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << "a factory does not count";
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &made), S_OK);
    auto* const provider = static_cast<IUnknown*>(made);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "one object and minus one lock are not nothing";
    provider->Release();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "an unmatched unlock keeps the module";
    EXPECT_EQ(factory->LockServer(2), S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << "any number but 0 locks once";
    factory->LockServer(TRUE);
    factory->LockServer(TRUE);
    factory->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    factory->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(factory->Release(), 0U);
}

}  // namespace
