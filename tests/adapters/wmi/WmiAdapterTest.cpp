#include "adapters/wmi/WmiAdapter.h"

#include <functional>
#include <optional>
#include <stdexcept>

#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/InstanceModifier.h"
#include "adapters/wmi/InstanceRemover.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiConverter.h"
#include "core/MethodErrors.h"
#include "fakes/CallContext.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::address;
using support::assertionLine;
using support::assertionText;
using support::CallContext;
using support::ClientToken;
using support::debugLine;
using support::errorLine;
using support::exceptionLine;
using support::hex;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;
using utils::ScopedBstr;

constexpr const char* PATH = "Zerix_EthernetPort.DeviceID=\"a\"";
constexpr const char* JOB_PATH = "Zerix_ConcreteJob.InstanceID=\"7\"";

std::string said(const std::string& function, const std::string& message)
{
    return debugLine("WmiInstanceProvider::" + function, message, "WmiAdapter");
}

std::string complained(const std::string& function, const std::string& message)
{
    return errorLine("WmiInstanceProvider::" + function, message, "WmiAdapter");
}

const Lines IMPERSONATED{debugLine("Impersonator::Impersonator", "Impersonating", "WmiAdapter"),
                         debugLine("Impersonator::Impersonator", "Impersonate success", "WmiAdapter")};
const Lines REFUSED_CLIENT{debugLine("Impersonator::Impersonator", "Impersonating", "WmiAdapter"),
                           errorLine("Impersonator::Impersonator", "Access denied, 2", "WmiAdapter")};
const Lines REVERTED{debugLine("Impersonator::~Impersonator", "Revert to self", "WmiAdapter")};
const Lines ACTED{"call.ImpersonateClient()"};
const Lines ENDED{"call.RevertToSelf()"};
const Lines DENIED{"call.ImpersonateClient()", "sink.SetStatus(0, 0x80041003, null, null)", "call.RevertToSelf()"};

class WmiAdapterTest : public WmiTest
{
protected:
    ~WmiAdapterTest() override
    {
        provider->Release();
        EXPECT_EQ(server::objectCount, 0);
        EXPECT_EQ(port.references(), 0);
        EXPECT_EQ(port.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        // Made here, so that no test's log begins with them.
        wa::WmiConverter::getInstance();
        wa::InstanceModifier::getInstance();
        wa::InstanceRemover::getInstance();
        wmiNamespace.classes["Zerix_EthernetPort"] = &port;
        samples::addKey(instance, "DeviceID", "a");
        provider = new WmiInstanceProvider;
        provider->AddRef();
        initialize();
        calls.take();
        log.clear();
    }

    void initialize()
    {
        std::wstring name = L"root\\DCIM\\vexal";
        provider->Initialize(nullptr, 0, name.data(), nullptr, &wmiNamespace, &context, nullptr);
    }

    // A provider that has not been given a namespace.
    void uninitialize()
    {
        provider->Release();
        provider = new WmiInstanceProvider;
        provider->AddRef();
        calls.take();
        log.clear();
    }

    void clientAllows(ClientToken token)
    {
        call.reset();
        call.emplace(calls, token);
    }

    HRESULT enumerate(IWbemObjectSink* to)
    {
        const ScopedBstr name("Zerix_EthernetPort");
        return provider->CreateInstanceEnumAsync(name.get(), 0, &context, to);
    }

    HRESULT get(const std::string& path = PATH)
    {
        const ScopedBstr text(path);
        return provider->GetObjectAsync(text.get(), 0, &context, &sink);
    }

    HRESULT put(LONG flags = WBEM_FLAG_UPDATE_ONLY)
    {
        return provider->PutInstanceAsync(&object, flags, &context, &sink);
    }

    HRESULT remove(const std::string& path = JOB_PATH)
    {
        const ScopedBstr text(path);
        return provider->DeleteInstanceAsync(text.get(), 0, &context, &sink);
    }

    HRESULT execute(const std::string& path = PATH, const std::string& method = "Run")
    {
        const ScopedBstr pathText(path);
        const ScopedBstr methodText(method);
        return provider->ExecMethodAsync(pathText.get(), methodText.get(), 0, &context, &object, &sink);
    }

    // The lines of a function of the provider itself and of the impersonation; the conversion's own are left out.
    Lines adapterMessages()
    {
        Lines lines;
        for (const std::string& line : takeMessages()) {
            if (line.find("|WmiAdapter|") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    support::FakeClassObject port{calls, "Zerix_EthernetPort"};
    support::FakeClassObject object{calls, "object"};
    core::CimInstance instance{"Zerix_EthernetPort"};
    core::CimInstance job{"Zerix_ConcreteJob"};
    WmiInstanceProvider* provider = nullptr;
    std::optional<CallContext> call{std::in_place, calls, ClientToken::impersonation};
};

TEST_F(WmiAdapterTest, AnObjectCountsFromItsConstructionToItsDestruction)
{
    const int before = server::objectCount;
    auto* const another = new WmiInstanceProvider;
    EXPECT_EQ(server::objectCount, before + 1);
    EXPECT_EQ(another->AddRef(), 1U);
    EXPECT_EQ(another->AddRef(), 2U);
    EXPECT_EQ(another->Release(), 1U);
    EXPECT_EQ(another->Release(), 0U);
    EXPECT_EQ(server::objectCount, before);
    EXPECT_EQ(takeMessages(), (Lines{said("WmiInstanceProvider", "Creating WmiInstanceProvider"),
                                     said("AddRef", "AddRef, count is 1"), said("AddRef", "AddRef, count is 2"),
                                     said("Release", "Release, count is 1"), said("Release", "Release, count is 0"),
                                     said("~WmiInstanceProvider", "Destroying WmiInstanceProvider")}));
}

TEST_F(WmiAdapterTest, TheDestructorSpeaksBeforeItLetsGoOfTheNamespaceAndOfTheCount)
{
    support::FakeNamespace other(calls, "other");
    auto* const another = new WmiInstanceProvider;
    another->AddRef();
    another->Initialize(nullptr, 0, nullptr, nullptr, &other, nullptr, nullptr);
    EXPECT_EQ(other.references(), 1);
    log.clear();
    Lines atRelease;
    int countAtRelease = 0;
    other.onLastRelease = [&] {
        atRelease = takeMessages();
        countAtRelease = server::objectCount;
    };
    another->Release();
    EXPECT_EQ(other.references(), 0);
    EXPECT_EQ(countAtRelease, 2);
    EXPECT_EQ(atRelease, (Lines{said("Release", "Release, count is 0"),
                                said("~WmiInstanceProvider", "Destroying WmiInstanceProvider")}));
}

TEST_F(WmiAdapterTest, TheIdentityIsTheInterfaceOfTheInitialisationAndNotThePrimaryOne)
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
    // Asked through the second base, it answers the same, and counts the same object.
    void* again = nullptr;
    EXPECT_EQ(static_cast<IWbemProviderInit*>(provider)->QueryInterface(IID_IWbemServices, &again), S_OK);
    EXPECT_EQ(again, services);
    EXPECT_EQ(takeMessages(), (Lines{said("AddRef", "AddRef, count is 2"), said("AddRef", "AddRef, count is 3"),
                                     said("AddRef", "AddRef, count is 4"), said("AddRef", "AddRef, count is 5")}));
    for (int left = 4; left > 0; --left) {
        EXPECT_EQ(static_cast<IWbemProviderInit*>(provider)->Release(), static_cast<ULONG>(left));
    }
}

TEST_F(WmiAdapterTest, AnyOtherInterfaceIsNullAndTakesNoReference)
{
    void* other = this;
    EXPECT_EQ(hex(provider->QueryInterface(IID_IClassFactory, &other)), "0x80004002");
    EXPECT_EQ(other, nullptr);
    other = this;
    EXPECT_EQ(hex(provider->QueryInterface(IID_IWbemObjectSink, &other)), "0x80004002");
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(WmiAdapterTest, EveryOtherOperationIsRefusedWithoutALineOrATouch)
{
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
    EXPECT_EQ(takeMessages(), Lines{});
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiAdapterTest, WritingAClassAloneSaysThatItIsNotSupportedAndNamesTheHeader)
{
    EXPECT_EQ(hex(provider->PutClassAsync(nullptr, 0, nullptr, &sink)), "0x8004100C");
    EXPECT_EQ(takeMessages(), Lines{debugLine("WmiInstanceProvider::PutClassAsync", "Not supported", "WmiAdapter.h")});
    EXPECT_EQ(calls.take(), Lines{});
}

TEST(WmiAdapterSlotsTest, TheOperationsKeepTheirSlotsAndTheDestructorFollowsThem)
{
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::QueryInterface), 0U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::AddRef), 1U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::Release), 2U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::OpenNamespace), 3U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::CancelAsyncCall), 4U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::QueryObjectSink), 5U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::GetObject), 6U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::GetObjectAsync), 7U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::PutClass), 8U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::PutClassAsync), 9U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::DeleteClass), 10U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::DeleteClassAsync), 11U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::CreateClassEnum), 12U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::CreateClassEnumAsync), 13U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::PutInstance), 14U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::PutInstanceAsync), 15U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::DeleteInstance), 16U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::DeleteInstanceAsync), 17U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::CreateInstanceEnum), 18U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::CreateInstanceEnumAsync), 19U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecQuery), 20U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecQueryAsync), 21U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecNotificationQuery), 22U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecNotificationQueryAsync), 23U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecMethod), 24U);
    EXPECT_EQ(support::slotOf(&WmiInstanceProvider::ExecMethodAsync), 25U);
    // The destructor takes the entries 26 and 27; the second one frees the memory as well.
    auto* const object = new WmiInstanceProvider;
    ASSERT_EQ(server::objectCount, 1);
    using Deleting = void (*)(WmiInstanceProvider*);
    (*reinterpret_cast<Deleting**>(object))[27](object);
    EXPECT_EQ(server::objectCount, 0);
}

TEST(WmiAdapterSlotsTest, TheSecondInterfaceHasItsFourOperations)
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

TEST_F(WmiAdapterTest, InitialisingKeepsTheNamespaceAndReportsSuccess)
{
    uninitialize();
    support::FakeInitSink initSink(calls);
    std::wstring name = L"root\\DCIM\\vexal";
    EXPECT_EQ(provider->Initialize(nullptr, 0, name.data(), nullptr, &wmiNamespace, &context, &initSink), 0);
    EXPECT_EQ(wmiNamespace.references(), 1);
    EXPECT_EQ(calls.take(), Lines{"initSink.SetStatus(0x00000000, 0)"});
    EXPECT_EQ(takeMessages(),
              (Lines{said("Initialize", "Initializing"), said("Initialize", "Namespace: root\\DCIM\\vexal")}));
}

TEST_F(WmiAdapterTest, Initialize_reportsOnceTheNamespaceIsStored)
{
    uninitialize();
    support::FakeInitSink initSink(calls);
    Lines before;
    HRESULT answer = E_FAIL;
    initSink.onStatus = [&] {
        before = takeMessages();
        EXPECT_EQ(wmiNamespace.references(), 1);
        answer = enumerate(&sink);
    };
    std::wstring name = L"root";
    provider->Initialize(nullptr, 0, name.data(), nullptr, &wmiNamespace, &context, &initSink);
    EXPECT_EQ(hex(answer), "0x00000000") << "a request that comes at once is served";
    EXPECT_EQ(before, Lines{said("Initialize", "Initializing")});
    EXPECT_EQ(adapterMessages().back(), said("Initialize", "Namespace: root"));
}

TEST_F(WmiAdapterTest, InitialisingWithoutANamespaceReportsFailureAndStillSucceeds)
{
    uninitialize();
    support::FakeInitSink initSink(calls);
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, nullptr, nullptr, &initSink), 0);
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(calls.take(), Lines{"initSink.SetStatus(0x80041001, 0)"});
    EXPECT_EQ(takeMessages(), (Lines{said("Initialize", "Initializing"), said("Initialize", "Initializing")}));
}

TEST_F(WmiAdapterTest, ASecondInitialisationReplacesTheNamespace)
{
    support::FakeNamespace other(calls, "other");
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, &other, nullptr, nullptr), 0);
    EXPECT_EQ(wmiNamespace.references(), 0);
    EXPECT_EQ(other.references(), 1);
    EXPECT_EQ(calls.take(), Lines{"namespace released"});
    EXPECT_EQ(takeMessages(), (Lines{said("Initialize", "Initializing"), said("Initialize", "Namespace: ")}));
    // The same one again must not be let go in between.
    EXPECT_EQ(provider->Initialize(nullptr, 0, nullptr, nullptr, &other, nullptr, nullptr), 0);
    EXPECT_EQ(other.references(), 1);
    EXPECT_EQ(calls.take(), Lines{});
    initialize();
}

TEST_F(WmiAdapterTest, AnEnumerationDeliversEachObjectReleasesItAndReportsProgress)
{
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        for (int i = 0; i < 3; ++i) {
            list.append(&instance);
        }
        return list;
    };
    EXPECT_EQ(enumerate(&sink), 0);
    Lines asked{"broker.getInstances(Zerix_EthernetPort)"};
    for (int i = 1; i <= 3; ++i) {
        asked = asked + Lines{"namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
                              "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released",
                              "Zerix_EthernetPort#" + std::to_string(i) + ".Put(DeviceID, 0, VT_BSTR 'a', 0)"};
    }
    EXPECT_EQ(calls.take(),
              ACTED + asked +
                  (Lines{"sink.Indicate(1, Zerix_EthernetPort#1)", "Zerix_EthernetPort#1 released",
                         "sink.SetStatus(2, 0x00030000, null, null)", "sink.Indicate(1, Zerix_EthernetPort#2)",
                         "Zerix_EthernetPort#2 released", "sink.SetStatus(2, 0x00030001, null, null)",
                         "sink.Indicate(1, Zerix_EthernetPort#3)", "Zerix_EthernetPort#3 released",
                         "sink.SetStatus(2, 0x00030002, null, null)", "sink.SetStatus(0, 0x00000000, null, null)"}) +
                  ENDED);
    const std::string function = "CreateInstanceEnumAsync";
    const Lines delivered{said(function, "Indicate .. OK"), said(function, "SetStatus .. OK")};
    EXPECT_EQ(adapterMessages(),
              Lines{said(function, "Here")} + IMPERSONATED + Lines{said(function, "Delivering instances to WMI")} +
                  delivered + delivered + delivered +
                  (Lines{said(function, "3 instances delivered "), said(function, "SetStatus .. OK")}) + REVERTED);
}

TEST_F(WmiAdapterTest, AnEnumerationReleasesAnObjectAfterTheLineOfItsDelivery)
{
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        return list;
    };
    Lines before;
    sink.onIndicate = [&](IWbemClassObject* delivered) {
        log.clear();
        static_cast<support::FakeClassObject*>(delivered)->onLastRelease = [&] { before = adapterMessages(); };
    };
    EXPECT_EQ(enumerate(&sink), 0);
    const std::string function = "CreateInstanceEnumAsync";
    EXPECT_EQ(before, Lines{said(function, "Indicate .. OK")});
    EXPECT_EQ(adapterMessages(), (Lines{said(function, "SetStatus .. OK"), said(function, "1 instances delivered "),
                                        said(function, "SetStatus .. OK")}) +
                                     REVERTED);
}

TEST_F(WmiAdapterTest, Enumeration_countsBeforeItsFinalStatus)
{
    Lines before;
    sink.onStatus = [&] { before = adapterMessages(); };
    EXPECT_EQ(enumerate(&sink), 0);
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(before.back(), said("CreateInstanceEnumAsync", "0 instances delivered "));
    EXPECT_EQ(adapterMessages(), Lines{said("CreateInstanceEnumAsync", "SetStatus .. OK")} + REVERTED);
}

TEST_F(WmiAdapterTest, Requests_ignoreFlagsAndContextThatTheyDoNotUse)
{
    const ScopedBstr name("Zerix_EthernetPort");
    const ScopedBstr path(PATH);
    const ScopedBstr jobPath(JOB_PATH);
    const ScopedBstr method("Run");
    *object.path.address() = samples::bstr(PATH);
    broker.onFind = [&] { return &instance; };
    for (const LONG flags : {0x10L, 0x80L, 0x7FFFFFFFL, -1L}) {
        EXPECT_EQ(hex(provider->CreateInstanceEnumAsync(name.get(), flags, &context, &sink)), "0x00000000") << flags;
        EXPECT_EQ(hex(provider->GetObjectAsync(path.get(), flags, &context, &sink)), "0x00000000") << flags;
        EXPECT_EQ(hex(provider->PutInstanceAsync(&object, flags | WBEM_FLAG_UPDATE_ONLY, nullptr, &sink)), "0x00000000")
            << flags;
        EXPECT_EQ(hex(provider->DeleteInstanceAsync(jobPath.get(), flags, nullptr, &sink)), "0x00000000") << flags;
        EXPECT_EQ(hex(provider->ExecMethodAsync(path.get(), method.get(), flags, &context, &object, &sink)),
                  "0x00000000")
            << flags;
    }
}

TEST_F(WmiAdapterTest, AnEnumerationOfNothingSendsNoObjectAndNoProgress)
{
    EXPECT_EQ(enumerate(&sink), 0);
    EXPECT_EQ(calls.take(),
              ACTED + (Lines{"broker.getInstances(Zerix_EthernetPort)", "sink.SetStatus(0, 0x00000000, null, null)"}) +
                  ENDED);
    const std::string function = "CreateInstanceEnumAsync";
    const std::string conversion = "wa::WmiConverter::getInstances";
    EXPECT_EQ(takeMessages(),
              Lines{said(function, "Here")} + IMPERSONATED +
                  (Lines{debugLine(conversion, "Getting instances for class Zerix_EthernetPort"),
                         debugLine(conversion, "CimBroker instance: #" + address(&broker)),
                         debugLine(conversion, "0 instances found"), said(function, "Delivering instances to WMI"),
                         said(function, "0 instances delivered "), said(function, "SetStatus .. OK")}) +
                  REVERTED);
}

TEST_F(WmiAdapterTest, WhatTheSinkAnswersDuringAnEnumerationIsLoggedAndChangesNothing)
{
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        return list;
    };
    // A success code that is not zero counts as an error too.
    sink.indicateAnswers = {1};
    sink.statusAnswers = {static_cast<HRESULT>(WBEM_E_CALL_CANCELLED), 2};
    EXPECT_EQ(enumerate(&sink), 0);
    const std::string function = "CreateInstanceEnumAsync";
    EXPECT_EQ(adapterMessages(), Lines{said(function, "Here")} + IMPERSONATED +
                                     (Lines{said(function, "Delivering instances to WMI"),
                                            complained(function, "pHandler->Indicate() error 0x1"),
                                            complained(function, "pHandler->Indicate() error 0x80041032"),
                                            said(function, "1 instances delivered "),
                                            complained(function, "pHandler->Indicate() error 0x2")}) +
                                     REVERTED);
}

TEST_F(WmiAdapterTest, AnEnumerationChecksItsSinkAndNamespaceOnlyAfterImpersonation)
{
    const std::string function = "CreateInstanceEnumAsync";
    const Lines expected =
        Lines{said(function, "Here")} + IMPERSONATED + Lines{said(function, "INVALID PARAMETER")} + REVERTED;
    EXPECT_EQ(hex(enumerate(nullptr)), "0x80041008");
    EXPECT_EQ(takeMessages(), expected);
    EXPECT_EQ(calls.take(), ACTED + ENDED);
    uninitialize();
    EXPECT_EQ(hex(enumerate(&sink)), "0x80041008");
    EXPECT_EQ(takeMessages(), expected);
    EXPECT_EQ(calls.take(), ACTED + ENDED);
}

TEST_F(WmiAdapterTest, AnEnumerationForADeniedClientEndsWithTheReportOfTheImpersonation)
{
    clientAllows(ClientToken::identification);
    EXPECT_EQ(hex(enumerate(&sink)), "0x80041003");
    EXPECT_EQ(calls.take(), DENIED);
    EXPECT_EQ(takeMessages(), Lines{said("CreateInstanceEnumAsync", "Here")} + REFUSED_CLIENT + REVERTED);
    EXPECT_EQ(hex(enumerate(nullptr)), "0x80041003");
    EXPECT_EQ(calls.take(), ACTED + ENDED);
}

TEST_F(WmiAdapterTest, AnExceptionEscapesAnEnumerationAndOnlyTheIdentityIsGivenBack)
{
    core::CimInstance unknown("Zerix_Unknown");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&unknown);
        return list;
    };
    EXPECT_EQ(thrownBy([&] { enumerate(&sink); }), "pNamespace->GetObject(Zerix_Unknown) error #80041002");
    EXPECT_FALSE(support::threadHasToken());
    const Lines made = calls.take();
    EXPECT_EQ(made.back(), "call.RevertToSelf()");
    for (const std::string& entry : made) {
        EXPECT_NE(entry.rfind("sink.", 0), 0U) << entry;
    }
    EXPECT_EQ(adapterMessages(), Lines{said("CreateInstanceEnumAsync", "Here")} + IMPERSONATED + REVERTED);
}

TEST_F(WmiAdapterTest, AnEnumerationWithoutAClassOrAContextEscapesAsAnAssertion)
{
    const ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(withoutLine(thrownBy([&] { provider->CreateInstanceEnumAsync(nullptr, 0, &context, &sink); })),
              assertionText("bstrClassName != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { provider->CreateInstanceEnumAsync(name.get(), 0, nullptr, &sink); })),
              assertionText("pCtx != NULL"));
    EXPECT_EQ(calls.take(), ACTED + ENDED + ACTED + ENDED);
}

TEST_F(WmiAdapterTest, ObjectsThatAreNotDeliveredAreReleasedWhenTheSinkThrows)
{
    class ThrowingSink : public IWbemObjectSink
    {
    public:
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
        ULONG STDMETHODCALLTYPE Release() override { return 1; }
        HRESULT STDMETHODCALLTYPE Indicate(LONG, IWbemClassObject**) override { throw std::runtime_error("x"); }
        HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT, BSTR, IWbemClassObject*) override { return S_OK; }
    };
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&instance);
        return list;
    };
    ThrowingSink throwing;
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { enumerate(&throwing); }), "x");
    EXPECT_EQ(port.spawned().size(), 2U);
    EXPECT_EQ(port.spawnedReferences(), 0);
}

TEST_F(WmiAdapterTest, AGetIndicatesTheObjectAndReportsSuccess)
{
    broker.onFind = [&] { return &instance; };
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(calls.take(), ACTED +
                                (Lines{"broker.getInstanceByPath(Zerix_EthernetPort.DeviceID=\"a\")",
                                       "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
                                       "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released",
                                       "Zerix_EthernetPort#1.Put(DeviceID, 0, VT_BSTR 'a', 0)",
                                       "sink.Indicate(1, Zerix_EthernetPort#1)", "Zerix_EthernetPort#1 released",
                                       "sink.SetStatus(0, 0x00000000, null, null)"}) +
                                ENDED);
    EXPECT_EQ(adapterMessages(),
              Lines{said("GetObjectAsync", std::string("Get instance: ") + PATH)} + IMPERSONATED + REVERTED);
}

TEST_F(WmiAdapterTest, AGetNeitherChecksNorLogsWhatTheSinkAnswers)
{
    broker.onFind = [&] { return &instance; };
    sink.indicateAnswers = {E_FAIL};
    sink.statusAnswers = {E_FAIL};
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(adapterMessages(),
              Lines{said("GetObjectAsync", std::string("Get instance: ") + PATH)} + IMPERSONATED + REVERTED);
}

TEST_F(WmiAdapterTest, AGetOfNothingSendsNoObjectAndReportsTheCodeItReturns)
{
    EXPECT_EQ(hex(get()), "0x80041002");
    EXPECT_EQ(calls.take(), ACTED +
                                (Lines{"broker.getInstanceByPath(Zerix_EthernetPort.DeviceID=\"a\")",
                                       "sink.SetStatus(0, 0x80041002, null, null)"}) +
                                ENDED);
}

TEST_F(WmiAdapterTest, AGetWithoutPathSinkOrNamespaceIsRefusedBeforeAnythingElse)
{
    const ScopedBstr path(PATH);
    const auto pointers = [](const void* text, const void* to, const void* space) {
        return Lines{complained("GetObjectAsync", "GetObjectAsync invalid parameter " + address(text) + " " +
                                                      address(to) + " " + address(space))};
    };
    EXPECT_EQ(hex(provider->GetObjectAsync(nullptr, 0, &context, &sink)), "0x80041008");
    EXPECT_EQ(takeMessages(),
              pointers(nullptr, static_cast<IWbemObjectSink*>(&sink), static_cast<IWbemServices*>(&wmiNamespace)));
    EXPECT_EQ(hex(provider->GetObjectAsync(path.get(), 0, &context, nullptr)), "0x80041008");
    EXPECT_EQ(takeMessages(), pointers(path.get(), nullptr, static_cast<IWbemServices*>(&wmiNamespace)));
    EXPECT_EQ(calls.take(), Lines{});
    uninitialize();
    EXPECT_EQ(hex(provider->GetObjectAsync(path.get(), 0, &context, &sink)), "0x80041008");
    EXPECT_EQ(takeMessages(), pointers(path.get(), static_cast<IWbemObjectSink*>(&sink), nullptr));
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiAdapterTest, AGetNamesThePathBeforeItImpersonates)
{
    clientAllows(ClientToken::identification);
    EXPECT_EQ(hex(get()), "0x80041003");
    EXPECT_EQ(calls.take(), DENIED);
    EXPECT_EQ(takeMessages(),
              Lines{said("GetObjectAsync", std::string("Get instance: ") + PATH)} + REFUSED_CLIENT + REVERTED);
}

TEST_F(WmiAdapterTest, EveryExceptionOfAGetIsAFailureAndOnlyStandardOnesHaveAText)
{
    const auto answerTo = [&](const std::function<void()>& failing) {
        broker.onFind = [&]() -> core::CimInstance* {
            failing();
            return nullptr;
        };
        EXPECT_EQ(hex(get()), "0x80041001");
        EXPECT_EQ(calls.take(), ACTED +
                                    (Lines{"broker.getInstanceByPath(Zerix_EthernetPort.DeviceID=\"a\")",
                                           "sink.SetStatus(0, 0x80041001, null, null)"}) +
                                    ENDED);
        const Lines lines = adapterMessages();
        return lines.at(lines.size() - 2);
    };
    EXPECT_EQ(answerTo([] { throw utils::ENotFound("x"); }), complained("GetObjectAsync", "Exception: 'DRAVEv2: x'"));
    EXPECT_EQ(answerTo([] { throw std::runtime_error("x"); }), complained("GetObjectAsync", "Exception: 'x'"));
    EXPECT_EQ(answerTo([] { throw _com_error(E_OUTOFMEMORY); }), complained("GetObjectAsync", "Unspecified error"));
    EXPECT_EQ(answerTo([] { throw 7; }), complained("GetObjectAsync", "Unspecified error"));
}

TEST_F(WmiAdapterTest, AGetOfATextThatIsNoPathFails)
{
    EXPECT_EQ(hex(get("nonsense")), "0x80041001");
    EXPECT_EQ(calls.take(), ACTED + Lines{"sink.SetStatus(0, 0x80041001, null, null)"} + ENDED);
    const std::string problem = "ESyntaxError:too many classname separators: 'nonsense'";
    EXPECT_EQ(takeMessages(), Lines{said("GetObjectAsync", "Get instance: nonsense")} + IMPERSONATED +
                                  (Lines{debugLine("core::CimPath::CimPath", "Creating path nonsense", "CimPath"),
                                         exceptionLine(problem),
                                         complained("GetObjectAsync", "Exception: 'DRAVEv2: " + problem + "'")}) +
                                  REVERTED);
}

TEST_F(WmiAdapterTest, AGetOfAnEmptyPathFailsByItsAssertion)
{
    EXPECT_EQ(hex(get("")), "0x80041001");
    EXPECT_EQ(
        takeMessages(),
        Lines{said("GetObjectAsync", "Get instance: ")} + IMPERSONATED +
            (Lines{assertionLine("(int)objectPath.size() != 0"),
                   complained("GetObjectAsync", "Exception: '" + assertionText("(int)objectPath.size() != 0") + "'")}) +
            REVERTED);
}

TEST_F(WmiAdapterTest, APutReportsWhatTheModifierAnswersAndSaysNothingOfItsOwn)
{
    *object.path.address() = samples::bstr(PATH);
    EXPECT_EQ(put(), 0);
    EXPECT_EQ(calls.take(),
              ACTED +
                  (Lines{"object.Get(__PATH, 0, null, null)", "object.BeginEnumeration(0x4)", "object.EndEnumeration()",
                         "object.BeginEnumeration(0x40)", "object.EndEnumeration()",
                         "broker.modifyInstance(Zerix_EthernetPort.DeviceID=\"a\", {})",
                         "sink.SetStatus(0, 0x00000000, null, null)"}) +
                  ENDED);
    EXPECT_EQ(adapterMessages(), IMPERSONATED + REVERTED);
    broker.onModify = [](core::CimPropertyList&) { throw utils::EForbidden("x"); };
    EXPECT_EQ(hex(put()), "0x80041003");
    const Lines made = calls.take();
    EXPECT_EQ(made.at(made.size() - 2), "sink.SetStatus(0, 0x80041003, null, null)");
}

TEST_F(WmiAdapterTest, APutLooksAtTheLowestBitOfTheFlagsAlone)
{
    *object.path.address() = samples::bstr(PATH);
    const Lines refusal{
        complained("PutInstanceAsync", "Provider supports only 'WBEM_FLAG_UPDATE_ONLY' modifyInstance mode")};
    for (const LONG flags : {0L, 2L, 0x20000L}) {
        EXPECT_EQ(hex(put(flags)), "0x80041024") << flags;
        EXPECT_EQ(takeMessages(), refusal);
        EXPECT_EQ(calls.take(), Lines{});
    }
    EXPECT_EQ(put(3), 0);
    EXPECT_EQ(put(0x20001), 0);
}

TEST_F(WmiAdapterTest, APutWithoutSinkOrNamespaceIsRefusedWithoutALineAheadOfTheFlags)
{
    EXPECT_EQ(hex(provider->PutInstanceAsync(&object, 0, &context, nullptr)), "0x80041008");
    uninitialize();
    EXPECT_EQ(hex(put(0)), "0x80041008");
    EXPECT_EQ(takeMessages(), Lines{});
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiAdapterTest, APutForADeniedClientReachesNoBroker)
{
    clientAllows(ClientToken::identification);
    EXPECT_EQ(hex(put()), "0x80041003");
    EXPECT_EQ(calls.take(), DENIED);
    EXPECT_EQ(takeMessages(), REFUSED_CLIENT + REVERTED);
}

TEST_F(WmiAdapterTest, WhatIsWrongWithAPutsObjectEscapesWithoutAReport)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { put(); }), "DRAVEv2: ESyntaxError:empty path");
    EXPECT_EQ(calls.take(), ACTED + Lines{"object.Get(__PATH, 0, null, null)"} + ENDED);
    EXPECT_EQ(withoutLine(thrownBy([&] { provider->PutInstanceAsync(nullptr, 1, &context, &sink); })),
              assertionText("wmiInst != NULL"));
    EXPECT_EQ(calls.take(), ACTED + ENDED);
}

TEST_F(WmiAdapterTest, AStatusThatThePutOrDeleteSinkRefusesIsOnlyLogged)
{
    *object.path.address() = samples::bstr(PATH);
    sink.statusAnswers = {1, static_cast<HRESULT>(WBEM_E_FAILED)};
    EXPECT_EQ(put(), 0);
    EXPECT_EQ(adapterMessages(),
              IMPERSONATED + Lines{complained("PutInstanceAsync", "pHandler->Indicate() error 0x1")} + REVERTED);
    EXPECT_EQ(hex(remove()), "0x80041002");
    EXPECT_EQ(
        adapterMessages(),
        IMPERSONATED + Lines{complained("DeleteInstanceAsync", "pHandler->Indicate() error 0x80041001")} + REVERTED);
}

TEST_F(WmiAdapterTest, ADeleteMarksTheJobAndReportsSuccess)
{
    broker.onFind = [&] { return &job; };
    EXPECT_EQ(remove(), 0);
    EXPECT_TRUE(job.isMarkedForDeletion());
    EXPECT_EQ(calls.take(), ACTED +
                                (Lines{"broker.getInstanceByPath(Zerix_ConcreteJob.InstanceID=\"7\")",
                                       "sink.SetStatus(0, 0x00000000, null, null)"}) +
                                ENDED);
    EXPECT_EQ(adapterMessages(), IMPERSONATED + REVERTED);
}

TEST_F(WmiAdapterTest, ADeleteOfAnyOtherClassIsReportedAsNotSupported)
{
    EXPECT_EQ(hex(remove(PATH)), "0x8004100C");
    EXPECT_EQ(calls.take(), ACTED + Lines{"sink.SetStatus(0, 0x8004100C, null, null)"} + ENDED);
}

TEST_F(WmiAdapterTest, ADeleteWithoutPathSinkOrNamespaceIsRefusedWithoutALine)
{
    const ScopedBstr path(JOB_PATH);
    EXPECT_EQ(hex(provider->DeleteInstanceAsync(nullptr, 0, &context, &sink)), "0x80041008");
    EXPECT_EQ(hex(provider->DeleteInstanceAsync(path.get(), 0, &context, nullptr)), "0x80041008");
    uninitialize();
    EXPECT_EQ(hex(remove()), "0x80041008");
    EXPECT_EQ(takeMessages(), Lines{});
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiAdapterTest, ADeleteForADeniedClientReachesNoBroker)
{
    clientAllows(ClientToken::identification);
    EXPECT_EQ(hex(remove()), "0x80041003");
    EXPECT_EQ(calls.take(), DENIED);
    EXPECT_EQ(takeMessages(), REFUSED_CLIENT + REVERTED);
}

TEST_F(WmiAdapterTest, ADeleteOfATextThatIsNoPathEscapesWithoutAReport)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { remove("nonsense"); }),
              "DRAVEv2: ESyntaxError:too many classname separators: 'nonsense'");
    EXPECT_EQ(withoutLine(thrownBy([&] { remove(""); })), assertionText("pathStr.size() > 0"));
    EXPECT_EQ(calls.take(), ACTED + ENDED + ACTED + ENDED);
}

TEST_F(WmiAdapterTest, AMethodThatReturnsNormallyReportsSuccessWhateverFailedInside)
{
    wmiNamespace.classes.clear();
    EXPECT_EQ(execute(), 0);
    const std::string asked = "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)";
    EXPECT_EQ(calls.take(), ACTED +
                                (Lines{"object.BeginEnumeration(0x4)", "object.EndEnumeration()",
                                       "object.BeginEnumeration(0x40)", "object.EndEnumeration()", asked,
                                       "broker.invokeMethod(Zerix_EthernetPort.DeviceID=\"a\", Run, {}, {}, null)",
                                       asked, "sink.SetStatus(0, 0x00000000, null, null)"}) +
                                ENDED);
    EXPECT_EQ(adapterMessages(), Lines{said("ExecMethodAsync", "Here")} + IMPERSONATED +
                                     Lines{said("ExecMethodAsync", "Set status: #0")} + REVERTED);
}

TEST_F(WmiAdapterTest, EachExceptionOfAMethodHasItsStatus)
{
    const auto answerTo = [&](const std::function<void()>& failing) {
        broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*&) {
            failing();
            return 0U;
        };
        takeMessages();
        calls.take();
        const std::string answer = hex(execute());
        const Lines made = calls.take();
        EXPECT_EQ(made.at(made.size() - 2), "sink.SetStatus(0, " + answer + ", null, null)");
        const Lines lines = adapterMessages();
        EXPECT_EQ(lines.at(lines.size() - 2), said("ExecMethodAsync", "Set status: #" + answer.substr(2)));
        return std::make_pair(answer, lines.at(lines.size() - 3));
    };
    const auto failed = [](const char* status, const std::string& message) {
        return std::make_pair(std::string(status), complained("ExecMethodAsync", message));
    };
    EXPECT_EQ(answerTo([] { throw wa::EInvalidParameter("x"); }),
              failed("0x80041008", "Exception: 'DRAVEv2: EInvalidParameter:x'"));
    EXPECT_EQ(answerTo([] { throw wa::EMethodNotSupported("x"); }),
              failed("0x80041055", "Exception: 'DRAVEv2: EMethodNotSupported:x'"));
    EXPECT_EQ(answerTo([] { throw wa::EWmiNotFound("x"); }),
              failed("0x8004102F", "Exception: 'DRAVEv2: EWmiNotFound:x'"));
    EXPECT_EQ(answerTo([] { throw utils::ENotFound("x"); }), failed("0x80041001", "Exception: 'DRAVEv2: x'"));
    EXPECT_EQ(answerTo([] { throw utils::EInvalidParameter("x"); }),
              failed("0x80041001", "Exception: 'DRAVEv2: EInvalidParameter:x'"));
    EXPECT_EQ(answerTo([] { throw std::runtime_error("x"); }), failed("0x80041001", "Unspecified error"));
    EXPECT_EQ(answerTo([] { throw std::bad_alloc(); }), failed("0x80041001", "Unspecified error"));
    EXPECT_EQ(answerTo([] { throw _com_error(E_OUTOFMEMORY); }), failed("0x80041001", "Unspecified error"));
    EXPECT_EQ(answerTo([] { throw 7; }), failed("0x80041001", "Unspecified error"));
}

TEST_F(WmiAdapterTest, AMethodOfAnEmptyPathIsNotRefusedUpFrontButFails)
{
    EXPECT_EQ(hex(execute("")), "0x80041001");
    EXPECT_EQ(calls.take(), ACTED + Lines{"sink.SetStatus(0, 0x80041001, null, null)"} + ENDED);
    const std::string condition = "(int)objectPath.size() != 0";
    EXPECT_EQ(takeMessages(),
              Lines{said("ExecMethodAsync", "Here")} + IMPERSONATED +
                  (Lines{debugLine("wa::WmiConverter::InvokeMethod", "InvokeMethod"), assertionLine(condition),
                         complained("ExecMethodAsync", "Exception: '" + assertionText(condition) + "'"),
                         said("ExecMethodAsync", "Set status: #80041001")}) +
                  REVERTED);
}

TEST_F(WmiAdapterTest, AMethodWithoutAnyArgumentFailsByTheFirstAssertion)
{
    EXPECT_EQ(hex(provider->ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, &sink)), "0x80041001");
    EXPECT_EQ(calls.take(), ACTED + Lines{"sink.SetStatus(0, 0x80041001, null, null)"} + ENDED);
    const std::string condition = "(int)objectPath.size() != 0";
    EXPECT_EQ(adapterMessages(),
              Lines{said("ExecMethodAsync", "Here")} + IMPERSONATED +
                  (Lines{complained("ExecMethodAsync", "Exception: '" + assertionText(condition) + "'"),
                         said("ExecMethodAsync", "Set status: #80041001")}) +
                  REVERTED);
}

TEST_F(WmiAdapterTest, AMethodBeforeInitialisationFailsByItsAssertionAndNotAsAnInvalidParameter)
{
    uninitialize();
    EXPECT_EQ(hex(execute()), "0x80041001");
    const Lines lines = takeMessages();
    EXPECT_EQ(lines.at(lines.size() - 3),
              complained("ExecMethodAsync", "Exception: '" + assertionText("pNamespace != NULL") + "'"));
}

TEST_F(WmiAdapterTest, AMethodWithoutASinkRunsIntoItsAssertionAndReportsToNobody)
{
    const ScopedBstr path(PATH);
    const ScopedBstr method("Run");
    EXPECT_EQ(hex(provider->ExecMethodAsync(path.get(), method.get(), 0, &context, &object, nullptr)), "0x80041001");
    EXPECT_EQ(calls.take(), ACTED + ENDED);
    const Lines lines = takeMessages();
    EXPECT_EQ(lines.at(lines.size() - 2), said("ExecMethodAsync", "Set status: #80041001"));
}

TEST_F(WmiAdapterTest, AMethodSpeaksBeforeItImpersonates)
{
    clientAllows(ClientToken::identification);
    EXPECT_EQ(hex(execute()), "0x80041003");
    EXPECT_EQ(calls.take(), DENIED);
    EXPECT_EQ(takeMessages(), Lines{said("ExecMethodAsync", "Here")} + REFUSED_CLIENT + REVERTED);
}

TEST_F(WmiAdapterTest, AStatusThatTheMethodsSinkRefusesIsOnlyLogged)
{
    wmiNamespace.classes.clear();
    sink.statusAnswers = {1};
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(adapterMessages(), Lines{said("ExecMethodAsync", "Here")} + IMPERSONATED +
                                     (Lines{said("ExecMethodAsync", "Set status: #0"),
                                            complained("ExecMethodAsync", "pResponseHandler->Indicate() error 0x1")}) +
                                     REVERTED);
}

}  // namespace
