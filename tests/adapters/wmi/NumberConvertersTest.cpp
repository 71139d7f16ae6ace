#include <memory>

#include "adapters/wmi/PropertyConverters.h"
#include "core/CimPropertyTypes.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

// The scalar converters of PropertyConverters.cpp: numbers and booleans.
namespace {

using support::describe;
using support::describeAndClear;
using support::describeAndDelete;

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

    support::NoComLeaks leaks;
};

TEST_F(NumberConvertersTest, Uint8_goesOutAsOneByte)
{
    EXPECT_EQ((outbound<wa::Uint8PropertyConverter, core::CimPropertyUint8>(255)), "VT_UI1 255");
}

TEST_F(NumberConvertersTest, Uint8_comesInAsOneByte)
{
    EXPECT_EQ(inbound<wa::Uint8PropertyConverter>(ui1(200)), "Name = uint8 200");
}

TEST_F(NumberConvertersTest, Uint16_goesOutInThirtyTwoBits)
{
    EXPECT_EQ((outbound<wa::Uint16PropertyConverter, core::CimPropertyUint16>(65535)), "VT_I4 65535");
}

TEST_F(NumberConvertersTest, Uint16_keepsTheLowSixteenBits)
{
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(samples::i4(7)), "Name = uint16 7");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(samples::i4(65536)), "Name = uint16 0");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(samples::i4(70000)), "Name = uint16 4464");
    EXPECT_EQ(inbound<wa::Uint16PropertyConverter>(samples::i4(-1)), "Name = uint16 65535");
}

TEST_F(NumberConvertersTest, Uint32_goesOutWithItsBits)
{
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(4294967295U)), "VT_I4 -1");
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(2147483648U)), "VT_I4 -2147483648");
    EXPECT_EQ((outbound<wa::Uint32PropertyConverter, core::CimPropertyUint32>(5U)), "VT_I4 5");
}

TEST_F(NumberConvertersTest, Uint32_comesInWithItsBits)
{
    EXPECT_EQ(inbound<wa::Uint32PropertyConverter>(samples::i4(-1)), "Name = uint32 4294967295");
}

TEST_F(NumberConvertersTest, True_goesOutAsOne)
{
    EXPECT_EQ((outbound<wa::BoolPropertyConverter, core::CimPropertyBool>(true)), "VT_BOOL 1");
    EXPECT_EQ((outbound<wa::BoolPropertyConverter, core::CimPropertyBool>(false)), "VT_BOOL 0");
}

TEST_F(NumberConvertersTest, NullProperty_goesOutAsItsStoredValue)
{
    core::CimPropertyUint16 property("Name");
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 0");
    property.setValue(9);
    property.setNull();
    EXPECT_EQ(describe(wa::Uint16PropertyConverter().propertyToVariant(&property)), "VT_I4 9");
}

}  // namespace
