#include <memory>

#include "adapters/wmi/PropertyConverters.h"
#include "core/CimPropertyTypes.h"
#include "tests/adapters/wmi/WmiTest.h"

// The scalar converters of PropertyConverters.cpp: numbers and booleans.
namespace {

using support::debugLine;
using support::describe;
using support::describeAndClear;
using support::describeAndDelete;
using support::Lines;

VARIANT i4(LONG value)
{
    VARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

VARIANT ui1(BYTE value)
{
    VARIANT variant{};
    variant.vt = VT_UI1;
    variant.bVal = value;
    return variant;
}

class NumberConvertersTest : public testing::Test
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
    std::string inbound(const VARIANT& value)
    {
        return describeAndDelete(Converter().variantToProperty("Name", &value));
    }

    Lines takeMessages() { return support::takeMessages(log); }

    support::NoComLeaks leaks;
    support::LogCapture log{2};
};

TEST_F(NumberConvertersTest, Uint8GoesOutAsOneByte)
{
    EXPECT_EQ((outbound<wa::Uint8PropertyConverter, core::CimPropertyUint8>(255)), "VT_UI1 255");
    EXPECT_EQ(takeMessages(),
              Lines{debugLine("wa::Uint8PropertyConverter::propertyToVariant", "Uint8 property 'Name' value is 255")});
}

TEST_F(NumberConvertersTest, Uint8ComesInAsOneByte)
{
    EXPECT_EQ(inbound<wa::Uint8PropertyConverter>(ui1(200)), "Name = uint8 200");
    EXPECT_EQ(takeMessages(),
              Lines{debugLine("wa::Uint8PropertyConverter::variantToProperty", "Property Name value is '200'")});
}

TEST_F(NumberConvertersTest, Uint16GoesOutZeroExtendedInThirtyTwoBits)
{
    EXPECT_EQ((outbound<wa::Uint16PropertyConverter, core::CimPropertyUint16>(65535)), "VT_I4 65535");
    EXPECT_EQ(takeMessages(), Lines{debugLine("wa::Uint16PropertyConverter::propertyToVariant",
                                              "uint16 property 'Name' value is 65535")});
}

TEST_F(NumberConvertersTest, Uint16KeepsTheLowSixteenBitsAndLogsThose)
{
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(i4(7)), "Name = uint16 7");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(i4(65536)), "Name = uint16 0");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(i4(70000)), "Name = uint16 4464");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(i4(-1)), "Name = uint16 65535");
    const char* const function = "wa::Uint16PropertyConverter::variantToProperty";
    EXPECT_EQ(takeMessages(), (Lines{debugLine(function, "Property Name value is '7'"),
                                     debugLine(function, "Property Name value is '0'"),
                                     debugLine(function, "Property Name value is '4464'"),
                                     debugLine(function, "Property Name value is '65535'")}));
}

TEST_F(NumberConvertersTest, Uint32GoesOutWithItsBitsUnchangedAndWithoutALine)
{
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(4294967295U)), "VT_I4 -1");
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(2147483648U)), "VT_I4 -2147483648");
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(5U)), "VT_I4 5");
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(NumberConvertersTest, Uint32ComesInWithItsBitsUnchangedAndIsLoggedSigned)
{
    EXPECT_EQ(inbound<wa::Uint32PropertyConverter>(i4(-1)), "Name = uint32 4294967295");
    EXPECT_EQ(takeMessages(),
              Lines{debugLine("wa::Uint32PropertyConverter::variantToProperty", "Property Name value is '-1'")});
}

TEST_F(NumberConvertersTest, TrueGoesOutAsOneAndNotAsVariantTrue)
{
    EXPECT_EQ((outbound<wa::BoolPropertyConverter, core::CimPropertyBool>(true)), "VT_BOOL 1");
    EXPECT_EQ((outbound<wa::BoolPropertyConverter, core::CimPropertyBool>(false)), "VT_BOOL 0");
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(NumberConvertersTest, TheStoredValueGoesOutEvenWhenThePropertyIsNull)
{
    core::CimPropertyUint16 property("Name");
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 0");
    property.setValue(9);
    property.setNull();
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 9");
}

}  // namespace
