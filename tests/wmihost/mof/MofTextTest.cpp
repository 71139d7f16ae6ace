#include "wmihost/mof/MofText.h"

#include <gtest/gtest.h>

#include <limits>

namespace wmihost {
namespace {

TEST(MofText, RealThatIsNotFinite_hasNoSpelling)
{
    EXPECT_EQ(mofLiteral(Variant::ofDouble(std::numeric_limits<double>::infinity()).get(), CIM_REAL64), L"NULL");
    EXPECT_EQ(mofLiteral(Variant::ofArray(VT_R4, {Variant::ofFloat(std::numeric_limits<float>::quiet_NaN())}).get(),
                         CIM_REAL32 | CIM_FLAG_ARRAY),
              L"NULL");
}

}  // namespace
}  // namespace wmihost
