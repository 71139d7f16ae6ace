#include <array>
#include <climits>
#include <memory>

#include "Os/Windows/ComScope.h"
#include "adapters/wmi/PropertyConverters.h"
#include "core/CimPropertyTypes.h"
#include "tests/adapters/wmi/WmiTest.h"

// The array converters of PropertyConverters.cpp.
namespace {

using support::comErrorOf;
using support::debugLine;
using support::describeAndClear;
using support::describeAndDelete;
using support::errorLine;
using support::Lines;

constexpr const char* NUMBERS_OUT = "wa::Uint16ArrayPropertyConverter::propertyToVariant";
constexpr const char* WIDE_NUMBERS_OUT = "wa::Uint32ArrayPropertyConverter::propertyToVariant";
constexpr const char* NUMBERS_IN = "wa::Uint16ArrayPropertyConverter::variantToProperty";
constexpr const char* TEXTS_OUT = "wa::StringArrayPropertyConverter::propertyToVariant";
constexpr const char* TEXTS_IN = "wa::StringArrayPropertyConverter::variantToProperty";

// A VARIANT that declares `declared` over the array, which it owns. Freed as what the array really is.
class ArrayVariant
{
public:
    ArrayVariant(VARTYPE declared, SAFEARRAY* array) : m_array(array)
    {
        m_variant.vt = declared;
        m_variant.parray = array;
    }
    ArrayVariant(const ArrayVariant&) = delete;
    ArrayVariant& operator=(const ArrayVariant&) = delete;
    ~ArrayVariant() { SafeArrayDestroy(m_array); }

    const VARIANT* get() const noexcept { return &m_variant; }
    SAFEARRAY*& array() noexcept { return m_array; }

private:
    VARIANT m_variant{};
    SAFEARRAY* m_array;
};

SAFEARRAY* numbers(const std::vector<LONG>& values, LONG lower = 0)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, lower, static_cast<ULONG>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto index = static_cast<LONG>(lower + static_cast<LONG>(i));
        LONG value = values[i];
        SafeArrayPutElement(array, &index, &value);
    }
    return array;
}

SAFEARRAY* texts(const std::vector<std::string>& values, LONG lower = 0)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, lower, static_cast<ULONG>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto index = static_cast<LONG>(lower + static_cast<LONG>(i));
        const utils::ScopedBstr text(values[i]);
        SafeArrayPutElement(array, &index, text.get());
    }
    return array;
}

SAFEARRAY* square(VARTYPE elements)
{
    std::array<SAFEARRAYBOUND, 2> bounds{{{2, 0}, {2, 0}}};
    return SafeArrayCreate(elements, static_cast<UINT>(bounds.size()), bounds.data());
}

class ArrayConvertersTest : public testing::Test
{
protected:
    std::string numbersIn(const ArrayVariant& variant)
    {
        return describeAndDelete(wa::Uint16ArrayPropertyConverter().variantToProperty("Name", variant.get()));
    }

    std::string textsIn(const ArrayVariant& variant)
    {
        return describeAndDelete(wa::StringArrayPropertyConverter().variantToProperty("Name", variant.get()));
    }

    Lines takeMessages() { return support::takeMessages(log); }

    support::NoComLeaks leaks;
    support::LogCapture log{2};
};

TEST_F(ArrayConvertersTest, SixteenBitNumbersGoOutAsThirtyTwoBitOnesAndTheArrayIsLogged)
{
    core::CimPropertyUint16_arr property("Name");
    property.setValue({1, 65535});
    const utils::ScopedVariant variant(wa::Uint16ArrayPropertyConverter().propertyToVariant(&property));
    EXPECT_EQ(support::describe(variant.get()), "VT_ARRAY|VT_I4 {1, 65535}");
    EXPECT_EQ(variant.get().vt, 8195);
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(NUMBERS_OUT, "converting array element 1"),
                     debugLine(NUMBERS_OUT, "converting array element 65535"),
                     debugLine(NUMBERS_OUT, "Creating variant: 8195 " + support::address(variant.get().parray))}));
}

TEST_F(ArrayConvertersTest, ThirtyTwoBitNumbersGoOutWithTheirBitsAndTheArrayIsNotLogged)
{
    core::CimPropertyUint32_arr property("Name");
    property.setValue({1, 4294967295U});
    EXPECT_EQ(describeAndClear(wa::Uint32ArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_I4 {1, -1}");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(WIDE_NUMBERS_OUT, "converting array element 1"),
                                     debugLine(WIDE_NUMBERS_OUT, "converting array element -1")}));
}

TEST_F(ArrayConvertersTest, NoNumbersGoOutAsAnArrayOfLengthZero)
{
    core::CimPropertyUint16_arr narrow("Name");
    EXPECT_EQ(describeAndClear(wa::Uint16ArrayPropertyConverter().propertyToVariant(&narrow)), "VT_ARRAY|VT_I4 {}");
    core::CimPropertyUint32_arr wide("Name");
    EXPECT_EQ(describeAndClear(wa::Uint32ArrayPropertyConverter().propertyToVariant(&wide)), "VT_ARRAY|VT_I4 {}");
}

SAFEARRAY* WINAPI noVector(VARTYPE, LONG, ULONG)
{
    return nullptr;
}

TEST_F(ArrayConvertersTest, WithoutAnArrayEachNumberIsReportedLostAndTheTypeStillGoesOut)
{
    core::CimPropertyUint16_arr narrow("Name");
    narrow.setValue({7, 8});
    core::CimPropertyUint32_arr wide("Name");
    wide.setValue({9});
    const support::ImportHook hook("SafeArrayCreateVector", &noVector);
    EXPECT_EQ(describeAndClear(wa::Uint16ArrayPropertyConverter().propertyToVariant(&narrow)),
              "VT_ARRAY|VT_I4 without an array");
    EXPECT_EQ(takeMessages(), (Lines{errorLine(NUMBERS_OUT, "Could not create SAFEARRAY"),
                                     debugLine(NUMBERS_OUT, "converting array element 7"),
                                     errorLine(NUMBERS_OUT, "SafeArrayPutElement error #-2147024809"),
                                     debugLine(NUMBERS_OUT, "converting array element 8"),
                                     errorLine(NUMBERS_OUT, "SafeArrayPutElement error #-2147024809"),
                                     debugLine(NUMBERS_OUT, "Creating variant: 8195 0000000000000000")}));
    EXPECT_EQ(describeAndClear(wa::Uint32ArrayPropertyConverter().propertyToVariant(&wide)),
              "VT_ARRAY|VT_I4 without an array");
    EXPECT_EQ(takeMessages(), (Lines{errorLine(WIDE_NUMBERS_OUT, "Could not create SAFEARRAY"),
                                     debugLine(WIDE_NUMBERS_OUT, "converting array element 9"),
                                     errorLine(WIDE_NUMBERS_OUT, "SafeArrayPutElement error #-2147024809")}));
}

HRESULT WINAPI putFails(SAFEARRAY*, LONG*, void*)
{
    return E_OUTOFMEMORY;
}

TEST_F(ArrayConvertersTest, APutThatFailsIsLoggedSignedAndTheNextElementIsTried)
{
    core::CimPropertyUint16_arr property("Name");
    property.setValue({7, 8});
    core::CimPropertyString_arr texts("Name");
    texts.setValue({"a", "b"});
    const support::ImportHook hook("SafeArrayPutElement", &putFails);
    const utils::ScopedVariant variant(wa::Uint16ArrayPropertyConverter().propertyToVariant(&property));
    EXPECT_EQ(support::describe(variant.get()), "VT_ARRAY|VT_I4 {0, 0}");
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(NUMBERS_OUT, "converting array element 7"),
                     errorLine(NUMBERS_OUT, "SafeArrayPutElement error #-2147024882"),
                     debugLine(NUMBERS_OUT, "converting array element 8"),
                     errorLine(NUMBERS_OUT, "SafeArrayPutElement error #-2147024882"),
                     debugLine(NUMBERS_OUT, "Creating variant: 8195 " + support::address(variant.get().parray))}));
    EXPECT_EQ(describeAndClear(wa::StringArrayPropertyConverter().propertyToVariant(&texts)),
              "VT_ARRAY|VT_BSTR {'', ''}");
    EXPECT_EQ(takeMessages(), (Lines{errorLine(TEXTS_OUT, "SafeArrayPutElement error #-2147024882"),
                                     errorLine(TEXTS_OUT, "SafeArrayPutElement error #-2147024882")}));
}

TEST_F(ArrayConvertersTest, TextsGoOutAsAnArrayFromZeroWithoutALine)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({"a", "", "c d"});
    const utils::ScopedVariant variant(wa::StringArrayPropertyConverter().propertyToVariant(&property));
    EXPECT_EQ(variant.get().vt, 8200);
    EXPECT_EQ(support::describe(variant.get()), "VT_ARRAY|VT_BSTR {'a', '', 'c d'}");
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(ArrayConvertersTest, NoTextsGoOutAsTheTypeWithoutAnArray)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({});
    EXPECT_EQ(describeAndClear(wa::StringArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_BSTR without an array");
    EXPECT_EQ(takeMessages(), Lines{});
}

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

TEST_F(ArrayConvertersTest, WithoutMemoryForATextTheOutOfMemoryErrorOfComIsThrownAndTheArrayFreed)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({"a", "b"});
    const support::ImportHook hook("SysAllocStringLen", &noBstr);
    EXPECT_EQ(comErrorOf([&] { wa::StringArrayPropertyConverter().propertyToVariant(&property); }), "0x8007000E");
}

TEST_F(ArrayConvertersTest, NumbersComeInWithTheirLowSixteenBits)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({3, 70000, -1})}), "Name = uint16[] {3, 4464, 65535}");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(NUMBERS_IN, "Converting Name"), debugLine(NUMBERS_IN, "Add 3"),
                                     debugLine(NUMBERS_IN, "Add 4464"), debugLine(NUMBERS_IN, "Add 65535"),
                                     debugLine(NUMBERS_IN, "Property Name contains 3 elements")}));
}

TEST_F(ArrayConvertersTest, AnEmptyArrayOfNumbersIsAValueAndNotNull)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({})}), "Name = uint16[] {}");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(NUMBERS_IN, "Converting Name"),
                                     debugLine(NUMBERS_IN, "Property Name contains 0 elements")}));
}

TEST_F(ArrayConvertersTest, NumbersAreReadFromZeroWhateverTheLowerBoundIs)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, 2)}), "Name = uint16[] {0, 0, 7, 8, 9}");
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(NUMBERS_IN, "Converting Name"), debugLine(NUMBERS_IN, "Add 0"),
                     debugLine(NUMBERS_IN, "Add 0"), debugLine(NUMBERS_IN, "Add 7"), debugLine(NUMBERS_IN, "Add 8"),
                     debugLine(NUMBERS_IN, "Add 9"), debugLine(NUMBERS_IN, "Property Name contains 5 elements")}));
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, -2)}), "Name = uint16[] {9}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8}, -2)}), "Name = uint16[] {}");
}

TEST_F(ArrayConvertersTest, EveryTypeWithTheBitsOfAnArrayOfNumbersPasses)
{
    SAFEARRAY* const unsignedNumbers = SafeArrayCreateVector(VT_UI4, 0, 1);
    LONG index = 0;
    ULONG number = 4294967290U;
    SafeArrayPutElement(unsignedNumbers, &index, &number);
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_UI4, unsignedNumbers}), "Name = uint16[] {65530}");

    SAFEARRAY* const flags = SafeArrayCreateVector(VT_BOOL, 0, 2);
    VARIANT_BOOL flag = VARIANT_TRUE;
    SafeArrayPutElement(flags, &index, &flag);
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_BOOL, flags}), "Name = uint16[] {65535, 0}");
}

TEST_F(ArrayConvertersTest, AnArrayByReferencePassesTheBitTestsAndIsReadThroughTheReference)
{
    ArrayVariant owner(VT_ARRAY | VT_I4, numbers({5}));
    VARIANT variant{};
    variant.vt = VT_ARRAY | VT_I4 | VT_BYREF;
    variant.pparray = &owner.array();
    EXPECT_EQ(describeAndDelete(wa::Uint16ArrayPropertyConverter().variantToProperty("Name", &variant)),
              "Name = uint16[] {5}");
    ArrayVariant textOwner(VT_ARRAY | VT_BSTR, texts({"a"}));
    variant.vt = VT_ARRAY | VT_BSTR | VT_BYREF;
    variant.pparray = &textOwner.array();
    EXPECT_EQ(describeAndDelete(wa::StringArrayPropertyConverter().variantToProperty("Name", &variant)),
              "Name = string[] {'a'}");
}

TEST_F(ArrayConvertersTest, NoArrayAtAllComesInAsAnEmptyOne)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, nullptr}), "Name = uint16[] {}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, nullptr}), "Name = string[] {}");
    // Nor through a reference, nor behind a reference that leads nowhere.
    SAFEARRAY* none = nullptr;
    for (SAFEARRAY** const reference : {&none, static_cast<SAFEARRAY**>(nullptr)}) {
        VARIANT variant{};
        variant.vt = VT_ARRAY | VT_I4 | VT_BYREF;
        variant.pparray = reference;
        EXPECT_EQ(describeAndDelete(wa::Uint16ArrayPropertyConverter().variantToProperty("Name", &variant)),
                  "Name = uint16[] {}");
        variant.vt = VT_ARRAY | VT_BSTR | VT_BYREF;
        EXPECT_EQ(describeAndDelete(wa::StringArrayPropertyConverter().variantToProperty("Name", &variant)),
                  "Name = string[] {}");
    }
}

TEST_F(ArrayConvertersTest, NumbersDeclaredOverAnythingThatOwnsMemoryAreATypeMismatch)
{
    EXPECT_EQ(comErrorOf([&] { numbersIn({VT_ARRAY | VT_I4, texts({"a", "b"})}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] {
                  numbersIn({VT_ARRAY | VT_I4, SafeArrayCreateVector(VT_VARIANT, 0, 2)});
              }),
              "0x80020005");
    EXPECT_EQ(comErrorOf([&] {
                  numbersIn({VT_ARRAY | VT_I4, SafeArrayCreateVector(VT_UNKNOWN, 0, 2)});
              }),
              "0x80020005");
    EXPECT_EQ(comErrorOf([&] {
                  numbersIn({VT_ARRAY | VT_I4, SafeArrayCreateVector(VT_DISPATCH, 0, 2)});
              }),
              "0x80020005");
    EXPECT_EQ(comErrorOf([&] {
                  numbersIn({VT_ARRAY | VT_I4, SafeArrayCreateVector(VT_DECIMAL, 0, 2)});
              }),
              "0x80020005");
}

TEST_F(ArrayConvertersTest, WiderNumbersThanDeclaredAreReadWithoutWritingPastTheirSlot)
{
    SAFEARRAY* const wide = SafeArrayCreateVector(VT_I8, 0, 1);
    LONG index = 0;
    LONGLONG number = 0x7FFFFFFF00010002;
    SafeArrayPutElement(wide, &index, &number);
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, wide}), "Name = uint16[] {2}");
}

TEST_F(ArrayConvertersTest, AnArrayOfTwoDimensionsIsATypeMismatch)
{
    EXPECT_EQ(comErrorOf([&] { numbersIn({VT_ARRAY | VT_I4, square(VT_I4)}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, square(VT_BSTR)}); }), "0x80020005");
}

TEST_F(ArrayConvertersTest, TextsComeInFromTheirRealBounds)
{
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "", "c"})}), "Name = string[] {'a', '', 'c'}");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(TEXTS_IN, "Converting Name"), debugLine(TEXTS_IN, "Add 'a'"),
                                     debugLine(TEXTS_IN, "Add ''"), debugLine(TEXTS_IN, "Add 'c'"),
                                     debugLine(TEXTS_IN, "Property Name contains 3 elements")}));
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "b"}, 5)}), "Name = string[] {'a', 'b'}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "b"}, -1)}), "Name = string[] {'a', 'b'}");
}

std::vector<LONG> askedFor;

HRESULT WINAPI giveText(SAFEARRAY*, LONG* index, void* element)
{
    askedFor.push_back(*index);
    *static_cast<BSTR*>(element) = SysAllocString(L"a");
    return S_OK;
}

// The platform may refuse to read that index, but the walk must not go on behind it.
TEST_F(ArrayConvertersTest, TextsUpToTheLargestIndexAreReadToTheirEnd)
{
    const support::ImportHook hook("SafeArrayGetElement", &giveText);
    askedFor.clear();
    const ArrayVariant variant(VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_BSTR, LONG_MAX, 1));
    EXPECT_EQ(textsIn(variant), "Name = string[] {'a'}");
    EXPECT_EQ(askedFor, std::vector<LONG>{LONG_MAX});
}

TEST_F(ArrayConvertersTest, AnEmptyArrayOfTextsIsAValueAndNotNull)
{
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({})}), "Name = string[] {}");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(TEXTS_IN, "Converting Name"),
                                     debugLine(TEXTS_IN, "Property Name contains 0 elements")}));
}

TEST_F(ArrayConvertersTest, TextsDeclaredOverAnythingElseAreATypeMismatch)
{
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, numbers({1, 2})}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_I8, 0, 2)}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] {
                  textsIn({VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_UNKNOWN, 0, 2)});
              }),
              "0x80020005");
    // Types whose bits pass the test, over arrays of their own kind.
    EXPECT_EQ(comErrorOf([&] {
                  textsIn({VT_ARRAY | VT_VARIANT, SafeArrayCreateVector(VT_VARIANT, 0, 2)});
              }),
              "0x80020005");
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BOOL, SafeArrayCreateVector(VT_BOOL, 0, 2)}); }), "0x80020005");
}

HRESULT WINAPI copyFails(SAFEARRAY*, SAFEARRAY** copy)
{
    *copy = nullptr;
    return E_OUTOFMEMORY;
}

TEST_F(ArrayConvertersTest, TextsThatCannotBeCopiedRaiseTheCode)
{
    const support::ImportHook hook("SafeArrayCopy", &copyFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8007000E");
}

HRESULT WINAPI lockFails(SAFEARRAY*)
{
    return E_UNEXPECTED;
}

TEST_F(ArrayConvertersTest, TextsThatCannotBeLockedRaiseTheCodeAndTheCopyIsFreed)
{
    const support::ImportHook hook("SafeArrayLock", &lockFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8000FFFF");
}

int boundReads = 0;

// Gives a first upper bound that is one too high, as if the array had shrunk since.
HRESULT WINAPI shrinkingBound(SAFEARRAY* array, UINT dimension, LONG* bound)
{
    *bound = static_cast<LONG>(array->rgsabound[dimension - 1].cElements) - (boundReads++ == 0 ? 0 : 1);
    return S_OK;
}

TEST_F(ArrayConvertersTest, AnIndexOutsideTheBoundsAsTheyAreReadAnewRaisesInvalidArgument)
{
    boundReads = 0;
    const support::ImportHook hook("SafeArrayGetUBound", &shrinkingBound);
    // The first read lets the walk begin at index 0 of an empty array.
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({})}); }), "0x80070057");
    EXPECT_EQ(boundReads, 2);
}

HRESULT WINAPI elementFails(SAFEARRAY*, LONG*, void*)
{
    return DISP_E_BADINDEX;
}

TEST_F(ArrayConvertersTest, AnElementThatCannotBeReadRaisesTheCodeForTextsAndCountsAsZeroForNumbers)
{
    const support::ImportHook hook("SafeArrayGetElement", &elementFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8002000B");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7})}), "Name = uint16[] {0}");
}

HRESULT WINAPI upperBoundFails(SAFEARRAY*, UINT, LONG*)
{
    return DISP_E_BADINDEX;
}

TEST_F(ArrayConvertersTest, AnUpperBoundThatCannotBeReadRaisesTheCodeForTextsAndMeansNoneForNumbers)
{
    const support::ImportHook hook("SafeArrayGetUBound", &upperBoundFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8002000B");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7})}), "Name = uint16[] {}");
}

}  // namespace
