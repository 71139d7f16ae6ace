#include <cstdlib>
#include <memory>

#include "Os/Windows/ComScope.h"
#include "Utils/Utils.h"
#include "adapters/wmi/PropertyConverters.h"
#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"
#include "tests/adapters/wmi/WmiTest.h"

// The converters of PropertyConverters.cpp whose WMI value is a text: string, uint64, datetime and reference.
namespace {

using support::assertionText;
using support::describeAndClear;
using support::describeAndDelete;
using support::thrownBy;
using support::withoutLine;

class TextConvertersTest : public testing::Test
{
protected:
    template <class Converter, class Property, class Value>
    std::string outbound(Value value)
    {
        Property property("Name");
        property.setValue(value);
        return describeAndClear(Converter().propertyToVariant(&property));
    }

    template <class Converter>
    std::string inbound(const std::string& text)
    {
        utils::ScopedVariant variant;
        variant.address()->bstrVal = utils::toBstr(text);
        variant.address()->vt = VT_BSTR;
        return describeAndDelete(Converter().variantToProperty("Name", &variant.get()));
    }

    void SetUp() override
    {
        // The platform sets this variable itself and ignores the environment of the program.
        _putenv_s("COMPUTERNAME", "TESTHOST");
    }

    support::NoComLeaks leaks;
};

constexpr std::uint64_t SECOND = 1000000;

TEST_F(TextConvertersTest, String_goesOutAsItsText)
{
    EXPECT_EQ((outbound<wa::StringPropertyConverter, core::CimPropertyString>("some text")), "VT_BSTR 'some text'");
    EXPECT_EQ((outbound<wa::StringPropertyConverter, core::CimPropertyString>("")), "VT_BSTR ''");
}

TEST_F(TextConvertersTest, String_isInTheAnsiCodePage)
{
    core::CimPropertyString property("Name");
    property.setValue("\xE9");
    utils::ScopedVariant variant(wa::StringPropertyConverter().propertyToVariant(&property));
    wchar_t expected = 0;
    ASSERT_EQ(MultiByteToWideChar(CP_ACP, 0, "\xE9", 1, &expected, 1), 1);
    EXPECT_EQ(std::wstring(variant.get().bstrVal), std::wstring(1, expected));
    EXPECT_EQ(describeAndDelete(wa::StringPropertyConverter().variantToProperty("Name", &variant.get())),
              "Name = string '\xE9'");
}

TEST_F(TextConvertersTest, String_comesInAsItsText)
{
    EXPECT_EQ(inbound<wa::StringPropertyConverter>("some text"), "Name = string 'some text'");
}

TEST_F(TextConvertersTest, NullText_isTheEmptyString)
{
    VARIANT variant{};
    variant.vt = VT_BSTR;
    EXPECT_EQ(describeAndDelete(wa::StringPropertyConverter().variantToProperty("Name", &variant)), "Name = string ''");
    EXPECT_EQ(describeAndDelete(wa::Uint64PropertyConverter().variantToProperty("Name", &variant)), "Name = uint64 0");
    EXPECT_EQ(describeAndDelete(wa::RefPropertyConverter().variantToProperty("Name", &variant)), "Name = ref to ''");
}

TEST_F(TextConvertersTest, Uint64_goesOutAsDecimalDigits)
{
    EXPECT_EQ((outbound<wa::Uint64PropertyConverter, core::CimPropertyUint64>(18446744073709551615U)),
              "VT_BSTR '18446744073709551615'");
    EXPECT_EQ((outbound<wa::Uint64PropertyConverter, core::CimPropertyUint64>(0U)), "VT_BSTR '0'");
}

TEST_F(TextConvertersTest, Uint64_comesInAsTheLeadingDigits)
{
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("18446744073709551615"), "Name = uint64 18446744073709551615");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("12abc"), "Name = uint64 12");
}

TEST_F(TextConvertersTest, Uint64_ofOtherTexts_isZero)
{
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("abc"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("-1"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("+1"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>(" 1"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("0x10"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("000000000000000000001"), "Name = uint64 0");
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("00000000000000000001"), "Name = uint64 1");
}

TEST_F(TextConvertersTest, Uint64_wrapsAround)
{
    EXPECT_EQ(inbound<wa::Uint64PropertyConverter>("18446744073709551617"), "Name = uint64 1");
}

TEST_F(TextConvertersTest, Timestamp_goesOutInUtcWithWholeSeconds)
{
    using Converter = wa::DatetimePropertyConverter;
    EXPECT_EQ((outbound<Converter, core::CimPropertyDatetime>(utils::Time::timestamp(0))),
              "VT_BSTR '19700101000000.000000+000'");
    EXPECT_EQ((outbound<Converter, core::CimPropertyDatetime>(utils::Time::timestamp(1364373845 * SECOND + 999999))),
              "VT_BSTR '20130327084405.000000+000'");
}

TEST_F(TextConvertersTest, Period_goesOutWithItsDaysUncapped)
{
    using Converter = wa::DatetimePropertyConverter;
    EXPECT_EQ((outbound<Converter, core::CimPropertyDatetime>(utils::Time::period(90061 * SECOND))),
              "VT_BSTR '00000001010101.000000:000'");
    EXPECT_EQ((outbound<Converter, core::CimPropertyDatetime>(utils::Time::period(999999))),
              "VT_BSTR '00000000000000.000000:000'");
    EXPECT_EQ((outbound<Converter, core::CimPropertyDatetime>(utils::Time::period(123456789ULL * 86400 * SECOND))),
              "VT_BSTR '123456789000000.000000:000'");
}

TEST_F(TextConvertersTest, Timestamp_tooLate_throws)
{
    core::CimPropertyDatetime property("Name");
    property.setValue(utils::Time::timestamp(32535244800 * SECOND));
    EXPECT_THROW(wa::DatetimePropertyConverter().propertyToVariant(&property), utils::Exception);
}

std::string referenceTo(core::CimInstance& instance)
{
    core::CimPropertyRef property("Name");
    property.setValue(&instance);
    return describeAndClear(wa::RefPropertyConverter().propertyToVariant(&property));
}

void addKey(core::CimInstance& instance, const char* value)
{
    auto* key = new core::CimPropertyString("InstanceID", &instance);
    key->setValue(value);
    key->setKey(true);
}

TEST_F(TextConvertersTest, Reference_goesOutAsTheFullPath)
{
    core::CimInstance port("Zerix_EthernetPort");
    addKey(port, "a\"b");
    EXPECT_EQ(referenceTo(port), R"(VT_BSTR '\\TESTHOST\root\DCIM\vexal:Zerix_EthernetPort.InstanceID="a\"b"')");
}

TEST_F(TextConvertersTest, ReferenceToAProfile_isInInterop)
{
    core::CimInstance profile("Zerix_RegisteredProfile");
    addKey(profile, "p");
    EXPECT_EQ(referenceTo(profile), R"(VT_BSTR '\\TESTHOST\root\interop:Zerix_RegisteredProfile.InstanceID="p"')");
}

TEST_F(TextConvertersTest, ReferenceToOthers_isNotInInterop)
{
    for (const char* const name :
         {"Zerix_RegisteredProfileX", "zerix_registeredprofile", "Zerix_RegisteredProfil", "Zerix_Registeredprofile"})
    {
        core::CimInstance other(name);
        addKey(other, "p");
        EXPECT_EQ(referenceTo(other),
                  std::string(R"(VT_BSTR '\\TESTHOST\root\DCIM\vexal:)") + name + R"(.InstanceID="p"')");
    }
}

TEST_F(TextConvertersTest, LongReference_isNotCut)
{
    const std::string longText(2000, 'x');
    core::CimInstance port("Zerix_EthernetPort");
    addKey(port, longText.c_str());
    EXPECT_EQ(referenceTo(port),
              R"(VT_BSTR '\\TESTHOST\root\DCIM\vexal:Zerix_EthernetPort.InstanceID=")" + longText + "\"'");
}

TEST_F(TextConvertersTest, ReferenceWithoutAnInstance_cannotGoOut)
{
    core::CimPropertyRef property("Name");
    property.setValue(std::string("C.k=1"));
    EXPECT_EQ(withoutLine(thrownBy([&] { wa::RefPropertyConverter().propertyToVariant(&property); })),
              assertionText("value != NULL"));
}

TEST_F(TextConvertersTest, Reference_comesInAsItsWholeText)
{
    EXPECT_EQ(inbound<wa::RefPropertyConverter>(R"(\\H\root\x:no path at all)"),
              R"(Name = ref to '\\H\root\x:no path at all')");
}

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

TEST_F(TextConvertersTest, Text_withoutMemory_isTheComError)
{
    core::CimPropertyString text("Name");
    core::CimPropertyUint64 number("Name");
    core::CimPropertyDatetime time("Name");
    core::CimInstance port("Zerix_EthernetPort");
    core::CimPropertyRef reference("Name");
    reference.setValue(&port);
    const support::ImportHook hook("SysAllocStringLen", &noBstr);
    EXPECT_EQ(support::comErrorOf([&] { wa::StringPropertyConverter().propertyToVariant(&text); }), "0x8007000E");
    EXPECT_EQ(support::comErrorOf([&] { wa::Uint64PropertyConverter().propertyToVariant(&number); }), "0x8007000E");
    EXPECT_EQ(support::comErrorOf([&] { wa::DatetimePropertyConverter().propertyToVariant(&time); }), "0x8007000E");
    EXPECT_EQ(support::comErrorOf([&] { wa::RefPropertyConverter().propertyToVariant(&reference); }), "0x8007000E");
}

}  // namespace
