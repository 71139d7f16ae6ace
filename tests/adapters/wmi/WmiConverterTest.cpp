#include "adapters/wmi/WmiConverter.h"

#include "Os/Windows/ComScope.h"
#include "adapters/wmi/PropertyConverters.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using samples::NO_SUCH_TYPE;
using samples::PropertyOfNoKnownType;
using support::Lines;
using support::refusalOf;
using support::thrownBy;

// The registration of converters is private, but an explicit instantiation may name it.
using RegisterConverter = void (wa::WmiConverter::*)(wa::PropertyConverter*, core::CimProperty::EPropertyType, long);
RegisterConverter registerConverter();
template <RegisterConverter function>
struct Opened
{
    friend RegisterConverter registerConverter() { return function; }
};
template struct Opened<&wa::WmiConverter::registerConverter>;

class WmiConverterTest : public WmiTest
{
protected:
    ~WmiConverterTest() override
    {
        EXPECT_EQ(port.references(), 0);
        EXPECT_EQ(port.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        wmiNamespace.classes["Zerix_EthernetPort"] = &port;
        samples::addKey(instance, "DeviceID", "a");
    }

    // The broker has these instances.
    void brokerHas(const std::vector<core::CimInstance*>& instances)
    {
        broker.onGetInstances = [instances] {
            utils::SafeList<core::CimInstance*> list;
            for (core::CimInstance* each : instances) {
                list.append(each);
            }
            return list;
        };
    }

    std::vector<IWbemClassObject*> enumerate(const char* className)
    {
        const utils::ScopedBstr name(className);
        return converter.getInstances(&wmiNamespace, name.get(), &context);
    }

    support::FakeClassObject port{calls, "Zerix_EthernetPort"};
    support::FakeClassObject object{calls, "object"};
    core::CimInstance instance{"Zerix_EthernetPort"};
    wa::WmiConverter converter;
};

TEST(WmiConverterSlotsTest, Operations_keepTheirSlots)
{
    // The destructor occupies two entries.
    using Converter = wa::WmiConverter;
    EXPECT_EQ(support::slotsOf(&Converter::getPath, &Converter::extractProperties, &Converter::createResultsList,
                               &Converter::indicateResults),
              (std::vector<std::size_t>{2, 3, 4, 5}));
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

TEST_F(WmiConverterTest, Copying_assertsItsArgumentsInOrder)
{
    EXPECT_EQ(refusalOf([&] { converter.copyProperties(nullptr, nullptr); }), "wmiInst != NULL");
    EXPECT_EQ(refusalOf([&] { converter.copyProperties(&object, nullptr); }), "coreInst != NULL");
}

TEST_F(WmiConverterTest, UnknownType_isLeftOut)
{
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    samples::add<core::CimPropertyString>(instance, "Name", "x");
    converter.copyProperties(&object, &instance);
    EXPECT_EQ(calls.take(), (Lines{"object.Put(DeviceID, 0, VT_BSTR 'a', 0)", "object.Put(Name, 0, VT_BSTR 'x', 0)"}));
}

TEST_F(WmiConverterTest, Enumeration_assertsItsArgumentsInOrder)
{
    const utils::ScopedBstr name("Zerix_EthernetPort");
    EXPECT_EQ(refusalOf([&] { converter.getInstances(nullptr, nullptr, nullptr); }), "pNamespace != NULL");
    EXPECT_EQ(refusalOf([&] { converter.getInstances(&wmiNamespace, nullptr, nullptr); }), "bstrClassName != NULL");
    EXPECT_EQ(refusalOf([&] { converter.getInstances(&wmiNamespace, name.get(), nullptr); }), "pCtx != NULL");
}

TEST_F(WmiConverterTest, Object_isOfItsExactClass)
{
    core::CimInstance other("Zerix_EthernetPorT");
    core::CimInstance longer("Zerix_EthernetPorTs");
    support::FakeClassObject otherClass(calls, "Zerix_EthernetPorT");
    support::FakeClassObject longerClass(calls, "Zerix_EthernetPorTs");
    wmiNamespace.classes["Zerix_EthernetPorT"] = &otherClass;
    wmiNamespace.classes["Zerix_EthernetPorTs"] = &longerClass;
    brokerHas({&instance, &other, &longer, &instance});
    Lines names;
    for (IWbemClassObject* made : enumerate("CIM_Anything")) {
        names.push_back(dynamic_cast<support::FakeClassObject&>(*made).name());
        made->Release();
    }
    EXPECT_EQ(names,
              (Lines{"Zerix_EthernetPort#1", "Zerix_EthernetPorT#1", "Zerix_EthernetPorTs#1", "Zerix_EthernetPort#2"}));
}

TEST_F(WmiConverterTest, NullConverter_isRefused)
{
    (converter.*registerConverter())(nullptr, NO_SUCH_TYPE, 1000);
    samples::add<PropertyOfNoKnownType>(instance, "Strange", "?");
    brokerHas({&instance});
    broker.onFind = [&] { return &instance; };
    EXPECT_EQ(refusalOf([&] { enumerate("Zerix_EthernetPort"); }), "converter != NULL");
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(refusalOf([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, &context); }),
              "converter != NULL");
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(port.spawned().size(), 2U);
    auto* const next = new wa::BoolPropertyConverter;
    EXPECT_EQ(refusalOf([&] { (converter.*registerConverter())(next, NO_SUCH_TYPE, 1000); }), "oldConverter != NULL");
}

TEST_F(WmiConverterTest, Objects_areReleasedWhenALaterOneThrows)
{
    core::CimInstance unknown("Zerix_Unknown");
    brokerHas({&instance, &instance, &unknown});
    EXPECT_EQ(thrownBy([&] { enumerate("Zerix_EthernetPort"); }),
              "pNamespace->GetObject(Zerix_Unknown) error #80041002");
    EXPECT_EQ(port.spawned().size(), 2U);
}

TEST_F(WmiConverterTest, Broker_isFetchedOnEveryCall)
{
    enumerate("CIM_Anything");
    support::CallLog later;
    support::FakeBroker next(later);
    enumerate("CIM_Anything");
    EXPECT_EQ(later.take(), Lines{"broker.getInstances(CIM_Anything)"});
}

TEST_F(WmiConverterTest, Get_assertsItsArgumentsInOrder)
{
    IWbemClassObject* result = nullptr;
    EXPECT_EQ(refusalOf([&] { converter.getInstanceByPath("", nullptr, nullptr, nullptr); }),
              "(int)objectPath.size() != 0");
    EXPECT_EQ(refusalOf([&] { converter.getInstanceByPath("C.k=1", nullptr, nullptr, nullptr); }),
              "pNamespace != NULL");
    EXPECT_EQ(refusalOf([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, nullptr, nullptr); }),
              "result != NULL");
    EXPECT_EQ(refusalOf([&] { converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, nullptr); }),
              "pCtx != NULL");
}

TEST_F(WmiConverterTest, Path_withoutAnInstance_leavesTheResult)
{
    auto* const before = reinterpret_cast<IWbemClassObject*>(this);
    IWbemClassObject* result = before;
    EXPECT_TRUE(FAILED(converter.getInstanceByPath("C.k=1", &wmiNamespace, &result, &context)));
    EXPECT_EQ(result, before);
}

}  // namespace
