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
using support::describeAndClear;
using support::describeAndDelete;

// A VARIANT that owns the array and declares its type as `declared`. It is freed as the array's real type.
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

    support::NoComLeaks leaks;
};

TEST_F(ArrayConvertersTest, Uint16s_goOutAsThirtyTwoBits)
{
    core::CimPropertyUint16_arr property("Name");
    property.setValue({1, 65535});
    EXPECT_EQ(describeAndClear(wa::Uint16ArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_I4 {1, 65535}");
}

TEST_F(ArrayConvertersTest, Uint32s_goOutWithTheirBits)
{
    core::CimPropertyUint32_arr property("Name");
    property.setValue({1, 4294967295U});
    EXPECT_EQ(describeAndClear(wa::Uint32ArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_I4 {1, -1}");
}

TEST_F(ArrayConvertersTest, NoNumbers_goOutAsAnEmptyArray)
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

TEST_F(ArrayConvertersTest, Numbers_withoutAnArray_goOutAsTheType)
{
    core::CimPropertyUint16_arr narrow("Name");
    narrow.setValue({7, 8});
    core::CimPropertyUint32_arr wide("Name");
    wide.setValue({9});
    const support::ImportHook hook("SafeArrayCreateVector", &noVector);
    EXPECT_EQ(describeAndClear(wa::Uint16ArrayPropertyConverter().propertyToVariant(&narrow)),
              "VT_ARRAY|VT_I4 without an array");
    EXPECT_EQ(describeAndClear(wa::Uint32ArrayPropertyConverter().propertyToVariant(&wide)),
              "VT_ARRAY|VT_I4 without an array");
}

HRESULT WINAPI putFails(SAFEARRAY*, LONG*, void*)
{
    return E_OUTOFMEMORY;
}

TEST_F(ArrayConvertersTest, FailedPut_leavesTheOtherElements)
{
    core::CimPropertyUint16_arr property("Name");
    property.setValue({7, 8});
    core::CimPropertyString_arr texts("Name");
    texts.setValue({"a", "b"});
    const support::ImportHook hook("SafeArrayPutElement", &putFails);
    EXPECT_EQ(describeAndClear(wa::Uint16ArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_I4 {0, 0}");
    EXPECT_EQ(describeAndClear(wa::StringArrayPropertyConverter().propertyToVariant(&texts)),
              "VT_ARRAY|VT_BSTR {'', ''}");
}

TEST_F(ArrayConvertersTest, Texts_goOutAsAnArray)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({"a", "", "c d"});
    EXPECT_EQ(describeAndClear(wa::StringArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_BSTR {'a', '', 'c d'}");
}

TEST_F(ArrayConvertersTest, NoTexts_goOutAsTheTypeAlone)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({});
    EXPECT_EQ(describeAndClear(wa::StringArrayPropertyConverter().propertyToVariant(&property)),
              "VT_ARRAY|VT_BSTR without an array");
}

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

TEST_F(ArrayConvertersTest, Text_withoutMemory_isTheComError)
{
    core::CimPropertyString_arr property("Name");
    property.setValue({"a", "b"});
    const support::ImportHook hook("SysAllocStringLen", &noBstr);
    EXPECT_EQ(comErrorOf([&] { wa::StringArrayPropertyConverter().propertyToVariant(&property); }), "0x8007000E");
}

TEST_F(ArrayConvertersTest, Numbers_comeInWithTheirLowBits)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({3, 70000, -1})}), "Name = uint16[] {3, 4464, 65535}");
}

TEST_F(ArrayConvertersTest, NoNumbers_comeInAsAValue)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({})}), "Name = uint16[] {}");
}

TEST_F(ArrayConvertersTest, Numbers_areReadFromIndexZero)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, 2)}), "Name = uint16[] {0, 0, 7, 8, 9}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, -2)}), "Name = uint16[] {9}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8}, -2)}), "Name = uint16[] {}");
}

// Every type that a VARIANT may declare, with the array bit. Those with the bits of `element` pass.
template <class Read>
void expectPassingTypes(VARTYPE element, const std::string& passed, SAFEARRAY* array, const Read& read)
{
    const ArrayVariant owner(VT_EMPTY, array);
    int passing = 0;
    for (int type = 0; type <= VT_TYPEMASK; ++type) {
        VARIANT variant{};
        variant.vt = static_cast<VARTYPE>(VT_ARRAY | type);
        variant.parray = array;
        std::string outcome = "refused";
        try {
            outcome = describeAndDelete(read(variant));
        } catch (const utils::Exception&) {
        }
        const bool passes = (type & element) == element;
        passing += passes ? 1 : 0;
        ASSERT_EQ(outcome, passes ? passed : "refused") << type;
    }
    EXPECT_GT(passing, 8);
}

TEST_F(ArrayConvertersTest, DeclaredType_passesByItsBits)
{
    expectPassingTypes(VT_I4, "Name = uint16[] {5}", numbers({5}), [](const VARIANT& variant) {
        return wa::Uint16ArrayPropertyConverter().variantToProperty("Name", &variant);
    });
    expectPassingTypes(VT_BSTR, "Name = string[] {'a'}", texts({"a"}), [](const VARIANT& variant) {
        return wa::StringArrayPropertyConverter().variantToProperty("Name", &variant);
    });
}

TEST_F(ArrayConvertersTest, NumbersOfEveryWidth_giveTheirLowBits)
{
    constexpr LONGLONG NUMBER = 0x1122334455667788;
    for (const auto& [type, low] : std::vector<std::pair<VARTYPE, std::string>>{{VT_I1, "136"},
                                                                                {VT_UI1, "136"},
                                                                                {VT_I2, "30600"},
                                                                                {VT_UI2, "30600"},
                                                                                {VT_BOOL, "30600"},
                                                                                {VT_I4, "30600"},
                                                                                {VT_UI4, "30600"},
                                                                                {VT_INT, "30600"},
                                                                                {VT_UINT, "30600"},
                                                                                {VT_ERROR, "30600"},
                                                                                {VT_R4, "30600"},
                                                                                {VT_R8, "30600"},
                                                                                {VT_DATE, "30600"},
                                                                                {VT_CY, "30600"},
                                                                                {VT_I8, "30600"},
                                                                                {VT_UI8, "30600"}})
    {
        SAFEARRAY* const array = SafeArrayCreateVector(type, 0, 1);
        LONG index = 0;
        LONGLONG number = NUMBER;
        SafeArrayPutElement(array, &index, &number);
        EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, array}), "Name = uint16[] {" + low + "}") << type;
    }
}

TEST_F(ArrayConvertersTest, Array_byReference_isRead)
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

TEST_F(ArrayConvertersTest, NoArray_comesInAsAnEmptyOne)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, nullptr}), "Name = uint16[] {}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, nullptr}), "Name = string[] {}");
    // Neither by reference nor by a null reference.
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

TEST_F(ArrayConvertersTest, NumbersDeclaredOverOthers_areATypeMismatch)
{
    EXPECT_EQ(comErrorOf([&] { numbersIn({VT_ARRAY | VT_I4, texts({"a", "b"})}); }), "0x80020005");
    for (const VARTYPE type : {VT_VARIANT, VT_UNKNOWN, VT_DISPATCH, VT_DECIMAL}) {
        const ArrayVariant array(VT_ARRAY | VT_I4, SafeArrayCreateVector(type, 0, 2));
        EXPECT_EQ(comErrorOf([&] { numbersIn(array); }), "0x80020005") << type;
    }
}

TEST_F(ArrayConvertersTest, TwoDimensions_areATypeMismatch)
{
    EXPECT_EQ(comErrorOf([&] { numbersIn({VT_ARRAY | VT_I4, square(VT_I4)}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, square(VT_BSTR)}); }), "0x80020005");
}

TEST_F(ArrayConvertersTest, Texts_comeInFromTheirBounds)
{
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "", "c"})}), "Name = string[] {'a', '', 'c'}");
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

// The platform may refuse to read that index, but the iteration must stop there.
TEST_F(ArrayConvertersTest, LargestIndex_endsTheWalk)
{
    const support::ImportHook hook("SafeArrayGetElement", &giveText);
    askedFor.clear();
    const ArrayVariant variant(VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_BSTR, LONG_MAX, 1));
    EXPECT_EQ(textsIn(variant), "Name = string[] {'a'}");
    EXPECT_EQ(askedFor, std::vector<LONG>{LONG_MAX});
}

TEST_F(ArrayConvertersTest, NoTexts_comeInAsAValue)
{
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({})}), "Name = string[] {}");
}

TEST_F(ArrayConvertersTest, TextsDeclaredOverOthers_areATypeMismatch)
{
    for (const VARTYPE type : {VT_I4, VT_I8, VT_UNKNOWN, VT_VARIANT, VT_BOOL}) {
        const ArrayVariant array(VT_ARRAY | VT_BSTR, SafeArrayCreateVector(type, 0, 2));
        EXPECT_EQ(comErrorOf([&] { textsIn(array); }), "0x80020005") << type;
    }
}

HRESULT WINAPI copyFails(SAFEARRAY*, SAFEARRAY** copy)
{
    *copy = nullptr;
    return E_OUTOFMEMORY;
}

TEST_F(ArrayConvertersTest, UncopiedTexts_raiseTheCode)
{
    const support::ImportHook hook("SafeArrayCopy", &copyFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8007000E");
}

HRESULT WINAPI lockFails(SAFEARRAY*)
{
    return E_UNEXPECTED;
}

TEST_F(ArrayConvertersTest, UnlockedTexts_raiseTheCode)
{
    const support::ImportHook hook("SafeArrayLock", &lockFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8000FFFF");
}

int boundReads = 0;

// The first upper bound is one too high, as if the array had become shorter since.
HRESULT WINAPI shrinkingBound(SAFEARRAY* array, UINT dimension, LONG* bound)
{
    *bound = static_cast<LONG>(array->rgsabound[dimension - 1].cElements) - (boundReads++ == 0 ? 0 : 1);
    return S_OK;
}

TEST_F(ArrayConvertersTest, IndexOutsideNewBounds_isInvalid)
{
    boundReads = 0;
    const support::ImportHook hook("SafeArrayGetUBound", &shrinkingBound);
    // The first bound lets the iteration read index 0 of an empty array.
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({})}); }), "0x80070057");
    EXPECT_EQ(boundReads, 2);
}

HRESULT WINAPI elementFails(SAFEARRAY*, LONG*, void*)
{
    return DISP_E_BADINDEX;
}

TEST_F(ArrayConvertersTest, UnreadElement_isZeroOrRaisesTheCode)
{
    const support::ImportHook hook("SafeArrayGetElement", &elementFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8002000B");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7})}), "Name = uint16[] {0}");
}

HRESULT WINAPI upperBoundFails(SAFEARRAY*, UINT, LONG*)
{
    return DISP_E_BADINDEX;
}

TEST_F(ArrayConvertersTest, UnreadBound_isNoneOrRaisesTheCode)
{
    const support::ImportHook hook("SafeArrayGetUBound", &upperBoundFails);
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({"a"})}); }), "0x8002000B");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7})}), "Name = uint16[] {}");
}

}  // namespace
