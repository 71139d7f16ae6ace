#include "Os/Windows/SafeArrays.h"

#include <gtest/gtest.h>

#include "Os/Windows/ComScope.h"
#include "support/ComErrors.h"

namespace {

// ArrayConvertersTest tests which arrays are refused.
TEST(SafeArraysTest, TextArrayCopy_readsBetweenItsBounds)
{
    SAFEARRAY* const texts = SafeArrayCreateVector(VT_BSTR, 3, 2);
    for (LONG index : {3, 4}) {
        const utils::ScopedBstr text(index == 3 ? "a" : "b");
        SafeArrayPutElement(texts, &index, text.get());
    }
    const utils::TextArrayCopy copy(texts);
    SafeArrayDestroy(texts);
    EXPECT_TRUE(copy.exists());
    EXPECT_EQ(copy.lowerBound(), 3);
    EXPECT_EQ(copy.upperBound(), 4);
    EXPECT_EQ(copy.at(3), "a");
    EXPECT_EQ(copy.at(4), "b");
    for (const LONG outside : {2, 5}) {
        EXPECT_EQ(support::comErrorOf([&] { copy.at(outside); }), "0x80070057") << outside;
    }
    EXPECT_FALSE(utils::TextArrayCopy(nullptr).exists());
}

}  // namespace
