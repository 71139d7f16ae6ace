#include "broker/model/Limits.h"

#include <gtest/gtest.h>

#include "Utils/Exception.h"
#include "support/Thrown.h"

namespace {

template <class Property, class Value>
std::string refusal(Value value, broker::Range range)
{
    broker::RangeListener listener(range);
    Property property("Count");
    Property newValue("Count");
    newValue.setValue(value);
    return support::thrownBy<utils::EInvalidParameter>([&] { listener.onVerify(&property, &newValue); });
}

std::string lengthRefusal(const std::string& text, broker::Lengths lengths)
{
    core::CimPropertyString property("Label");
    property.setModifiable(true);
    broker::limitLength(property, lengths);
    core::CimPropertyString newValue("Label");
    newValue.setValue(text);
    return support::thrownBy<utils::EInvalidParameter>([&] { property.verify(&newValue); });
}

constexpr const char* TAKEN = "nothing was thrown";

TEST(Limits, Number_outsideTheRange_isRefused)
{
    const broker::Range range{10, 20};
    const std::string refused = "DRAVEv2: EInvalidParameter:Value of Count property has to be from 10 to 20";
    EXPECT_EQ(refusal<core::CimPropertyUint8>(std::uint8_t{9}, range), refused);
    EXPECT_EQ(refusal<core::CimPropertyUint8>(std::uint8_t{10}, range), TAKEN);
    EXPECT_EQ(refusal<core::CimPropertyUint16>(std::uint16_t{20}, range), TAKEN);
    EXPECT_EQ(refusal<core::CimPropertyUint16>(std::uint16_t{21}, range), refused);
    EXPECT_EQ(refusal<core::CimPropertyUint64>(std::uint64_t{1} << 63, range), refused);
    EXPECT_EQ(refusal<core::CimPropertyUint64>(std::uint64_t{15}, range), TAKEN);
}

TEST(Limits, OtherTypes_areNotChecked)
{
    EXPECT_EQ(refusal<core::CimPropertyUint32>(std::uint32_t{99}, {10, 20}), TAKEN);
}

TEST(Limits, Null_isNotChecked)
{
    broker::RangeListener listener({10, 20});
    core::CimPropertyUint8 property("Count");
    const core::CimPropertyUint8 null("Count");
    EXPECT_NO_THROW(listener.onVerify(&property, &null));
}

TEST(Limits, Length_isCheckedAtBothEnds)
{
    EXPECT_EQ(lengthRefusal("", {1, 3}),
              "DRAVEv2: EInvalidParameter:Length of Label property cannot be smaller then 1");
    EXPECT_EQ(lengthRefusal("a", {1, 3}), TAKEN);
    EXPECT_EQ(lengthRefusal("abc", {1, 3}), TAKEN);
    EXPECT_EQ(lengthRefusal("abcd", {1, 3}),
              "DRAVEv2: EInvalidParameter:Length of Label property cannot be biger then 3");
}

TEST(Limits, Length_withoutMaximum_hasNoLimit)
{
    EXPECT_TRUE((broker::Lengths{0, 0}.contain(100000)));
    EXPECT_FALSE((broker::Lengths{1, 0}.contain(0)));
    EXPECT_FALSE((broker::Lengths{0, 4}.contain(5)));
}

}  // namespace
