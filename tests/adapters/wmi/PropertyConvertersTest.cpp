#include "adapters/wmi/PropertyConverters.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>

#include "Os/Windows/ComScope.h"
#include "core/CimPropertyTypes.h"
#include "support/Baseline.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

// What all converters share, and the values of those of one value. ArrayConvertersTest tests the values of the others.
namespace {

using samples::bstr;
using samples::i4;
using support::comErrorOf;
using support::describe;
using support::describeAndClear;
using support::describeAndDelete;
using support::Lines;
using support::refusalOf;

struct Kind
{
    const char* name;
    std::function<std::unique_ptr<wa::PropertyConverter>()> converter;
    std::function<std::unique_ptr<core::CimProperty>()> property;
};

template <class Converter, class Property>
Kind kind(const char* name)
{
    return {name, [] { return std::make_unique<Converter>(); }, [] { return std::make_unique<Property>("Name"); }};
}

std::vector<Kind> kinds()
{
    return {kind<wa::StringPropertyConverter, core::CimPropertyString>("String"),
            kind<wa::StringArrayPropertyConverter, core::CimPropertyString_arr>("StringArray"),
            kind<wa::Uint8PropertyConverter, core::CimPropertyUint8>("Uint8"),
            kind<wa::Uint16PropertyConverter, core::CimPropertyUint16>("Uint16"),
            kind<wa::Uint16ArrayPropertyConverter, core::CimPropertyUint16_arr>("Uint16Array"),
            kind<wa::Uint32PropertyConverter, core::CimPropertyUint32>("Uint32"),
            kind<wa::Uint64PropertyConverter, core::CimPropertyUint64>("Uint64"),
            kind<wa::RefPropertyConverter, core::CimPropertyRef>("Ref"),
            kind<wa::Uint32ArrayPropertyConverter, core::CimPropertyUint32_arr>("Uint32Array"),
            kind<wa::BoolPropertyConverter, core::CimPropertyBool>("Bool"),
            kind<wa::DatetimePropertyConverter, core::CimPropertyDatetime>("Datetime")};
}

class PropertyConvertersTest : public testing::Test
{
protected:
    PropertyConvertersTest()
    {
        // The platform sets this variable itself and ignores the environment of the program.
        _putenv_s("COMPUTERNAME", "TESTHOST");
    }

    support::NoComLeaks leaks;
};

// The assertion that fails when the converter gets the property; none may pass.
std::string goingOut(const Kind& kind, core::CimProperty* property)
{
    return refusalOf([&] { kind.converter()->propertyToVariant(property); });
}

// The outcome of a value that the converter gets. It reads no more than the type of the values here.
std::string comingIn(const Kind& kind, const char* name, const VARIANT* value)
{
    std::string outcome;
    const std::string thrown = refusalOf([&] {
        core::CimProperty* const made = kind.converter()->variantToProperty(name, value);
        EXPECT_TRUE(made == nullptr || made->getOwner() == nullptr) << kind.name;
        outcome = describeAndDelete(made);
    });
    return outcome.empty() ? thrown : outcome;
}

TEST_F(PropertyConvertersTest, WrongArguments_areRefusedAsInTheFile)
{
    Lines lines;
    for (const Kind& kind : kinds()) {
        // The arguments by their outcome.
        std::map<std::string, std::string> outcomes;
        outcomes[goingOut(kind, nullptr)] += " no property";
        for (const Kind& other : kinds()) {
            if (other.name != std::string(kind.name)) {
                outcomes[goingOut(kind, other.property().get())] += std::string(" ") + other.name;
            }
        }
        outcomes[comingIn(kind, "", nullptr)] += " no name";
        outcomes[comingIn(kind, "Name", nullptr)] += " no variant";
        // Types that the array tests do not accept either.
        for (const int type :
             {+VT_EMPTY, +VT_NULL, +VT_BOOL, +VT_I2, +VT_R8, +VT_DISPATCH, +VT_VARIANT, +VT_UI4, VT_BYREF | VT_I4,
              VT_BYREF | VT_BSTR, VT_BYREF | VT_UI1, +VT_ARRAY, VT_ARRAY | VT_UI1, VT_ARRAY | VT_I2})
        {
            VARIANT value{};
            value.vt = static_cast<VARTYPE>(type);
            value.byref = &value;
            outcomes[comingIn(kind, "Name", &value)] += utils::format(" %04X", type);
        }
        lines.push_back(kind.name);
        for (const auto& [outcome, arguments] : outcomes) {
            lines.push_back("    " + outcome + " <-" + arguments);
        }
    }
    support::expectBaseline(ZERIX_WMI_CASES "/wrong-arguments.txt", lines);
}

template <class Converter, class Property, class Value>
std::string outbound(Value value)
{
    Property property("Name");
    property.setValue(value);
    return describe(property) + " -> " + describeAndClear(Converter().propertyToVariant(&property));
}

// Takes ownership of the value.
template <class Converter>
std::string inbound(VARIANT value)
{
    const utils::ScopedVariant owner(value);
    return describe(value) + " -> " + describeAndDelete(Converter().variantToProperty("Name", &value));
}

VARIANT ui1(BYTE number)
{
    VARIANT value = i4(number);
    value.vt = VT_UI1;
    return value;
}

constexpr std::uint64_t SECOND = 1000000;

TEST_F(PropertyConvertersTest, Numbers_areConvertedAsInTheFile)
{
    const auto uint16 = &inbound<wa::Uint16PropertyConverter>;
    const auto uint32 = &outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32, std::uint32_t>;
    const auto boolean = &outbound<wa::BoolPropertyConverter, core::CimPropertyBool, bool>;
    support::expectBaseline(
        ZERIX_WMI_CASES "/numbers.txt",
        {outbound<wa::Uint8PropertyConverter, core::CimPropertyUint8>(255),
         inbound<wa::Uint8PropertyConverter>(ui1(200)),
         outbound<wa::Uint16PropertyConverter, core::CimPropertyUint16>(65535), uint16(i4(7)), uint16(i4(65536)),
         uint16(i4(70000)), uint16(i4(-1)), uint32(4294967295U), uint32(2147483648U), uint32(5),
         inbound<wa::Uint32PropertyConverter>(i4(-1)), boolean(true), boolean(false)});
}

TEST_F(PropertyConvertersTest, NullProperty_goesOutAsItsStoredValue)
{
    core::CimPropertyUint16 property("Name");
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 0");
    property.setValue(9);
    property.setNull();
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 9");
}

TEST_F(PropertyConvertersTest, Texts_areConvertedAsInTheFile)
{
    VARIANT nullText{};
    nullText.vt = VT_BSTR;
    const auto text = &outbound<wa::StringPropertyConverter, core::CimPropertyString, const char*>;
    const auto time = &outbound<wa::DatetimePropertyConverter, core::CimPropertyDatetime, utils::Time>;
    const auto number = &outbound<wa::Uint64PropertyConverter, core::CimPropertyUint64, std::uint64_t>;
    Lines lines{text("some text"),
                text(""),
                inbound<wa::StringPropertyConverter>(bstr("some text")),
                inbound<wa::StringPropertyConverter>(nullText),
                number(18446744073709551615U),
                number(0),
                time(utils::Time::timestamp(0)),
                time(utils::Time::timestamp(1364373845 * SECOND + 999999)),
                time(utils::Time::period(90061 * SECOND)),
                time(utils::Time::period(999999)),
                time(utils::Time::period(123456789ULL * 86400 * SECOND)),
                inbound<wa::RefPropertyConverter>(bstr(R"(\\H\root\x:no path at all)")),
                inbound<wa::RefPropertyConverter>(nullText),
                inbound<wa::Uint64PropertyConverter>(nullText)};
    // A number wraps around; a text of more than twenty characters is zero.
    for (const char* const digits : {"18446744073709551615", "12abc", "abc", "-1", "+1", " 1", "0x10",
                                     "00000000000000000001", "000000000000000000001", "18446744073709551617"})
    {
        lines.push_back(inbound<wa::Uint64PropertyConverter>(bstr(digits)));
    }
    support::expectBaseline(ZERIX_WMI_CASES "/texts.txt", lines);
}

std::string referenceTo(const char* className, const std::string& key)
{
    core::CimInstance instance(className);
    samples::addKey(instance, "InstanceID", key.c_str());
    core::CimPropertyRef property("Name");
    property.setValue(&instance);
    return describeAndClear(wa::RefPropertyConverter().propertyToVariant(&property));
}

// Only the profile's exact class is in the other namespace.
TEST_F(PropertyConvertersTest, Reference_goesOutAsTheFullPath)
{
    const std::string longText(2000, 'x');
    EXPECT_EQ(referenceTo("Zerix_EthernetPort", "a\"b"),
              R"(VT_BSTR '\\TESTHOST\root\DCIM\vexal:Zerix_EthernetPort.InstanceID="a\"b"')");
    EXPECT_EQ(referenceTo("Zerix_RegisteredProfile", longText),
              R"(VT_BSTR '\\TESTHOST\root\interop:Zerix_RegisteredProfile.InstanceID=")" + longText + "\"'");
    for (const char* const name :
         {"Zerix_RegisteredProfileX", "zerix_registeredprofile", "Zerix_RegisteredProfil", "Zerix_Registeredprofile"})
    {
        EXPECT_EQ(referenceTo(name, "p"),
                  std::string(R"(VT_BSTR '\\TESTHOST\root\DCIM\vexal:)") + name + R"(.InstanceID="p"')");
    }
}

TEST_F(PropertyConvertersTest, Text_withoutMemory_isTheComError)
{
    core::CimInstance port("Zerix_EthernetPort");
    core::CimPropertyRef reference("Name");
    reference.setValue(&port);
    core::CimPropertyString_arr texts("Name");
    texts.setValue({"a", "b"});
    const support::ImportHook hook("SysAllocStringLen", support::returning<nullptr>(&SysAllocStringLen));
    for (const Kind& kind : kinds()) {
        const std::string name = kind.name;
        if (name == "String" || name == "Uint64" || name == "Datetime") {
            EXPECT_EQ(comErrorOf([&] { kind.converter()->propertyToVariant(kind.property().get()); }), "0x8007000E");
        }
    }
    EXPECT_EQ(comErrorOf([&] { wa::RefPropertyConverter().propertyToVariant(&reference); }), "0x8007000E");
    EXPECT_EQ(comErrorOf([&] { wa::StringArrayPropertyConverter().propertyToVariant(&texts); }), "0x8007000E");
}

}  // namespace
