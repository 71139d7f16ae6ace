#include "adapters/wmi/WmiAdapter.h"

#include "adapters/wmi/ServerState.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

// The provider as a COM object. Its requests are tested through the built DLL, in tests/requests.
namespace {

using support::hex;
using support::Lines;

class WmiAdapterTest : public WmiTest
{
protected:
    ~WmiAdapterTest() override
    {
        provider->Release();
        EXPECT_EQ(server::objectCount, 0);
    }

    void SetUp() override
    {
        provider = new WmiInstanceProvider;
        provider->AddRef();
        initialize(wmiNamespace);
    }

    void initialize(support::FakeNamespace& given)
    {
        EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, &given, nullptr, nullptr), 0);
    }

    WmiInstanceProvider* provider = nullptr;
};

TEST_F(WmiAdapterTest, Object_countsUntilItsNamespaceIsReleased)
{
    support::FakeNamespace other(calls, "other");
    auto* const another = new WmiInstanceProvider;
    EXPECT_EQ(server::objectCount, 2);
    EXPECT_EQ(another->AddRef(), 1U);
    EXPECT_EQ(another->AddRef(), 2U);
    another->Initialize(nullptr, 0, nullptr, nullptr, &other, nullptr, nullptr);
    EXPECT_EQ(another->Release(), 1U);
    int countAtRelease = 0;
    other.onLastRelease = [&] { countAtRelease = server::objectCount; };
    EXPECT_EQ(another->Release(), 0U);
    EXPECT_EQ(other.references(), 0);
    EXPECT_EQ(countAtRelease, 2);
    EXPECT_EQ(server::objectCount, 1);
}

TEST_F(WmiAdapterTest, Identity_isTheInterfaceOfInitialize)
{
    void* unknown = nullptr;
    void* init = nullptr;
    void* services = nullptr;
    EXPECT_EQ(provider->QueryInterface(IID_IUnknown, &unknown), S_OK);
    EXPECT_EQ(provider->QueryInterface(IID_IWbemProviderInit, &init), S_OK);
    EXPECT_EQ(provider->QueryInterface(IID_IWbemServices, &services), S_OK);
    EXPECT_EQ(unknown, init);
    EXPECT_EQ(init, static_cast<IWbemProviderInit*>(provider));
    EXPECT_EQ(services, static_cast<IWbemServices*>(provider));
    EXPECT_NE(services, unknown);
    // The second base gives the same answers and counts references of the same object.
    void* again = nullptr;
    EXPECT_EQ(static_cast<IWbemProviderInit*>(provider)->QueryInterface(IID_IWbemServices, &again), S_OK);
    EXPECT_EQ(again, services);
    EXPECT_EQ(hex(provider->QueryInterface(IID_IClassFactory, &again)), "0x80004002");
    EXPECT_EQ(again, nullptr);
    for (int left = 4; left > 0; --left) {
        EXPECT_EQ(static_cast<IWbemProviderInit*>(provider)->Release(), static_cast<ULONG>(left));
    }
}

TEST_F(WmiAdapterTest, OtherOperations_areRefusedWithoutATrace)
{
    takeMessages();
    const std::vector<HRESULT> answers{
        provider->OpenNamespace(nullptr, 0, nullptr, nullptr, nullptr),
        provider->CancelAsyncCall(&sink),
        provider->QueryObjectSink(0, nullptr),
        static_cast<IWbemServices*>(provider)->GetObject(nullptr, 0, nullptr, nullptr, nullptr),
        provider->PutClass(nullptr, 0, nullptr, nullptr),
        provider->DeleteClass(nullptr, 0, nullptr, nullptr),
        provider->DeleteClassAsync(nullptr, 0, nullptr, &sink),
        provider->CreateClassEnum(nullptr, 0, nullptr, nullptr),
        provider->CreateClassEnumAsync(nullptr, 0, nullptr, &sink),
        provider->PutInstance(nullptr, 0, nullptr, nullptr),
        provider->DeleteInstance(nullptr, 0, nullptr, nullptr),
        provider->CreateInstanceEnum(nullptr, 0, nullptr, nullptr),
        provider->ExecQuery(nullptr, nullptr, 0, nullptr, nullptr),
        provider->ExecQueryAsync(nullptr, nullptr, 0, nullptr, &sink),
        provider->ExecNotificationQuery(nullptr, nullptr, 0, nullptr, nullptr),
        provider->ExecNotificationQueryAsync(nullptr, nullptr, 0, nullptr, &sink),
        provider->ExecMethod(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr)};
    for (const HRESULT answer : answers) {
        EXPECT_EQ(hex(answer), "0x8004100C");
    }
    EXPECT_EQ(log.sequence(), Lines{});
}

TEST_F(WmiAdapterTest, SecondInitialize_replacesTheNamespace)
{
    support::FakeNamespace other(calls, "other");
    initialize(other);
    EXPECT_EQ(wmiNamespace.references(), 0);
    EXPECT_EQ(other.references(), 1);
    EXPECT_EQ(calls.take(), Lines{"namespace released"});
    // The same one again must not be released in between.
    initialize(other);
    EXPECT_EQ(other.references(), 1);
    EXPECT_EQ(calls.take(), Lines{});
    initialize(wmiNamespace);
}

TEST(WmiAdapterSlotsTest, Operations_keepTheirSlots)
{
    using Provider = WmiInstanceProvider;
    const std::vector<std::size_t> slots = support::slotsOf(
        &Provider::QueryInterface, &Provider::AddRef, &Provider::Release, &Provider::OpenNamespace,
        &Provider::CancelAsyncCall, &Provider::QueryObjectSink, &Provider::GetObject, &Provider::GetObjectAsync,
        &Provider::PutClass, &Provider::PutClassAsync, &Provider::DeleteClass, &Provider::DeleteClassAsync,
        &Provider::CreateClassEnum, &Provider::CreateClassEnumAsync, &Provider::PutInstance,
        &Provider::PutInstanceAsync, &Provider::DeleteInstance, &Provider::DeleteInstanceAsync,
        &Provider::CreateInstanceEnum, &Provider::CreateInstanceEnumAsync, &Provider::ExecQuery,
        &Provider::ExecQueryAsync, &Provider::ExecNotificationQuery, &Provider::ExecNotificationQueryAsync,
        &Provider::ExecMethod, &Provider::ExecMethodAsync);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i], i);
    }
    // The destructor occupies the entries 26 and 27. The second one also frees the memory.
    auto* const object = new WmiInstanceProvider;
    ASSERT_EQ(server::objectCount, 1);
    using Deleting = void (*)(WmiInstanceProvider*);
    (*reinterpret_cast<Deleting**>(object))[27](object);
    EXPECT_EQ(server::objectCount, 0);
}

TEST(WmiAdapterSlotsTest, SecondInterface_hasItsFourOperations)
{
    support::CallLog calls;
    support::FakeInitSink initSink(calls);
    auto* const object = new WmiInstanceProvider;
    object->AddRef();
    auto* const init = static_cast<IWbemProviderInit*>(object);
    using Initialize = HRESULT(STDMETHODCALLTYPE*)(IWbemProviderInit*, LPWSTR, LONG, LPWSTR, LPWSTR, IWbemServices*,
                                                   IWbemContext*, IWbemProviderInitSink*);
    (*reinterpret_cast<Initialize**>(init))[3](init, nullptr, 0, nullptr, nullptr, nullptr, nullptr, &initSink);
    EXPECT_EQ(calls.take(), Lines{"initSink.SetStatus(0x80041001, 0)"});
    object->Release();
}

}  // namespace
