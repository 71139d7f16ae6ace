#include "adapters/wmi/WmiConverter.h"

#include <stdexcept>

#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/PropertyConverters.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::address;
using support::assertionLine;
using support::assertionText;
using support::comErrorOf;
using support::debugLine;
using support::errorLine;
using support::exceptionLine;
using support::Lines;
using support::thrownBy;
using support::withoutLine;

// Registration is private to the converter; an explicit instantiation may name it.
using RegisterConverter = void (wa::WmiConverter::*)(wa::PropertyConverter*, core::CimProperty::EPropertyType, long);
RegisterConverter registerConverter();
template <RegisterConverter function>
struct Opened
{
    friend RegisterConverter registerConverter() { return function; }
};
template struct Opened<&wa::WmiConverter::registerConverter>;

constexpr auto NO_SUCH_TYPE = static_cast<core::CimProperty::EPropertyType>(77);

class PropertyOfNoKnownType : public core::CimPropertyString
{
public:
    using CimPropertyString::CimPropertyString;
    EPropertyType getType() const override { return NO_SUCH_TYPE; }
};

constexpr const char* CREATE = "wa::WmiConverter::createWmiInstance";
constexpr const char* COPY = "wa::WmiConverter::copyProperties";
constexpr const char* ENUMERATE = "wa::WmiConverter::getInstances";
constexpr const char* GET = "wa::WmiConverter::getInstanceByPath";

class WmiConverterTest : public WmiTest
{
protected:
    ~WmiConverterTest() override
    {
        EXPECT_EQ(port.references(), 0);
        EXPECT_EQ(endpoint.references(), 0);
        EXPECT_EQ(port.spawnedReferences() + endpoint.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        wmiNamespace.classes = {{"Zerix_EthernetPort", &port}, {"Zerix_IPProtocolEndpoint", &endpoint}};
        samples::addKey(instance, "DeviceID", "a");
        log.clear();
    }

    // Releases what an enumeration gave.
    std::vector<std::string> namesAndRelease(const std::vector<IWbemClassObject*>& objects)
    {
        std::vector<std::string> names;
        for (IWbemClassObject* made : objects) {
            names.push_back(dynamic_cast<support::FakeClassObject&>(*made).name());
            made->Release();
        }
        return names;
    }

    support::FakeClassObject port{calls, "Zerix_EthernetPort"};
    support::FakeClassObject endpoint{calls, "Zerix_IPProtocolEndpoint"};
    support::FakeClassObject object{calls, "object"};
    core::CimInstance instance{"Zerix_EthernetPort"};
    wa::WmiConverter converter;
};

TEST(WmiConverterSlotsTest, TheDestructorComesFirstAndTheFourOperationsInTheirOrder)
{
    // The destructor takes two entries.
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::getPath), 2U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::extractProperties), 3U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::createResultsList), 4U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::indicateResults), 5U);
}

TEST(WmiConverterSingletonTest, TheFirstUseMakesTheOneInstanceAndSaysSo)
{
    support::LogCapture log(2);
    wa::WmiConverter* const first = wa::WmiConverter::getInstance();
    EXPECT_EQ(wa::WmiConverter::getInstance(), first);
    EXPECT_EQ(log.numberedMessages(),
              Lines{"debug|Utils/Singleton:68|utils::Singleton<class wa::WmiConverter>::Singleton|"
                    "New singleton instance for WmiConverter"});
}

TEST_F(WmiConverterTest, AConverterOfATypeThatIsThereReplacesTheOldOneWhichIsDeleted)
{
    struct Counting : wa::BoolPropertyConverter
    {
        explicit Counting(int& deleted) : m_deleted(deleted) {}
        ~Counting() override { ++m_deleted; }
        int& m_deleted;
    };
    int deleted = 0;
    {
        wa::WmiConverter registering;
        (registering.*registerConverter())(new Counting(deleted), NO_SUCH_TYPE, 1000);
        (registering.*registerConverter())(new Counting(deleted), NO_SUCH_TYPE, 1001);
        EXPECT_EQ(deleted, 1);
        // Another type under a WMI type that is taken: that entry is overwritten, and its converter lives on.
        (registering.*registerConverter())(new Counting(deleted), static_cast<core::CimProperty::EPropertyType>(78),
                                           1001);
        EXPECT_EQ(deleted, 1);
    }
    EXPECT_EQ(deleted, 3);
}

TEST_F(WmiConverterTest, ANullThatIsRegisteredFailsTheNextRegistrationOfItsType)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    auto* const next = new wa::BoolPropertyConverter;
    EXPECT_EQ(withoutLine(thrownBy([&] { (converter.*registerConverter())(next, NO_SUCH_TYPE, 1000); })),
              assertionText("oldConverter != NULL"));
    EXPECT_EQ(takeMessages(), Lines{assertionLine("oldConverter != NULL")});
}

TEST_F(WmiConverterTest, ANewInstanceIsSpawnedFromTheClassOfTheNamespace)
{
    IWbemClassObject* const made = converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context);
    EXPECT_EQ(made, &port.spawned().at(0));
    EXPECT_EQ(port.spawned().at(0).references(), 1);
    EXPECT_EQ(calls.take(), (Lines{"namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
                                   "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released"}));
    EXPECT_EQ(takeMessages(), Lines{debugLine(CREATE, "createWmiInstance")});
    made->Release();
}

TEST_F(WmiConverterTest, AClassThatTheNamespaceDoesNotGiveThrowsTheFormattedTextWithoutPrefix)
{
    EXPECT_EQ(thrownBy([&] { converter.createWmiInstance("Zerix_Unknown", &wmiNamespace, &context); }),
              "pNamespace->GetObject(Zerix_Unknown) error #80041002");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(CREATE, "createWmiInstance"),
                                     exceptionLine("pNamespace->GetObject(Zerix_Unknown) error #80041002")}));
}

TEST_F(WmiConverterTest, AnyAnswerOfTheNamespaceButZeroThrowsSuccessCodesToo)
{
    wmiNamespace.getObjectStatus = 1;
    EXPECT_EQ(thrownBy([&] { converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, nullptr); }),
              "pNamespace->GetObject(Zerix_EthernetPort) error #1");
    EXPECT_EQ(calls.take(),
              (Lines{"namespace.GetObject(Zerix_EthernetPort, 0, null, out, null)", "Zerix_EthernetPort released"}));
}

TEST_F(WmiConverterTest, SuccessWithoutAClassIsABrokenPrecondition)
{
    wmiNamespace.classes["Zerix_EthernetPort"] = nullptr;
    EXPECT_EQ(
        withoutLine(thrownBy([&] { converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context); })),
        assertionText("pClass != NULL"));
}

TEST_F(WmiConverterTest, TheClassIsReleasedBeforeTheStatusOfTheSpawnIsJudged)
{
    port.spawnsNothing = true;
    port.spawnStatus = static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
    Lines atRelease;
    port.onLastRelease = [&] { atRelease = log.messages(); };
    EXPECT_EQ(thrownBy([&] { converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context); }),
              "pClass->SpawnInstance(Zerix_EthernetPort) error #80041006");
    EXPECT_EQ(atRelease, Lines{debugLine(CREATE, "createWmiInstance")});
    EXPECT_EQ(takeMessages(), (Lines{debugLine(CREATE, "createWmiInstance"),
                                     exceptionLine("pClass->SpawnInstance(Zerix_EthernetPort) error #80041006")}));
}

TEST_F(WmiConverterTest, ASpawnThatSucceedsWithAnotherCodeIsASuccess)
{
    port.spawnStatus = 1;
    IWbemClassObject* const made = converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context);
    EXPECT_EQ(made, &port.spawned().at(0));
    made->Release();
}

TEST_F(WmiConverterTest, ASpawnWithoutAnObjectIsABrokenPrecondition)
{
    port.spawnsNothing = true;
    EXPECT_EQ(
        withoutLine(thrownBy([&] { converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context); })),
        assertionText("result != NULL"));
}

TEST_F(WmiConverterTest, CopyingAssertsTheObjectAheadOfTheInstance)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(nullptr, nullptr); })),
              assertionText("wmiInst != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(&object, nullptr); })),
              assertionText("coreInst != NULL"));
    EXPECT_EQ(takeMessages(), (Lines{assertionLine("wmiInst != NULL"), assertionLine("coreInst != NULL")}));
}

TEST_F(WmiConverterTest, EveryTypeIsPutThroughItsConverterInListOrderWithoutACimType)
{
    using namespace core;
    _putenv_s("COMPUTERNAME", "TESTHOST");
    CimInstance all("Zerix_All");
    samples::add<CimPropertyString>(all, "String", "text");
    samples::add<CimPropertyString_arr>(all, "Strings", std::vector<std::string>{"a", "b"});
    samples::add<CimPropertyUint8>(all, "Uint8", std::uint8_t{200});
    samples::add<CimPropertyUint16>(all, "Uint16", std::uint16_t{65535});
    samples::add<CimPropertyUint16_arr>(all, "Uint16s", std::vector<std::uint16_t>{1, 2});
    samples::add<CimPropertyUint32>(all, "Uint32", 4294967295U);
    samples::add<CimPropertyUint32_arr>(all, "Uint32s", std::vector<std::uint32_t>{3});
    samples::add<CimPropertyUint64>(all, "Uint64", std::uint64_t{10000000000});
    samples::add<CimPropertyBool>(all, "Bool", true);
    samples::add<CimPropertyDatetime>(all, "Datetime", utils::Time::timestamp(0));
    samples::add<CimPropertyRef>(all, "Ref", &instance);
    converter.copyProperties(&object, &all);
    EXPECT_EQ(
        calls.take(),
        (Lines{"object.Put(String, 0, VT_BSTR 'text', 0)", "object.Put(Strings, 0, VT_ARRAY|VT_BSTR {'a', 'b'}, 0)",
               "object.Put(Uint8, 0, VT_UI1 200, 0)", "object.Put(Uint16, 0, VT_I4 65535, 0)",
               "object.Put(Uint16s, 0, VT_ARRAY|VT_I4 {1, 2}, 0)", "object.Put(Uint32, 0, VT_I4 -1, 0)",
               "object.Put(Uint32s, 0, VT_ARRAY|VT_I4 {3}, 0)", "object.Put(Uint64, 0, VT_BSTR '10000000000', 0)",
               "object.Put(Bool, 0, VT_BOOL 1, 0)", "object.Put(Datetime, 0, VT_BSTR '19700101000000.000000+000', 0)",
               R"(object.Put(Ref, 0, VT_BSTR '\\TESTHOST\root\DCIM\vexal:Zerix_EthernetPort.DeviceID="a"', 0))"}));
}

TEST_F(WmiConverterTest, ANullPropertyIsNeverPut)
{
    new core::CimPropertyString("Nothing", &instance);
    samples::add<core::CimPropertyString>(instance, "Name", "x");
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(), (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'x', 0)"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(COPY, "copyProperties " + address(&object) + "<-" + address(&instance)),
                     debugLine(COPY, "Converting 'DeviceID'"), debugLine(COPY, "Converting 'Nothing'"),
                     debugLine(COPY, "Property is NULL - skip copying"), debugLine(COPY, "Converting 'Name'")}));
}

TEST_F(WmiConverterTest, ATypeWithoutAConverterIsReportedAndTheOthersAreStillCopied)
{
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    samples::add<core::CimPropertyString>(instance, "Name", "x");
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(), (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'x', 0)"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(COPY, "copyProperties " + address(&object) + "<-" + address(&instance)),
                     debugLine(COPY, "Converting 'DeviceID'"), debugLine(COPY, "Converting 'Strange'"),
                     errorLine(COPY, "Not supported property type: 77"), debugLine(COPY, "Converting 'Name'")}));
}

TEST_F(WmiConverterTest, ATypeWhoseConverterIsNullIsABrokenPrecondition)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(&object, &instance); })),
              assertionText("converter != NULL"));
}

TEST_F(WmiConverterTest, AnOverriddenPropertyIsLeftOut)
{
    samples::add<core::CimPropertyString>(instance, "Name", "old");
    samples::add<core::CimPropertyString>(instance, "Name", "new");
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(),
              (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'new', 0)"}));
}

TEST_F(WmiConverterTest, AnyAnswerOfPutButZeroIsLoggedAndTheNextPropertyIsTried)
{
    samples::add<core::CimPropertyString>(instance, "Name", "x");
    object.putStatus = {{"DeviceID", static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH)}, {"Name", 1}};
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(), (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'x', 0)"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(COPY, "copyProperties " + address(&object) + "<-" + address(&instance)),
                     debugLine(COPY, "Converting 'DeviceID'"), errorLine(COPY, "Property copy error: 80041005"),
                     debugLine(COPY, "Converting 'Name'"), errorLine(COPY, "Property copy error: 1")}));
}

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

TEST_F(WmiConverterTest, WithoutMemoryForAValueTheErrorOfComPassesAndTheValueIsNotPut)
{
    const support::ImportHook hook("SysAllocStringLen", &noBstr);
    EXPECT_EQ(comErrorOf([&] { converter.copyProperties(&object, &instance); }), "0x8007000E");
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiConverterTest, WithoutMemoryForTheClassNameNoClassIsAskedFor)
{
    const support::ImportHook hook("SysAllocStringLen", &noBstr);
    EXPECT_EQ(comErrorOf([&] { converter.createWmiInstance("Zerix_EthernetPort", &wmiNamespace, &context); }),
              "0x8007000E");
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiConverterTest, AnEnumerationAssertsNamespaceClassAndContextInThisOrder)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(nullptr, nullptr, nullptr); })),
              assertionText("pNamespace != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(&wmiNamespace, nullptr, nullptr); })),
              assertionText("bstrClassName != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(&wmiNamespace, name.get(), nullptr); })),
              assertionText("pCtx != NULL"));
}

TEST_F(WmiConverterTest, AnEmptyListGivesNoObjectsAndACountOfZero)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_TRUE(converter.getInstances(&wmiNamespace, name.get(), &context).empty());
    EXPECT_EQ(calls.take(), Lines{"broker.getInstances(Zerix_EthernetPort)"});
    EXPECT_EQ(takeMessages(), (Lines{debugLine(ENUMERATE, "Getting instances for class Zerix_EthernetPort"),
                                     debugLine(ENUMERATE, "CimBroker instance: #" + address(&broker)),
                                     debugLine(ENUMERATE, "0 instances found")}));
}

TEST_F(WmiConverterTest, EachObjectIsOfItsInstancesOwnClassFetchedAnewInBrokerOrder)
{
    core::CimInstance second("Zerix_IPProtocolEndpoint");
    samples::addKey(second, "Name", "b");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&second);
        list.append(&instance);
        return list;
    };
    const utils::ScopedBstr name("CIM_Anything");
    const std::vector<IWbemClassObject*> objects = converter.getInstances(&wmiNamespace, name.get(), &context);
    EXPECT_EQ(
        calls.take(),
        (Lines{"broker.getInstances(CIM_Anything)", "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
               "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released",
               "Zerix_EthernetPort#1.Put(DeviceID, 0, VT_BSTR 'a', 0)",
               "namespace.GetObject(Zerix_IPProtocolEndpoint, 0, context, out, null)",
               "Zerix_IPProtocolEndpoint.SpawnInstance(0)", "Zerix_IPProtocolEndpoint released",
               "Zerix_IPProtocolEndpoint#1.Put(Name, 0, VT_BSTR 'b', 0)",
               "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)", "Zerix_EthernetPort.SpawnInstance(0)",
               "Zerix_EthernetPort released", "Zerix_EthernetPort#2.Put(DeviceID, 0, VT_BSTR 'a', 0)"}));
    EXPECT_EQ(namesAndRelease(objects),
              (Lines{"Zerix_EthernetPort#1", "Zerix_IPProtocolEndpoint#1", "Zerix_EthernetPort#2"}));
}

TEST_F(WmiConverterTest, ClassNames_ofOneLength_areTwoClasses)
{
    core::CimInstance other("Zerix_EthernetPorT");
    support::FakeClassObject otherClass(calls, "Zerix_EthernetPorT");
    wmiNamespace.classes["Zerix_EthernetPorT"] = &otherClass;
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&other);
        return list;
    };
    const utils::ScopedBstr name("CIM_Anything");
    const std::vector<IWbemClassObject*> objects = converter.getInstances(&wmiNamespace, name.get(), &context);
    EXPECT_EQ(namesAndRelease(objects), (Lines{"Zerix_EthernetPort#1", "Zerix_EthernetPorT#1"}));
}

TEST_F(WmiConverterTest, WhatIsBuiltIsReleasedWhenALaterInstanceThrows)
{
    core::CimInstance unknown("Zerix_Unknown");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&instance);
        list.append(&unknown);
        return list;
    };
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(thrownBy([&] { converter.getInstances(&wmiNamespace, name.get(), &context); }),
              "pNamespace->GetObject(Zerix_Unknown) error #80041002");
    EXPECT_EQ(port.spawned().size(), 2U);
    EXPECT_EQ(port.spawnedReferences(), 0);
}

TEST_F(WmiConverterTest, AnObjectWhoseCopyThrowsIsReleasedToo)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        return list;
    };
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(&wmiNamespace, name.get(), &context); })),
              assertionText("converter != NULL"));
    EXPECT_EQ(port.spawned().size(), 1U);
    EXPECT_EQ(port.spawnedReferences(), 0);
}

TEST_F(WmiConverterTest, TheBrokersExceptionPasses)
{
    broker.onGetInstances = []() -> utils::SafeList<core::CimInstance*> { throw std::runtime_error("broken"); };
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { converter.getInstances(&wmiNamespace, name.get(), &context); }),
              "broken");
}

TEST_F(WmiConverterTest, TheBrokerIsAskedForAnewOnEveryCall)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    converter.getInstances(&wmiNamespace, name.get(), &context);
    support::CallLog later;
    support::FakeBroker next(later);
    converter.getInstances(&wmiNamespace, name.get(), &context);
    EXPECT_EQ(later.take(), Lines{"broker.getInstances(Zerix_EthernetPort)"});
}

TEST_F(WmiConverterTest, AClassNameOutsideTheCodePageIsAskedForWithQuestionMarks)
{
    const BSTR name = SysAllocString(L"Zerix_\x4E2D");
    converter.getInstances(&wmiNamespace, name, &context);
    SysFreeString(name);
    EXPECT_EQ(calls.take(), Lines{"broker.getInstances(Zerix_?)"});
}

TEST_F(WmiConverterTest, GettingAssertsPathNamespaceResultAndContextInThisOrder)
{
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("", nullptr, nullptr, nullptr); })),
              assertionText("(int)objectPath.size() != 0"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("C.k=1", nullptr, nullptr, nullptr); })),
              assertionText("pNamespace != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, nullptr, nullptr); })),
              assertionText("result != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, nullptr); })),
              assertionText("pCtx != NULL"));
}

TEST_F(WmiConverterTest, ATextThatIsNoPathThrowsASyntaxError)
{
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(thrownBy<utils::ESyntaxError>(
                  [&] { converter.getInstanceByPath("Zerix_EthernetPort", &wmiNamespace, &result, &context); }),
              "DRAVEv2: ESyntaxError:too many classname separators: 'Zerix_EthernetPort'");
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(WmiConverterTest, APathThatMatchesNothingIsNotFoundAndTheResultUntouched)
{
    auto* const before = reinterpret_cast<IWbemClassObject*>(this);
    IWbemClassObject* result = before;
    EXPECT_EQ(support::hex(converter.getInstanceByPath("root\\x:C.k=1", &wmiNamespace, &result, &context)),
              "0x80041002");
    EXPECT_EQ(result, before);
    EXPECT_EQ(calls.take(), Lines{"broker.getInstanceByPath(C.k=1)"});
    EXPECT_EQ(takeMessages(), (Lines{debugLine("core::CimPath::CimPath", "Creating path root\\x:C.k=1", "CimPath"),
                                     debugLine("core::CimPath::CimPath", "namespace is stripped [root\\x]", "CimPath"),
                                     debugLine(GET, "CimBroker instance: #" + address(&broker)),
                                     debugLine(GET, "Instance root\\x:C.k=1 not found")}));
}

TEST_F(WmiConverterTest, TheInstanceAtThePathIsGivenAsAnObjectOfItsClass)
{
    broker.onFind = [&] { return &instance; };
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(converter.getInstanceByPath("CIM_Port.DeviceID=\"a\"", &wmiNamespace, &result, &context), 0);
    ASSERT_EQ(result, &port.spawned().at(0));
    EXPECT_EQ(port.spawned().at(0).references(), 1);
    result->Release();
    EXPECT_EQ(calls.take(),
              (Lines{"broker.getInstanceByPath(CIM_Port.DeviceID=\"a\")",
                     "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
                     "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released",
                     "Zerix_EthernetPort#1.Put(DeviceID, 0, VT_BSTR 'a', 0)", "Zerix_EthernetPort#1 released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("core::CimPath::CimPath", "Creating path CIM_Port.DeviceID=\"a\"", "CimPath"),
                     debugLine(GET, "CimBroker instance: #" + address(&broker)), debugLine(CREATE, "createWmiInstance"),
                     debugLine(COPY, "copyProperties " + address(&port.spawned().at(0)) + "<-" + address(&instance)),
                     debugLine(COPY, "Converting 'DeviceID'")}));
}

TEST_F(WmiConverterTest, AnObjectWhoseCopyThrowsIsReleasedAndTheResultUntouched)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    broker.onFind = [&] { return &instance; };
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, &context); })),
              assertionText("converter != NULL"));
    EXPECT_EQ(result, nullptr);
}

TEST_F(WmiConverterTest, ThePathOfAnObjectIsItsSystemProperty)
{
    *object.path.address() = samples::bstr(R"(\\HOST\root\DCIM\vexal:Zerix_EthernetPort.DeviceID="a")");
    const core::CimPath path = converter.getPath(&object);
    EXPECT_EQ(path.getModelPath(), R"(Zerix_EthernetPort.DeviceID="a")");
    EXPECT_EQ(calls.take(), Lines{"object.Get(__PATH, 0, null, null)"});
}

TEST_F(WmiConverterTest, AnObjectThatCannotSayItsPathHasAnEmptyOne)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { converter.getPath(&object); }), "DRAVEv2: ESyntaxError:empty path");
}

TEST_F(WmiConverterTest, Path_readWithAFailure_isTakenAllTheSame)
{
    *object.path.address() = samples::bstr("Zerix_X.k=1");
    object.pathStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    EXPECT_EQ(converter.getPath(&object).getModelPath(), "Zerix_X.k=1");
}

TEST_F(WmiConverterTest, AnObjectWhosePathIsNullHasNoneThatParses)
{
    *object.path.address() = samples::null();
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { converter.getPath(&object); }),
              "DRAVEv2: ESyntaxError:too many classname separators: '<NULL>'");
}

TEST_F(WmiConverterTest, ThePathOfNoObjectIsABrokenPrecondition)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getPath(nullptr); })), assertionText("wmiInst != NULL"));
}

}  // namespace
