#include "wmihost/com/Variant.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(Variant, Text_isCopiedDeeply)
{
    const Variant original = Variant::ofText(L"one");
    Variant copy = original;
    EXPECT_NE(copy.get().bstrVal, original.get().bstrVal);
    EXPECT_TRUE(sameValue(copy.get(), original.get()));
    copy = Variant::ofLong(7);
    EXPECT_EQ(viewOf(original.get().bstrVal), L"one");
}

TEST(Variant, Array_emptyOrMissing_hasNoElements)
{
    EXPECT_TRUE(elementsOf(Variant::ofTexts({}).get()).empty());
    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ARRAY | VT_BSTR;
    missing.parray = nullptr;
    EXPECT_TRUE(elementsOf(missing).empty());
}

TEST(Variant, Array_withAnotherLowerBound_isRead)
{
    SAFEARRAYBOUND bound{2, 5};
    VARIANT array;
    VariantInit(&array);
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreate(VT_I4, 1, &bound);
    for (LONG i = 5; i < 7; ++i) {
        LONG value = i * 10;
        ASSERT_EQ(SafeArrayPutElement(array.parray, &i, &value), S_OK);
    }
    const auto elements = elementsOf(array);
    VariantClear(&array);
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(elements[1].get().lVal, 60);
}

TEST(Variant, Comparison_seesTypeAndContent)
{
    const Variant list = Variant::ofTexts({L"a", L"b"});
    EXPECT_TRUE(sameValue(list.get(), Variant::ofTexts({L"a", L"b"}).get()));
    for (const Variant& other : {Variant::ofTexts({L"a"}), Variant::ofTexts({L"a", L"B"}),
                                 Variant::ofTexts({L"b", L"a"}), Variant::ofText(L"a"), Variant()})
    {
        EXPECT_FALSE(sameValue(list.get(), other.get()));
    }
    EXPECT_FALSE(sameValue(Variant::ofLong(1).get(), Variant::ofShort(1).get()));
    EXPECT_FALSE(sameValue(Variant().get(), Variant::ofLong(0).get()));
}

TEST(Variant, Detach_leavesNoValue)
{
    Variant text = Variant::ofText(L"gone");
    VARIANT taken = text.detach();
    EXPECT_EQ(text.type(), VT_NULL);
    EXPECT_EQ(viewOf(taken.bstrVal), L"gone");
    VariantClear(&taken);
}

}  // namespace
}  // namespace wmihost
