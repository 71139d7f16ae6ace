#include "adapters/wmi/WmiConverter.h"

#include <stdexcept>

#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/PropertyConverters.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::assertionText;
using support::Lines;
using support::thrownBy;
using support::withoutLine;

// The registration of converters is private, but an explicit instantiation may name it.
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
    }

    // Frees the values that an enumeration returned.
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

TEST(WmiConverterSlotsTest, Operations_keepTheirSlots)
{
    // The destructor occupies two entries.
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::getPath), 2U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::extractProperties), 3U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::createResultsList), 4U);
    EXPECT_EQ(support::slotOf(&wa::WmiConverter::indicateResults), 5U);
}

TEST_F(WmiConverterTest, SecondConverter_replacesTheFirst)
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
        // Registers another type for a WMI type that has an entry. It replaces the entry; the converter stays alive.
        (registering.*registerConverter())(new Counting(deleted), static_cast<core::CimProperty::EPropertyType>(78),
                                           1001);
        EXPECT_EQ(deleted, 1);
    }
    EXPECT_EQ(deleted, 3);
}

TEST_F(WmiConverterTest, NullConverter_failsTheNextOfItsType)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    auto* const next = new wa::BoolPropertyConverter;
    EXPECT_EQ(withoutLine(thrownBy([&] { (converter.*registerConverter())(next, NO_SUCH_TYPE, 1000); })),
              assertionText("oldConverter != NULL"));
}

TEST_F(WmiConverterTest, Copying_assertsItsArgumentsInOrder)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(nullptr, nullptr); })),
              assertionText("wmiInst != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(&object, nullptr); })),
              assertionText("coreInst != NULL"));
}

TEST_F(WmiConverterTest, UnknownType_isLeftOut)
{
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    samples::add<core::CimPropertyString>(instance, "Name", "x");
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(), (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'x', 0)"}));
}

TEST_F(WmiConverterTest, TypeWithANullConverter_isRefused)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.copyProperties(&object, &instance); })),
              assertionText("converter != NULL"));
}

TEST_F(WmiConverterTest, Enumeration_assertsItsArgumentsInOrder)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(nullptr, nullptr, nullptr); })),
              assertionText("pNamespace != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(&wmiNamespace, nullptr, nullptr); })),
              assertionText("bstrClassName != NULL"));
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstances(&wmiNamespace, name.get(), nullptr); })),
              assertionText("pCtx != NULL"));
}

TEST_F(WmiConverterTest, Object_isOfItsInstancesOwnClass)
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

TEST_F(WmiConverterTest, SimilarClassNames_areDifferentClasses)
{
    core::CimInstance other("Zerix_EthernetPorT");
    core::CimInstance longer("Zerix_EthernetPorTs");
    support::FakeClassObject otherClass(calls, "Zerix_EthernetPorT");
    support::FakeClassObject longerClass(calls, "Zerix_EthernetPorTs");
    wmiNamespace.classes["Zerix_EthernetPorT"] = &otherClass;
    wmiNamespace.classes["Zerix_EthernetPorTs"] = &longerClass;
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&instance);
        list.append(&other);
        list.append(&longer);
        return list;
    };
    const utils::ScopedBstr name("CIM_Anything");
    const std::vector<IWbemClassObject*> objects = converter.getInstances(&wmiNamespace, name.get(), &context);
    EXPECT_EQ(namesAndRelease(objects),
              (Lines{"Zerix_EthernetPort#1", "Zerix_EthernetPorT#1", "Zerix_EthernetPorTs#1"}));
}

TEST_F(WmiConverterTest, Objects_areReleasedWhenALaterOneThrows)
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

TEST_F(WmiConverterTest, Object_whoseCopyThrows_isReleased)
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

TEST_F(WmiConverterTest, BrokersException_passes)
{
    broker.onGetInstances = []() -> utils::SafeList<core::CimInstance*> { throw std::runtime_error("broken"); };
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { converter.getInstances(&wmiNamespace, name.get(), &context); }),
              "broken");
}

TEST_F(WmiConverterTest, Broker_isFetchedOnEveryCall)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    converter.getInstances(&wmiNamespace, name.get(), &context);
    support::CallLog later;
    support::FakeBroker next(later);
    converter.getInstances(&wmiNamespace, name.get(), &context);
    EXPECT_EQ(later.take(), Lines{"broker.getInstances(Zerix_EthernetPort)"});
}

TEST_F(WmiConverterTest, ClassName_outsideTheCodePage_hasQuestionMarks)
{
    const BSTR name = SysAllocString(L"Zerix_\x4E2D");
    converter.getInstances(&wmiNamespace, name, &context);
    SysFreeString(name);
    EXPECT_EQ(calls.take(), Lines{"broker.getInstances(Zerix_?)"});
}

TEST_F(WmiConverterTest, Get_assertsItsArgumentsInOrder)
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

TEST_F(WmiConverterTest, Path_withoutAnInstance_leavesTheResult)
{
    auto* const before = reinterpret_cast<IWbemClassObject*>(this);
    IWbemClassObject* result = before;
    EXPECT_EQ(support::hex(converter.getInstanceByPath("root\\x:C.k=1", &wmiNamespace, &result, &context)),
              "0x80041002");
    EXPECT_EQ(result, before);
    EXPECT_EQ(calls.take(), Lines{"broker.getInstanceByPath(C.k=1)"});
}

TEST_F(WmiConverterTest, Copy_thatThrows_leavesTheResult)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    broker.onFind = [&] { return &instance; };
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, &context); })),
              assertionText("converter != NULL"));
    EXPECT_EQ(result, nullptr);
}

TEST_F(WmiConverterTest, Path_isASystemProperty)
{
    *object.path.address() = samples::bstr(R"(\\HOST\root\DCIM\vexal:Zerix_EthernetPort.DeviceID="a")");
    const core::CimPath path = converter.getPath(&object);
    EXPECT_EQ(path.getModelPath(), R"(Zerix_EthernetPort.DeviceID="a")");
    EXPECT_EQ(calls.take(), Lines{"object.Get(__PATH, 0, null, null)"});
}

}  // namespace
