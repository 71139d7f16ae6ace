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
using support::ImportHook;

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

template <class Converter, class Property, class Value>
std::string outbound(std::initializer_list<Value> values)
{
    Property property("Name");
    property.setValue(values);
    return describeAndClear(Converter().propertyToVariant(&property));
}

std::string narrowOut(std::initializer_list<std::uint16_t> values)
{
    return outbound<wa::Uint16ArrayPropertyConverter, core::CimPropertyUint16_arr>(values);
}

std::string wideOut(std::initializer_list<std::uint32_t> values)
{
    return outbound<wa::Uint32ArrayPropertyConverter, core::CimPropertyUint32_arr>(values);
}

std::string textsOut(std::initializer_list<std::string> values)
{
    return outbound<wa::StringArrayPropertyConverter, core::CimPropertyString_arr>(values);
}

std::string numbersIn(const VARIANT& value)
{
    return describeAndDelete(wa::Uint16ArrayPropertyConverter().variantToProperty("Name", &value));
}

std::string numbersIn(const ArrayVariant& variant)
{
    return numbersIn(*variant.get());
}

std::string textsIn(const VARIANT& value)
{
    return describeAndDelete(wa::StringArrayPropertyConverter().variantToProperty("Name", &value));
}

std::string textsIn(const ArrayVariant& variant)
{
    return textsIn(*variant.get());
}

class ArrayConvertersTest : public testing::Test
{
private:
    support::NoComLeaks leaks;
};

TEST_F(ArrayConvertersTest, EmptyTexts_areNoArray)
{
    EXPECT_EQ(narrowOut({}), "VT_ARRAY|VT_I4 {}");
    EXPECT_EQ(wideOut({}), "VT_ARRAY|VT_I4 {}");
    EXPECT_EQ(textsOut({}), "VT_ARRAY|VT_BSTR without an array");
}

TEST_F(ArrayConvertersTest, FailedArray_leavesTypeOrZeros)
{
    {
        const ImportHook hook("SafeArrayCreateVector", support::returning<nullptr>(&SafeArrayCreateVector));
        EXPECT_EQ(narrowOut({7, 8}), "VT_ARRAY|VT_I4 without an array");
        EXPECT_EQ(wideOut({9}), "VT_ARRAY|VT_I4 without an array");
    }
    const ImportHook hook("SafeArrayPutElement", support::returning<E_OUTOFMEMORY>(&SafeArrayPutElement));
    EXPECT_EQ(narrowOut({7, 8}), "VT_ARRAY|VT_I4 {0, 0}");
    EXPECT_EQ(textsOut({"a", "b"}), "VT_ARRAY|VT_BSTR {'', ''}");
}

TEST_F(ArrayConvertersTest, Numbers_comeInFromIndexZeroWithLowBits)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({3, 70000, -1})}), "Name = uint16[] {3, 4464, 65535}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({})}), "Name = uint16[] {}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, 2)}), "Name = uint16[] {0, 0, 7, 8, 9}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8, 9}, -2)}), "Name = uint16[] {9}");
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, numbers({7, 8}, -2)}), "Name = uint16[] {}");
}

TEST_F(ArrayConvertersTest, Texts_comeInFromTheirBounds)
{
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "", "c"})}), "Name = string[] {'a', '', 'c'}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({})}), "Name = string[] {}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "b"}, 5)}), "Name = string[] {'a', 'b'}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, texts({"a", "b"}, -1)}), "Name = string[] {'a', 'b'}");
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
            outcome = read(variant);
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
    expectPassingTypes(VT_I4, "Name = uint16[] {5}", numbers({5}),
                       [](const VARIANT& value) { return numbersIn(value); });
    expectPassingTypes(VT_BSTR, "Name = string[] {'a'}", texts({"a"}),
                       [](const VARIANT& value) { return textsIn(value); });
}

TEST_F(ArrayConvertersTest, NumbersOfEveryWidth_giveTheirLowBits)
{
    constexpr LONGLONG NUMBER = 0x1122334455667788;
    for (const VARTYPE type : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_BOOL, VT_I4, VT_UI4, VT_INT, VT_UINT, VT_ERROR, VT_R4,
                               VT_R8, VT_DATE, VT_CY, VT_I8, VT_UI8})
    {
        SAFEARRAY* const array = SafeArrayCreateVector(type, 0, 1);
        LONG index = 0;
        LONGLONG number = NUMBER;
        SafeArrayPutElement(array, &index, &number);
        EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, array}),
                  type == VT_I1 || type == VT_UI1 ? "Name = uint16[] {136}" : "Name = uint16[] {30600}")
            << type;
    }
}

// An array by reference.
VARIANT reference(VARTYPE elements, SAFEARRAY** array)
{
    VARIANT variant{};
    variant.vt = static_cast<VARTYPE>(VT_ARRAY | VT_BYREF | elements);
    variant.pparray = array;
    return variant;
}

TEST_F(ArrayConvertersTest, Array_byReference_isRead)
{
    ArrayVariant owner(VT_ARRAY | VT_I4, numbers({5}));
    EXPECT_EQ(numbersIn(reference(VT_I4, &owner.array())), "Name = uint16[] {5}");
    ArrayVariant textOwner(VT_ARRAY | VT_BSTR, texts({"a"}));
    EXPECT_EQ(textsIn(reference(VT_BSTR, &textOwner.array())), "Name = string[] {'a'}");
}

TEST_F(ArrayConvertersTest, NoArray_comesInAsAnEmptyOne)
{
    EXPECT_EQ(numbersIn({VT_ARRAY | VT_I4, nullptr}), "Name = uint16[] {}");
    EXPECT_EQ(textsIn({VT_ARRAY | VT_BSTR, nullptr}), "Name = string[] {}");
    SAFEARRAY* none = nullptr;
    for (SAFEARRAY** const array : {&none, static_cast<SAFEARRAY**>(nullptr)}) {
        EXPECT_EQ(numbersIn(reference(VT_I4, array)), "Name = uint16[] {}");
        EXPECT_EQ(textsIn(reference(VT_BSTR, array)), "Name = string[] {}");
    }
}

TEST_F(ArrayConvertersTest, OtherElements_areATypeMismatch)
{
    for (const VARTYPE type : {VT_BSTR, VT_VARIANT, VT_UNKNOWN, VT_DISPATCH, VT_DECIMAL}) {
        const ArrayVariant array(VT_ARRAY | VT_I4, SafeArrayCreateVector(type, 0, 2));
        EXPECT_EQ(comErrorOf([&] { numbersIn(array); }), "0x80020005") << type;
    }
    for (const VARTYPE type : {VT_I4, VT_I8, VT_UNKNOWN, VT_VARIANT, VT_BOOL}) {
        const ArrayVariant array(VT_ARRAY | VT_BSTR, SafeArrayCreateVector(type, 0, 2));
        EXPECT_EQ(comErrorOf([&] { textsIn(array); }), "0x80020005") << type;
    }
    EXPECT_EQ(comErrorOf([&] { numbersIn({VT_ARRAY | VT_I4, square(VT_I4)}); }), "0x80020005");
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, square(VT_BSTR)}); }), "0x80020005");
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
    const ImportHook hook("SafeArrayGetElement", &giveText);
    askedFor.clear();
    const ArrayVariant variant(VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_BSTR, LONG_MAX, 1));
    EXPECT_EQ(textsIn(variant), "Name = string[] {'a'}");
    EXPECT_EQ(askedFor, std::vector<LONG>{LONG_MAX});
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
    const ImportHook hook("SafeArrayGetUBound", &shrinkingBound);
    // The first bound lets the iteration read index 0 of an empty array.
    EXPECT_EQ(comErrorOf([&] { textsIn({VT_ARRAY | VT_BSTR, texts({})}); }), "0x80070057");
    EXPECT_EQ(boundReads, 2);
}

// A number that cannot be read is 0, and without its bound an array is empty. Texts that cannot be read fail the
// request.
TEST_F(ArrayConvertersTest, UnreadNumber_isNoError)
{
    const ArrayVariant array(VT_ARRAY | VT_I4, numbers({7}));
    {
        const ImportHook hook("SafeArrayGetElement", support::returning<DISP_E_BADINDEX>(&SafeArrayGetElement));
        EXPECT_EQ(numbersIn(array), "Name = uint16[] {0}");
    }
    const ImportHook hook("SafeArrayGetUBound", support::returning<DISP_E_BADINDEX>(&SafeArrayGetUBound));
    EXPECT_EQ(numbersIn(array), "Name = uint16[] {}");
}

}  // namespace
