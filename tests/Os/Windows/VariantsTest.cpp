#include "Os/Windows/Variants.h"

#include <comdef.h>
#include <gmock/gmock.h>

#include <array>
#include <type_traits>

#include "Os/Windows/ComScope.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using utils::expandVariantArray;
using utils::ScopedVariant;
using utils::variantToString;

VARIANT typed(VARTYPE type)
{
    VARIANT value{};
    value.vt = type;
    return value;
}

VARIANT number(LONG content)
{
    VARIANT value = typed(VT_I4);
    value.lVal = content;
    return value;
}

VARIANT text(const wchar_t* content)
{
    VARIANT value = typed(VT_BSTR);
    value.bstrVal = SysAllocString(content);
    return value;
}

// An array of the elements' type, or of VARIANT.
template <class Element>
VARIANT arrayOf(VARTYPE type, const std::vector<Element>& elements, LONG lower = 0)
{
    SAFEARRAYBOUND bound{static_cast<ULONG>(elements.size()), lower};
    VARIANT value = typed(VT_ARRAY | type);
    value.parray = SafeArrayCreate(type, 1, &bound);
    LONG index = lower;
    for (Element element : elements) {
        void* source = &element;
        if constexpr (std::is_pointer_v<Element>) {
            source = element;
        }
        EXPECT_EQ(SafeArrayPutElement(value.parray, &index, source), S_OK);
        ++index;
    }
    return value;
}

void clearAll(std::vector<VARIANT>& elements)
{
    for (VARIANT& element : elements) {
        VariantClear(&element);
    }
}

TEST(ExpandVariantArrayTest, NoArray_hasNoElements)
{
    EXPECT_THAT(expandVariantArray(number(7)), IsEmpty());
    EXPECT_THAT(expandVariantArray(typed(VT_NULL)), IsEmpty());
    EXPECT_THAT(expandVariantArray(typed(VT_EMPTY)), IsEmpty());
}

TEST(ExpandVariantArrayTest, NullArray_hasNoElements)
{
    const support::LogCapture log;
    EXPECT_THAT(expandVariantArray(typed(VT_ARRAY | VT_BSTR)), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ExpandVariantArrayTest, Elements_areInOrderAndOfTheArraysType)
{
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {1, -2, 3}));
    const std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(3));
    for (const VARIANT& element : elements) {
        EXPECT_EQ(element.vt, VT_I4);
    }
    EXPECT_EQ(elements[0].lVal, 1);
    EXPECT_EQ(elements[1].lVal, -2);
    EXPECT_EQ(elements[2].lVal, 3);
}

TEST(ExpandVariantArrayTest, Array_withAnyBounds_isReadWhole)
{
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {1, 2}, -1));
    const std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_EQ(elements[0].lVal, 1);
    EXPECT_EQ(elements[1].lVal, 2);
}

TEST(ExpandVariantArrayTest, SmallElements_areReadAlone)
{
    const ScopedVariant array(arrayOf<BYTE>(VT_UI1, {255, 1}));
    const std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_EQ(elements[0].vt, VT_UI1);
    EXPECT_EQ(elements[0].lVal, 255);
    EXPECT_EQ(elements[1].lVal, 1);
}

TEST(ExpandVariantArrayTest, Texts_areCopied)
{
    std::vector<VARIANT> elements;
    {
        const ScopedVariant source(text(L"a"));
        const ScopedVariant array(arrayOf<BSTR>(VT_BSTR, {source.get().bstrVal}));
        elements = expandVariantArray(array.get());
    }
    ASSERT_THAT(elements, SizeIs(1));
    EXPECT_EQ(elements[0].vt, VT_BSTR);
    EXPECT_STREQ(elements[0].bstrVal, L"a");
    clearAll(elements);
}

TEST(ExpandVariantArrayTest, VariantElements_keepTheirTypes)
{
    const ScopedVariant second(text(L"b"));
    const ScopedVariant array(arrayOf<VARIANT>(VT_VARIANT, {number(7), second.get()}));
    std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_EQ(elements[0].vt, VT_I4);
    EXPECT_EQ(elements[0].lVal, 7);
    EXPECT_EQ(elements[1].vt, VT_BSTR);
    EXPECT_STREQ(elements[1].bstrVal, L"b");
    clearAll(elements);
}

TEST(ExpandVariantArrayTest, Decimals_keepAllTheirBits)
{
    DECIMAL decimal{};
    ASSERT_EQ(VarDecFromR8(-1.5, &decimal), S_OK);
    const ScopedVariant array(arrayOf<DECIMAL>(VT_DECIMAL, {decimal}));
    std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(1));
    EXPECT_EQ(elements[0].vt, VT_DECIMAL);
    double value = 0;
    ASSERT_EQ(VarR8FromDec(&elements[0].decVal, &value), S_OK);
    EXPECT_EQ(value, -1.5);
}

TEST(ExpandVariantArrayTest, ArrayByReference_isRead)
{
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {7}));
    SAFEARRAY* pointer = array.get().parray;
    VARIANT reference = typed(VT_ARRAY | VT_BYREF | VT_I4);
    reference.pparray = &pointer;
    const std::vector<VARIANT> elements = expandVariantArray(reference);
    ASSERT_THAT(elements, SizeIs(1));
    EXPECT_EQ(elements[0].vt, VT_I4);
    EXPECT_EQ(elements[0].lVal, 7);
}

support::ImportHook* elementHook = nullptr;

HRESULT WINAPI failSecondElement(SAFEARRAY* array, LONG* index, void* element)
{
    return *index == 1 ? DISP_E_BADINDEX : elementHook->original<decltype(&failSecondElement)>()(array, index, element);
}

TEST(ExpandVariantArrayTest, UnreadableElement_isLoggedAndLeftOut)
{
    const support::LogCapture log;
    support::ImportHook hook("SafeArrayGetElement", &failSecondElement);
    elementHook = &hook;
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {1, 2, 3}));
    const std::vector<VARIANT> elements = expandVariantArray(array.get());
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_EQ(elements[0].lVal, 1);
    EXPECT_EQ(elements[1].lVal, 3);
    EXPECT_THAT(log.messages(), ElementsAre("error|Os/Windows/Windows|utils::expandVariantArray|error 0x8002000B with "
                                            "SafeArrayGetElement 1"));
}

TEST(ExpandVariantArrayTest, ArrayByReference_toNull_hasNoElements)
{
    VARIANT value{};
    value.vt = VT_ARRAY | VT_BYREF | VT_I4;
    EXPECT_THAT(expandVariantArray(value), IsEmpty());
}

TEST(ExpandVariantArrayTest, ArrayOfTwoDimensions_hasNoElements)
{
    std::array<SAFEARRAYBOUND, 2> bounds{{{2, 0}, {2, 0}}};
    utils::ScopedVariant value;
    value.address()->vt = VT_ARRAY | VT_I4;
    value.address()->parray = SafeArrayCreate(VT_I4, 2, bounds.data());
    EXPECT_THAT(expandVariantArray(value.get()), IsEmpty());
}

TEST(ExpandVariantArrayTest, ArraysOwnType_countsBeforeTheDeclared)
{
    utils::ScopedVariant value;
    value.address()->vt = VT_ARRAY | VT_BSTR;
    value.address()->parray = SafeArrayCreateVector(VT_I4, 0, 1);
    LONG index = 0;
    LONG number = 42;
    ASSERT_EQ(SafeArrayPutElement(value.get().parray, &index, &number), S_OK);
    const std::vector<VARIANT> elements = expandVariantArray(value.get());
    ASSERT_EQ(elements.size(), 1U);
    EXPECT_EQ(elements.front().vt, VT_I4);
    EXPECT_EQ(elements.front().lVal, 42);
}

TEST(VariantToStringTest, Null_isItsName)
{
    EXPECT_EQ(variantToString(typed(VT_NULL)), "<NULL>");
}

TEST(VariantToStringTest, Booleans_areWords)
{
    VARIANT value = typed(VT_BOOL);
    value.boolVal = VARIANT_TRUE;
    EXPECT_EQ(variantToString(value), "True");
    value.boolVal = VARIANT_FALSE;
    EXPECT_EQ(variantToString(value), "False");
}

TEST(VariantToStringTest, Numbers_areDecimal_andTextsThemselves)
{
    EXPECT_EQ(variantToString(number(-7)), "-7");
    const ScopedVariant value(text(L"caf\u00e9 \u4e2d"));
    EXPECT_EQ(variantToString(value.get()), "caf\xe9 ?");
    EXPECT_EQ(variantToString(typed(VT_BSTR)), "");
    EXPECT_EQ(variantToString(typed(VT_EMPTY)), "");
}

TEST(VariantToStringTest, Array_isItsElementsInBraces)
{
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {1, 2, 3}));
    EXPECT_EQ(variantToString(array.get()), "{1, 2, 3}");
    const ScopedVariant single(arrayOf<LONG>(VT_I4, {1}));
    EXPECT_EQ(variantToString(single.get()), "{1}");
    const ScopedVariant empty(arrayOf<LONG>(VT_I4, {}));
    EXPECT_EQ(variantToString(empty.get()), "{}");
    EXPECT_EQ(variantToString(typed(VT_ARRAY | VT_BSTR)), "{}");
}

TEST(VariantToStringTest, Array_ofVariants_mayNest)
{
    const ScopedVariant inner(arrayOf<LONG>(VT_I4, {1, 2}));
    const ScopedVariant outer(arrayOf<VARIANT>(VT_VARIANT, {inner.get(), typed(VT_NULL)}));
    EXPECT_EQ(variantToString(outer.get()), "{{1, 2}, <NULL>}");
}

HRESULT WINAPI failCopy(VARIANTARG* /*target*/, VARIANTARG* /*source*/)
{
    return E_OUTOFMEMORY;
}

TEST(VariantToStringTest, Value_thatCannotBeCopied_isAComError)
{
    const support::ImportHook hook("VariantCopy", &failCopy);
    try {
        variantToString(number(7));
        FAIL() << "nothing was thrown";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), E_OUTOFMEMORY);
    }
}

HRESULT WINAPI failChange(VARIANTARG* /*target*/, VARIANTARG* /*source*/, USHORT /*flags*/, VARTYPE /*type*/)
{
    return DISP_E_TYPEMISMATCH;
}

TEST(VariantToStringTest, Value_withoutText_isItsErrorCode)
{
    const support::ImportHook hook("VariantChangeType", &failChange);
    EXPECT_EQ(variantToString(number(7)), "error 0x80020005 with ChangeType");
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {1, 2}));
    EXPECT_EQ(variantToString(array.get()), "{error 0x80020005 with ChangeType, error 0x80020005 with ChangeType}");
}

TEST(VariantToStringTest, Argument_isNotChanged)
{
    const ScopedVariant value(text(L"a"));
    variantToString(value.get());
    EXPECT_EQ(value.get().vt, VT_BSTR);
    EXPECT_STREQ(value.get().bstrVal, L"a");
}

}  // namespace
