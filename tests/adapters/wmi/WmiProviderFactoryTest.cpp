#include "adapters/wmi/WmiProviderFactory.h"

#include <gtest/gtest.h>

#include <new>

#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiAdapter.h"
#include "support/CallLog.h"
#include "support/ImportHook.h"
#include "support/LogLines.h"
#include "support/SlotOf.h"

namespace {

using support::debugLine;
using support::hex;
using support::Lines;

std::string said(const std::string& function, const std::string& message)
{
    return debugLine("WmiProviderFactory::" + function, message, "WmiAdapter");
}

std::string providerSaid(const std::string& function, const std::string& message)
{
    return debugLine("WmiInstanceProvider::" + function, message, "WmiAdapter");
}

const std::string CREATED = said("WmiProviderFactory", "Creating WmiProviderFactory");
const std::string DESTROYED = said("~WmiProviderFactory", "Destroying WmiProviderFactory");

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
        log.clear();
    }

    Lines takeMessages() { return support::takeMessages(log); }

    support::LogCapture log{2};
    WmiProviderFactory* factory = nullptr;
};

TEST_F(WmiProviderFactoryTest, AddRefIsLoggedAndReleaseIsNotAndTheLastOneDestroys)
{
    auto* const another = new WmiProviderFactory;
    EXPECT_EQ(another->AddRef(), 1U);
    EXPECT_EQ(another->AddRef(), 2U);
    EXPECT_EQ(another->Release(), 1U);
    EXPECT_EQ(another->Release(), 0U);
    EXPECT_EQ(takeMessages(),
              (Lines{CREATED, said("AddRef", "AddRef, count is 1"), said("AddRef", "AddRef, count is 2"), DESTROYED}));
}

TEST_F(WmiProviderFactoryTest, ItIsItsOwnIdentityAndAClassFactory)
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

TEST_F(WmiProviderFactoryTest, AnyOtherInterfaceIsNullAndTakesNoReference)
{
    void* other = this;
    EXPECT_EQ(hex(factory->QueryInterface(IID_IWbemServices, &other)), "0x80004002");
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(WmiProviderFactoryTest, AFactoryDoesNotCountAsAnObject)
{
    EXPECT_EQ(server::objectCount, 0);
}

TEST_F(WmiProviderFactoryTest, AProviderIsMadeWithOneReference)
{
    void* made = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IWbemServices, &made), S_OK);
    EXPECT_EQ(server::objectCount, 1);
    EXPECT_EQ(takeMessages(), (Lines{said("CreateInstance", "CreateInstance"),
                                     providerSaid("WmiInstanceProvider", "Creating WmiInstanceProvider"),
                                     providerSaid("AddRef", "AddRef, count is 1")}));
    EXPECT_EQ(static_cast<IWbemServices*>(made)->Release(), 0U);
}

TEST_F(WmiProviderFactoryTest, AnInterfaceThatTheProviderLacksDestroysItAgain)
{
    void* made = this;
    EXPECT_EQ(hex(factory->CreateInstance(nullptr, IID_IWbemObjectSink, &made)), "0x80004002");
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(server::objectCount, 0);
    EXPECT_EQ(takeMessages(), (Lines{said("CreateInstance", "CreateInstance"),
                                     providerSaid("WmiInstanceProvider", "Creating WmiInstanceProvider"),
                                     providerSaid("~WmiInstanceProvider", "Destroying WmiInstanceProvider")}));
}

TEST_F(WmiProviderFactoryTest, AggregationIsRefusedWithTheResultNulled)
{
    void* made = this;
    EXPECT_EQ(hex(factory->CreateInstance(factory, IID_IUnknown, &made)), "0x80040110");
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(takeMessages(), Lines{said("CreateInstance", "CreateInstance")});
}

void* noMemory(std::size_t, const std::nothrow_t&) noexcept
{
    return nullptr;
}

TEST_F(WmiProviderFactoryTest, WithoutMemoryForAProviderTheCodeSaysSo)
{
    void* made = this;
    HRESULT hr = S_OK;
    {
        const support::ImportHook hook("_ZnwyRKSt9nothrow_t",
                                       static_cast<void* (*)(std::size_t, const std::nothrow_t&)>(&noMemory));
        hr = factory->CreateInstance(nullptr, IID_IUnknown, &made);
    }
    EXPECT_EQ(hex(hr), "0x8007000E");
    EXPECT_EQ(made, nullptr);
}

TEST_F(WmiProviderFactoryTest, LockingCountsEveryNonZeroArgumentUpAndZeroDownWithoutALimit)
{
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(2), S_OK);
    EXPECT_EQ(server::lockCount, 2);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(server::lockCount, -1);
    EXPECT_EQ(takeMessages(), Lines(5, said("LockServer", "Here")));
}

TEST(WmiProviderFactorySlotsTest, TheOperationsComeInTheirOrderAndTheDestructorLast)
{
    EXPECT_EQ(support::slotOf(&WmiProviderFactory::QueryInterface), 0U);
    EXPECT_EQ(support::slotOf(&WmiProviderFactory::AddRef), 1U);
    EXPECT_EQ(support::slotOf(&WmiProviderFactory::Release), 2U);
    EXPECT_EQ(support::slotOf(&WmiProviderFactory::CreateInstance), 3U);
    EXPECT_EQ(support::slotOf(&WmiProviderFactory::LockServer), 4U);
    support::LogCapture log(2);
    auto* const factory = new WmiProviderFactory;
    log.clear();
    // The destructor takes the entries 5 and 6; the second one frees the memory as well.
    using Deleting = void (*)(WmiProviderFactory*);
    (*reinterpret_cast<Deleting**>(factory))[6](factory);
    EXPECT_EQ(support::takeMessages(log), Lines{DESTROYED});
}

}  // namespace
