#include "broker/model/Limits.h"

#include <gtest/gtest.h>

#include "Utils/Exception.h"

namespace {

// Whether a range from 10 to 20 allows the value.
bool isAllowed(const core::CimProperty& value)
{
    broker::RangeListener listener({10, 20});
    core::CimPropertyUint8 property("Count");
    try {
        listener.onVerify(&property, &value);
        return true;
    } catch (const utils::EInvalidParameter&) {
        return false;
    }
}

TEST(Limits, Range_refusesNumbersOutsideIt)
{
    core::CimPropertyUint64 number("Count");
    EXPECT_TRUE(isAllowed(number)) << "null";
    for (const std::uint64_t value : {0ULL, 9ULL, 21ULL, 1ULL << 63}) {
        number.setValue(value);
        EXPECT_FALSE(isAllowed(number)) << value;
    }
    number.setValue(15);
    EXPECT_TRUE(isAllowed(number));
    core::CimPropertyUint32 other("Count");
    other.setValue(9);
    EXPECT_TRUE(isAllowed(other)) << "of a type that is not checked";
}

TEST(Limits, Length_withoutMaximum_hasNoLimit)
{
    EXPECT_TRUE((broker::Lengths{0, 0}.contain(100000)));
    EXPECT_FALSE((broker::Lengths{1, 0}.contain(0)));
    EXPECT_FALSE((broker::Lengths{0, 4}.contain(5)));
}

}  // namespace
