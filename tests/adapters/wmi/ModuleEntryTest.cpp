#include <gtest/gtest.h>

#include <new>

#include "Utils/Utils.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiProviderFactory.h"
#include "support/CallLog.h"
#include "support/ImportHook.h"
#include "support/LogLines.h"

// The module's exports have no header of their own: COM knows them by name.
extern "C" BOOL WINAPI DllMain(HINSTANCE hinst, DWORD reason, LPVOID reserved);

namespace {

using support::debugLine;
using support::hex;
using support::Lines;

std::string said(const std::string& function, const std::string& message)
{
    return debugLine(function, message, "WmiAdapter");
}

const std::string CREATED = said("WmiProviderFactory::WmiProviderFactory", "Creating WmiProviderFactory");
const std::string DESTROYED = said("WmiProviderFactory::~WmiProviderFactory", "Destroying WmiProviderFactory");

class ModuleEntryTest : public testing::Test
{
protected:
    Lines takeMessages() { return support::takeMessages(log); }

    // A factory with one reference.
    WmiProviderFactory* factory()
    {
        void* made = nullptr;
        EXPECT_EQ(DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made), S_OK);
        return static_cast<WmiProviderFactory*>(made);
    }

    support::LogCapture log{2};
};

TEST_F(ModuleEntryTest, AttachingAProcessStoresTheModuleAndSaysWhoItIs)
{
    const HINSTANCE before = server::moduleHandle;
    auto* const module = reinterpret_cast<HINSTANCE>(this);
    EXPECT_EQ(DllMain(module, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_EQ(server::moduleHandle, module);
    server::moduleHandle = before;
    EXPECT_EQ(takeMessages(),
              (Lines{said("DllMain", "DllMain 1"), said("DllMain", "DRAVEv2 Provider for Vexal(R) Ethernet Adapters"),
                     said("DllMain", "Version: 2.0.1.10"), said("DllMain", "Date: 2013/3/27 8:44")}));
}

TEST_F(ModuleEntryTest, EveryOtherReasonIsLoggedAndDoesNothingElse)
{
    const HINSTANCE before = server::moduleHandle;
    for (const DWORD reason : {DLL_PROCESS_DETACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH}) {
        EXPECT_EQ(DllMain(reinterpret_cast<HINSTANCE>(this), reason, nullptr), TRUE);
        EXPECT_EQ(takeMessages(), Lines{said("DllMain", utils::format("DllMain %d", static_cast<int>(reason)))});
    }
    EXPECT_EQ(server::moduleHandle, before);
}

TEST_F(ModuleEntryTest, AnUnknownClassIsTheGeneralFailureAndTheResultUntouched)
{
    void* made = this;
    EXPECT_EQ(hex(DllGetClassObject(CLSID_WbemLocator, IID_IClassFactory, &made)), "0x80004005");
    EXPECT_EQ(made, this);
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(ModuleEntryTest, TheFactoryComesWithOneReferenceAndNoLineOfTheExport)
{
    WmiProviderFactory* const made = factory();
    EXPECT_EQ(takeMessages(), (Lines{CREATED, said("WmiProviderFactory::AddRef", "AddRef, count is 1")}));
    EXPECT_EQ(made->Release(), 0U);
}

TEST_F(ModuleEntryTest, AnInterfaceThatTheFactoryLacksDestroysItAgain)
{
    void* made = this;
    EXPECT_EQ(hex(DllGetClassObject(identity::PROVIDER_CLSID, IID_IWbemServices, &made)), "0x80004002");
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(takeMessages(), (Lines{CREATED, DESTROYED}));
}

void* noMemory(std::size_t, const std::nothrow_t&) noexcept
{
    return nullptr;
}

TEST_F(ModuleEntryTest, WithoutMemoryForAFactoryTheCodeSaysSo)
{
    void* made = this;
    HRESULT hr = S_OK;
    {
        const support::ImportHook hook("_ZnwyRKSt9nothrow_t",
                                       static_cast<void* (*)(std::size_t, const std::nothrow_t&)>(&noMemory));
        hr = DllGetClassObject(identity::PROVIDER_CLSID, IID_IClassFactory, &made);
    }
    EXPECT_EQ(hex(hr), "0x8007000E");
}

TEST_F(ModuleEntryTest, AnUnusedModuleMayBeUnloadedAndSaysSoInTwoLines)
{
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(takeMessages(), (Lines{said("DllCanUnloadNow", "DllCanUnloadNow"),
                                     said("DllCanUnloadNow", "DllCanUnloadNow result: S_OK")}));
}

TEST_F(ModuleEntryTest, ALiveProviderKeepsTheModuleAndALiveFactoryDoesNot)
{
    WmiProviderFactory* const made = factory();
    void* provider = nullptr;
    ASSERT_EQ(made->CreateInstance(nullptr, IID_IUnknown, &provider), S_OK);
    takeMessages();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(takeMessages(), (Lines{said("DllCanUnloadNow", "DllCanUnloadNow"),
                                     said("DllCanUnloadNow", "DllCanUnloadNow result: S_FALSE")}));
    static_cast<IUnknown*>(provider)->Release();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    made->Release();
}

TEST_F(ModuleEntryTest, CanUnload_judgesEachCounterAlone)
{
    WmiProviderFactory* const made = factory();
    void* provider = nullptr;
    ASSERT_EQ(made->CreateInstance(nullptr, IID_IUnknown, &provider), S_OK);
    made->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "one object and minus one lock are not nothing";
    made->LockServer(TRUE);
    static_cast<IUnknown*>(provider)->Release();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    made->Release();
}

TEST_F(ModuleEntryTest, EveryLockHasToBeUndone)
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

TEST_F(ModuleEntryTest, AnUnmatchedUnlockKeepsTheModuleForEver)
{
    WmiProviderFactory* const made = factory();
    made->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    made->Release();
}

}  // namespace
