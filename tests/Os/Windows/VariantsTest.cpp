#include "Os/Windows/Variants.h"

#include <gmock/gmock.h>

#include <array>
#include <type_traits>

#include "Os/Windows/ComScope.h"
#include "support/ComErrors.h"
#include "support/LogCapture.h"
#include "support/WrappedImport.h"

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

// The elements of the array, each as its type and text. Clears the array and the elements.
std::vector<std::string> expanded(VARIANT array)
{
    const ScopedVariant owner(array);
    std::vector<std::string> texts;
    for (VARIANT& element : expandVariantArray(array)) {
        const std::string type = std::to_string(element.vt);
        EXPECT_EQ(VariantChangeType(&element, &element, 0, VT_BSTR), S_OK);
        texts.push_back(type + " " + utils::narrowBstr(element.bstrVal));
        VariantClear(&element);
    }
    return texts;
}

TEST(ExpandVariantArrayTest, NoArray_hasNoElements)
{
    const support::LogCapture log;
    std::array<SAFEARRAYBOUND, 2> bounds{{{2, 0}, {2, 0}}};
    VARIANT square = typed(VT_ARRAY | VT_I4);
    square.parray = SafeArrayCreate(VT_I4, 2, bounds.data());
    for (const VARIANT& value : {number(7), typed(VT_NULL), typed(VT_EMPTY), typed(VT_ARRAY | VT_BSTR),
                                 typed(VT_ARRAY | VT_BYREF | VT_I4), square})
    {
        EXPECT_THAT(expanded(value), IsEmpty()) << value.vt;
    }
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ExpandVariantArrayTest, Elements_areInOrderAndOfTheArraysType)
{
    EXPECT_THAT(expanded(arrayOf<LONG>(VT_I4, {1, -2, 3})), ElementsAre("3 1", "3 -2", "3 3"));
    EXPECT_THAT(expanded(arrayOf<LONG>(VT_I4, {1, 2}, -1)), ElementsAre("3 1", "3 2")) << "between any bounds";
    EXPECT_THAT(expanded(arrayOf<BYTE>(VT_UI1, {255, 1})), ElementsAre("17 255", "17 1"));
    VARIANT other = arrayOf<LONG>(VT_I4, {42});
    other.vt = VT_ARRAY | VT_BSTR;
    EXPECT_THAT(expanded(other), ElementsAre("3 42")) << "the array's type comes before the declared type";
    const ScopedVariant second(text(L"b"));
    EXPECT_THAT(expanded(arrayOf<VARIANT>(VT_VARIANT, {number(7), second.get()})), ElementsAre("3 7", "8 b"));
    DECIMAL decimal{};
    ASSERT_EQ(VarDecFromR8(-1.5, &decimal), S_OK);
    EXPECT_THAT(expanded(arrayOf<DECIMAL>(VT_DECIMAL, {decimal})), ElementsAre("14 -1.5")) << "with all its bits";
    const ScopedVariant array(arrayOf<LONG>(VT_I4, {7}));
    SAFEARRAY* pointer = array.get().parray;
    VARIANT reference = typed(VT_ARRAY | VT_BYREF | VT_I4);
    reference.pparray = &pointer;
    EXPECT_THAT(expanded(reference), ElementsAre("3 7")) << "by reference";
}

TEST(ExpandVariantArrayTest, SmallElements_areReadAlone)
{
    const ScopedVariant array(arrayOf<BYTE>(VT_UI1, {255, 1}));
    EXPECT_EQ(expandVariantArray(array.get()).front().lVal, 255) << "without the byte behind it";
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
    const ScopedVariant element(elements[0]);
    EXPECT_EQ(element.get().vt, VT_BSTR);
    EXPECT_STREQ(element.get().bstrVal, L"a");
}

constexpr auto failSecondElement = [](auto original, SAFEARRAY* array, LONG* index, void* element) {
    return *index == 1 ? DISP_E_BADINDEX : original(array, index, element);
};

TEST(ExpandVariantArrayTest, UnreadableElement_isLoggedAndLeftOut)
{
    const support::LogCapture log;
    const auto hook = support::WrappedImport<decltype(SafeArrayGetElement), failSecondElement>::install(
        "SafeArrayGetElement", nullptr);
    EXPECT_THAT(expanded(arrayOf<LONG>(VT_I4, {1, 2, 3})), ElementsAre("3 1", "3 3"));
    EXPECT_THAT(log.messages(), ElementsAre("error|Os/Windows/Windows|utils::expandVariantArray|error 0x8002000B with "
                                            "SafeArrayGetElement 1"));
}

VARIANT boolean(VARIANT_BOOL content)
{
    VARIANT value = typed(VT_BOOL);
    value.boolVal = content;
    return value;
}

// The text of the value, which is then cleared.
std::string written(VARIANT value)
{
    const ScopedVariant owner(value);
    return variantToString(value);
}

TEST(VariantToStringTest, Value_hasItsText)
{
    EXPECT_EQ(written(typed(VT_NULL)), "<NULL>");
    EXPECT_EQ(written(typed(VT_EMPTY)), "");
    EXPECT_EQ(written(boolean(VARIANT_TRUE)), "True");
    EXPECT_EQ(written(boolean(VARIANT_FALSE)), "False");
    EXPECT_EQ(written(number(-7)), "-7");
    EXPECT_EQ(written(text(L"caf\u00e9 \u4e2d")), "caf\xe9 ?");
    EXPECT_EQ(written(typed(VT_BSTR)), "");
}

TEST(VariantToStringTest, Array_isItsElementsInBraces)
{
    EXPECT_EQ(written(arrayOf<LONG>(VT_I4, {1, 2, 3})), "{1, 2, 3}");
    EXPECT_EQ(written(arrayOf<LONG>(VT_I4, {1})), "{1}");
    EXPECT_EQ(written(arrayOf<LONG>(VT_I4, {})), "{}");
    EXPECT_EQ(written(typed(VT_ARRAY | VT_BSTR)), "{}");
    const ScopedVariant inner(arrayOf<LONG>(VT_I4, {1, 2}));
    EXPECT_EQ(written(arrayOf<VARIANT>(VT_VARIANT, {inner.get(), typed(VT_NULL)})), "{{1, 2}, <NULL>}");
}

TEST(VariantToStringTest, Value_thatCannotBeCopied_isAComError)
{
    const support::ImportHook hook("VariantCopy", support::returning<E_OUTOFMEMORY>(&VariantCopy));
    EXPECT_EQ(support::comErrorOf([] { variantToString(number(7)); }), "0x8007000E");
}

TEST(VariantToStringTest, Value_withoutText_isItsErrorCode)
{
    const support::ImportHook hook("VariantChangeType", support::returning<DISP_E_TYPEMISMATCH>(&VariantChangeType));
    EXPECT_EQ(variantToString(number(7)), "error 0x80020005 with ChangeType");
    EXPECT_EQ(written(arrayOf<LONG>(VT_I4, {1, 2})),
              "{error 0x80020005 with ChangeType, error 0x80020005 with ChangeType}");
}

TEST(VariantToStringTest, Argument_isNotChanged)
{
    const ScopedVariant value(text(L"a"));
    variantToString(value.get());
    EXPECT_EQ(value.get().vt, VT_BSTR);
    EXPECT_STREQ(value.get().bstrVal, L"a");
}

}  // namespace
