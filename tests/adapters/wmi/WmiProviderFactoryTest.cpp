#include "adapters/wmi/WmiProviderFactory.h"

#include <gtest/gtest.h>

#include <new>

#include "adapters/wmi/ServerState.h"
#include "support/CallLog.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"

namespace {

using support::hex;

class WmiProviderFactoryTest : public testing::Test
{
protected:
    ~WmiProviderFactoryTest() override
    {
        factory->Release();
        EXPECT_EQ(server::objectCount, 0);
    }

    void SetUp() override
    {
        factory = new WmiProviderFactory;
        factory->AddRef();
    }

    WmiProviderFactory* factory = nullptr;
};

TEST_F(WmiProviderFactoryTest, Identity_isTheClassFactory)
{
    void* unknown = nullptr;
    void* itself = nullptr;
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, &unknown), S_OK);
    EXPECT_EQ(factory->QueryInterface(IID_IClassFactory, &itself), S_OK);
    EXPECT_EQ(unknown, factory);
    EXPECT_EQ(itself, factory);
    EXPECT_EQ(factory->Release(), 2U);
    EXPECT_EQ(factory->Release(), 1U);
}

TEST_F(WmiProviderFactoryTest, Provider_isMadeWithOneReference)
{
    void* made = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IWbemServices, &made), S_OK);
    EXPECT_EQ(server::objectCount, 1);
    EXPECT_EQ(static_cast<IWbemServices*>(made)->Release(), 0U);
}

TEST_F(WmiProviderFactoryTest, Refusal_makesNothing)
{
    const auto creating = [&](IUnknown* outer, const IID& interfaceId) {
        void* made = this;
        const HRESULT hr = factory->CreateInstance(outer, interfaceId, &made);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(server::objectCount, 0);
        return hex(hr);
    };
    EXPECT_EQ(creating(nullptr, IID_IWbemObjectSink), "0x80004002");
    EXPECT_EQ(creating(factory, IID_IUnknown), "0x80040110");
    const support::ImportHook withoutMemory(
        "_ZnwyRKSt9nothrow_t", +[](std::size_t, const std::nothrow_t&) -> void* { return nullptr; });
    EXPECT_EQ(creating(nullptr, IID_IUnknown), "0x8007000E");
}

TEST(WmiProviderFactorySlotsTest, Operations_comeInTheirOrder)
{
    using Factory = WmiProviderFactory;
    EXPECT_EQ(support::slotsOf(&Factory::QueryInterface, &Factory::AddRef, &Factory::Release, &Factory::CreateInstance,
                               &Factory::LockServer),
              (std::vector<std::size_t>{0, 1, 2, 3, 4}));
    auto* const factory = new WmiProviderFactory;
    support::LogCapture log(2);
    // The destructor occupies the entries 5 and 6. The second one also frees the memory.
    using Deleting = void (*)(WmiProviderFactory*);
    (*reinterpret_cast<Deleting**>(factory))[6](factory);
    EXPECT_EQ(log.debugger().size(), 1U) << "the destructor logs once";
}

}  // namespace
