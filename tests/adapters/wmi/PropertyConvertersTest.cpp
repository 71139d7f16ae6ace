#include "adapters/wmi/PropertyConverters.h"

#include <functional>
#include <memory>
#include <ostream>

#include "core/CimPropertyTypes.h"
#include "tests/adapters/wmi/WmiTest.h"

// The behaviour that all converters share. NumberConvertersTest, TextConvertersTest and ArrayConvertersTest test the
// values.
namespace {

using support::assertionText;
using support::thrownBy;
using support::withoutLine;

struct Kind
{
    const char* name;
    // The converter's class as its functions log it.
    std::function<std::unique_ptr<wa::PropertyConverter>()> converter;
    std::function<std::unique_ptr<core::CimProperty>()> property;
    // The text of the type check for input values; null if the converter accepts no type.
    const char* accepted;
};

std::ostream& operator<<(std::ostream& stream, const Kind& kind)
{
    return stream << kind.name;
}

template <class Converter, class Property>
Kind kind(const char* name, const char* accepted)
{
    return {name, [] { return std::make_unique<Converter>(); }, [] { return std::make_unique<Property>("Name"); },
            accepted};
}

constexpr const char* BSTR_TEST = "variant->vt == VT_BSTR || variant->vt == VT_NULL";
constexpr const char* I4_TEST = "variant->vt == VT_I4 || variant->vt == VT_NULL";

const std::vector<Kind>& kinds()
{
    static const std::vector<Kind> all{
        kind<wa::StringPropertyConverter, core::CimPropertyString>("String", BSTR_TEST),
        kind<wa::StringArrayPropertyConverter, core::CimPropertyString_arr>(
            "StringArray",
            "((variant->vt & (VT_BSTR | VT_ARRAY)) == (VT_BSTR | VT_ARRAY)) || (variant->vt == VT_NULL)"),
        kind<wa::Uint8PropertyConverter, core::CimPropertyUint8>("Uint8",
                                                                 "variant->vt == VT_UI1 || variant->vt == VT_NULL"),
        kind<wa::Uint16PropertyConverter, core::CimPropertyUint16>("Uint16", I4_TEST),
        kind<wa::Uint16ArrayPropertyConverter, core::CimPropertyUint16_arr>(
            "Uint16Array", "((variant->vt & (VT_I4 | VT_ARRAY)) == (VT_I4 | VT_ARRAY)) || (variant->vt == VT_NULL)"),
        kind<wa::Uint32PropertyConverter, core::CimPropertyUint32>("Uint32", I4_TEST),
        kind<wa::Uint64PropertyConverter, core::CimPropertyUint64>("Uint64", BSTR_TEST),
        kind<wa::RefPropertyConverter, core::CimPropertyRef>("Ref", BSTR_TEST),
        kind<wa::Uint32ArrayPropertyConverter, core::CimPropertyUint32_arr>("Uint32Array", nullptr),
        kind<wa::BoolPropertyConverter, core::CimPropertyBool>("Bool", nullptr),
        kind<wa::DatetimePropertyConverter, core::CimPropertyDatetime>("Datetime", nullptr)};
    return all;
}

std::string kindText(const std::string& name)
{
    const std::map<std::string, std::string> texts{{"String", "EPT_STRING"},
                                                   {"StringArray", "EPT_STRING_ARR"},
                                                   {"Uint8", "EPT_UINT8"},
                                                   {"Uint16", "EPT_UINT16"},
                                                   {"Uint16Array", "EPT_UINT16_ARR"},
                                                   {"Uint32", "EPT_UINT32"},
                                                   {"Uint64", "EPT_UINT64"},
                                                   {"Ref", "EPT_REF"},
                                                   {"Uint32Array", "EPT_UINT32_ARR"},
                                                   {"Bool", "EPT_BOOL"},
                                                   {"Datetime", "EPT_DATETIME"}};
    return "property->getType() == core::CimProperty::" + texts.at(name);
}

class PropertyConvertersTest : public testing::TestWithParam<Kind>
{
protected:
    support::NoComLeaks leaks;
    support::LogCapture log{2};
    std::unique_ptr<wa::PropertyConverter> converter = GetParam().converter();
};

class TakingConvertersTest : public PropertyConvertersTest
{
};

class RefusingConvertersTest : public PropertyConvertersTest
{
};

std::string nameOf(const testing::TestParamInfo<Kind>& info)
{
    return info.param.name;
}

std::vector<Kind> kindsThatTake(bool take)
{
    std::vector<Kind> some;
    for (const Kind& kind : kinds()) {
        if ((kind.accepted != nullptr) == take) {
            some.push_back(kind);
        }
    }
    return some;
}

INSTANTIATE_TEST_SUITE_P(Kinds, PropertyConvertersTest, testing::ValuesIn(kinds()), nameOf);
INSTANTIATE_TEST_SUITE_P(Kinds, TakingConvertersTest, testing::ValuesIn(kindsThatTake(true)), nameOf);
INSTANTIATE_TEST_SUITE_P(Kinds, RefusingConvertersTest, testing::ValuesIn(kindsThatTake(false)), nameOf);

TEST_P(PropertyConvertersTest, NullProperty_isRefused)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter->propertyToVariant(nullptr); })), assertionText("property != NULL"));
}

TEST_P(PropertyConvertersTest, PropertyOfAnotherKind_isRefused)
{
    for (const Kind& other : kinds()) {
        if (other.name == std::string(GetParam().name)) {
            continue;
        }
        const auto property = other.property();
        EXPECT_EQ(withoutLine(thrownBy([&] { converter->propertyToVariant(property.get()); })),
                  assertionText(kindText(GetParam().name)))
            << other.name;
    }
}

TEST_P(TakingConvertersTest, Name_isCheckedFirst)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter->variantToProperty("", nullptr); })),
              assertionText("name.size() > 0"));
}

TEST_P(TakingConvertersTest, NullVariant_isRefused)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { converter->variantToProperty("Name", nullptr); })),
              assertionText("variant != NULL"));
}

TEST_P(TakingConvertersTest, EmptyVariant_isNotNull)
{
    VARIANT variant{};
    EXPECT_EQ(withoutLine(thrownBy([&] { converter->variantToProperty("Name", &variant); })),
              assertionText(GetParam().accepted));
}

TEST_P(TakingConvertersTest, OtherTypes_areRefused)
{
    // Types that the array tests do not accept either.
    for (const int type : {+VT_I2, +VT_R8, +VT_DISPATCH, +VT_VARIANT, +VT_UI4, VT_BYREF | VT_I4, VT_BYREF | VT_BSTR,
                           VT_BYREF | VT_UI1, VT_ARRAY | VT_UI1, VT_ARRAY | VT_I2, +VT_ARRAY})
    {
        VARIANT variant{};
        variant.vt = static_cast<VARTYPE>(type);
        EXPECT_EQ(withoutLine(thrownBy([&] { converter->variantToProperty("Name", &variant); })),
                  assertionText(GetParam().accepted))
            << type;
    }
}

TEST_P(TakingConvertersTest, Null_givesANullPropertyOfTheKind)
{
    VARIANT variant{};
    variant.vt = VT_NULL;
    // The converter reads nothing but the type.
    variant.byref = &variant;
    const std::unique_ptr<core::CimProperty> property(converter->variantToProperty("Name", &variant));
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(property->getName(), "Name");
    EXPECT_EQ(property->getType(), GetParam().property()->getType());
    EXPECT_TRUE(property->isNull());
    EXPECT_EQ(property->getOwner(), nullptr);
}

TEST_P(RefusingConvertersTest, Anything_isNotTaken)
{
    VARIANT null{};
    null.vt = VT_NULL;
    VARIANT flag{};
    flag.vt = VT_BOOL;
    flag.boolVal = VARIANT_TRUE;
    EXPECT_EQ(converter->variantToProperty("Name", &null), nullptr);
    EXPECT_EQ(converter->variantToProperty("Name", &flag), nullptr);
    EXPECT_EQ(converter->variantToProperty("", nullptr), nullptr);
}

}  // namespace
