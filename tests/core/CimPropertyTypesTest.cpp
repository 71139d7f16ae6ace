#include "core/CimPropertyTypes.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "core/CimInstance.h"
#include "support/CapturedSinks.h"
#include "support/LogCapture.h"
#include "support/SampleProperties.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimProperty;
using support::assertionOf;
using support::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using utils::EInvalidParameter;
using utils::ENotSupported;

// The contract of every value class, tested for one class with two sample values.
template <class Property, CimProperty::EPropertyType TYPE, class Values>
struct Case
{
    using Class = Property;
    static constexpr CimProperty::EPropertyType type = TYPE;
    static auto first() { return Values::first(); }
    static auto second() { return Values::second(); }
};

template <class Value>
struct Numbers
{
    static Value first() { return 7; }
    static Value second() { return static_cast<Value>(~Value{0}); }
};

struct Texts
{
    static std::string first() { return "a"; }
    static std::string second() { return std::string("b\0c", 3); }
};

struct Flags
{
    static bool first() { return true; }
    static bool second() { return false; }
};

struct Times
{
    static utils::Time first() { return utils::Time::timestamp(1); }
    static utils::Time second() { return utils::Time::period(2); }
};

template <class Value>
struct Lists
{
    static std::vector<Value> first() { return {Value{}}; }
    static std::vector<Value> second() { return {Value{}, Value{}}; }
};

using Uint8 = Case<core::CimPropertyUint8, CimProperty::EPT_UINT8, Numbers<std::uint8_t>>;
using Uint16 = Case<core::CimPropertyUint16, CimProperty::EPT_UINT16, Numbers<std::uint16_t>>;
using Uint32 = Case<core::CimPropertyUint32, CimProperty::EPT_UINT32, Numbers<std::uint32_t>>;
using Uint64 = Case<core::CimPropertyUint64, CimProperty::EPT_UINT64, Numbers<std::uint64_t>>;
using Text = Case<core::CimPropertyString, CimProperty::EPT_STRING, Texts>;
using Bool = Case<core::CimPropertyBool, CimProperty::EPT_BOOL, Flags>;
using Datetime = Case<core::CimPropertyDatetime, CimProperty::EPT_DATETIME, Times>;
using Uint16Array = Case<core::CimPropertyUint16_arr, CimProperty::EPT_UINT16_ARR, Lists<std::uint16_t>>;
using Uint32Array = Case<core::CimPropertyUint32_arr, CimProperty::EPT_UINT32_ARR, Lists<std::uint32_t>>;
using TextArray = Case<core::CimPropertyString_arr, CimProperty::EPT_STRING_ARR, Lists<std::string>>;

struct TypeNames
{
    template <class T>
    static std::string GetName(int)
    {
        const std::string name = testing::internal::GetTypeName<typename T::Class>();
        return name.substr(name.rfind(':') + 1);
    }
};

template <class T>
class ValueTest : public testing::Test
{
protected:
    typename T::Class m_property{"P"};
};

using ValueTypes =
    testing::Types<Uint8, Uint16, Uint32, Uint64, Text, Bool, Datetime, Uint16Array, Uint32Array, TextArray>;
TYPED_TEST_SUITE(ValueTest, ValueTypes, TypeNames);

TYPED_TEST(ValueTest, NewProperty_isNullWithTwoListeners)
{
    using Value = std::decay_t<decltype(this->m_property.getValue())>;
    const CimProperty& property = this->m_property;
    EXPECT_EQ(property.getType(), TypeParam::type);
    EXPECT_TRUE(property.isNull());
    EXPECT_EQ(this->m_property.getValue(), Value{});
    EXPECT_THAT(property.listeners(), SizeIs(2));
}

TYPED_TEST(ValueTest, SetValue_storesAndEndsNull)
{
    this->m_property.setValue(TypeParam::first());
    EXPECT_EQ(this->m_property.getValue(), TypeParam::first());
    EXPECT_FALSE(this->m_property.isNull());
    this->m_property.setNull();
    this->m_property.setValue(TypeParam::second());
    EXPECT_EQ(this->m_property.getValue(), TypeParam::second());
    EXPECT_FALSE(this->m_property.isNull());
}

TYPED_TEST(ValueTest, Property_mayHaveAnOwner)
{
    core::CimInstance owner("Port");
    const auto* const property = new typename TypeParam::Class("P", &owner);
    EXPECT_EQ(owner.getProperties().findProperty("P"), property);
}

template <class T>
class ModifyTest : public ValueTest<T>
{
};

using ModifiedTypes = testing::Types<Uint8, Uint16, Uint32, Uint64, Text>;
TYPED_TEST_SUITE(ModifyTest, ModifiedTypes, TypeNames);

TYPED_TEST(ModifyTest, Modify_takesTheValueUnverified)
{
    typename TypeParam::Class newValue("Q");
    newValue.setValue(TypeParam::first());
    this->m_property.modify(&newValue);
    EXPECT_EQ(this->m_property.getValue(), TypeParam::first());
    EXPECT_FALSE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getName(), "P");
}

TYPED_TEST(ModifyTest, Modify_takesTheValueOfANull)
{
    this->m_property.setValue(TypeParam::first());
    typename TypeParam::Class newValue("P");
    newValue.setValue(TypeParam::second());
    newValue.setNull();
    this->m_property.modify(&newValue);
    EXPECT_TRUE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getValue(), TypeParam::second());
}

TYPED_TEST(ModifyTest, Modify_logsAndCallsListenersFirst)
{
    // Registers itself once more when it is called.
    class Recording : public CimProperty::Listener
    {
    public:
        void onModify(CimProperty* property, const CimProperty* newValue) override
        {
            support::addToCaptured("call: ", property->isNull() ? "unchanged" : "changed");
            m_calls.emplace_back(property, newValue);
            if (m_calls.size() == 1) {
                property->addListener(this);
            }
        }

        std::vector<std::pair<const CimProperty*, const CimProperty*>> m_calls;
    };

    const support::LogCapture log;
    Recording listener;
    this->m_property.addListener(&listener);
    typename TypeParam::Class newValue("P");
    newValue.setValue(TypeParam::first());
    this->m_property.modify(&newValue);
    EXPECT_THAT(log.sequence(), ElementsAre("debugger: ZerixDRAVEv2: CimProperty:421:core::modifyProperty: debug: "
                                            "size: 3\n",
                                            "call: unchanged", "call: unchanged"));
    EXPECT_THAT(listener.m_calls, testing::Each(testing::Pair(&this->m_property, &newValue)));
}

TYPED_TEST(ModifyTest, Modify_null_isRefused)
{
    const typename TypeParam::Class newValue("P");
    typename TypeParam::Class* const none = nullptr;
    EXPECT_EQ(assertionOf([&] { core::modifyProperty(none, nullptr); }), "CimProperty:418: property != NULL");
    EXPECT_EQ(assertionOf([&] { core::modifyProperty(none, &newValue); }), "CimProperty:418: property != NULL");
    EXPECT_EQ(assertionOf([&] { this->m_property.modify(nullptr); }), "CimProperty:419: newValue != NULL");
}

template <class Property, class Value>
std::string textOf(Value value)
{
    Property property("P");
    property.setValue(value);
    return property.toString();
}

TEST(ToStringTest, Numbers_areDecimal_andUint32IsSigned)
{
    EXPECT_EQ(textOf<core::CimPropertyUint8>(255), "255");
    EXPECT_EQ(textOf<core::CimPropertyUint16>(65535), "65535");
    EXPECT_EQ(textOf<core::CimPropertyUint64>(18446744073709551615U), "18446744073709551615");
    EXPECT_EQ(textOf<core::CimPropertyUint32>(2147483647), "2147483647");
    EXPECT_EQ(textOf<core::CimPropertyUint32>(2147483648U), "-2147483648");
    EXPECT_EQ(textOf<core::CimPropertyUint32>(4294967295U), "-1");
}

TEST(ToStringTest, LongText_isItself)
{
    EXPECT_EQ(textOf<core::CimPropertyString>(std::string(600, 'a')), std::string(600, 'a'));
}

template <class T>
class UnsupportedTest : public ValueTest<T>
{
};

using UnsupportedTypes = testing::Types<Bool, Datetime, Uint16Array, Uint32Array, TextArray>;
TYPED_TEST_SUITE(UnsupportedTest, UnsupportedTypes, TypeNames);

TYPED_TEST(UnsupportedTest, ModifyAndVerify_areNotSupported)
{
    const typename TypeParam::Class newValue("P");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.modify(&newValue); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.verify(&newValue); }), "ENotSupported:");
}

template <class T>
class ArrayTest : public ValueTest<T>
{
};

using ArrayTypes = testing::Types<Uint16Array, Uint32Array, TextArray>;
TYPED_TEST_SUITE(ArrayTest, ArrayTypes, TypeNames);

TYPED_TEST(ArrayTest, Array_hasNoTextButIsCleared)
{
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.toString(); }), "ENotSupported:");
    this->m_property.clear();
    EXPECT_FALSE(this->m_property.isNull());
    this->m_property.setValue(TypeParam::second());
    this->m_property.setNull();
    this->m_property.clear();
    EXPECT_THAT(this->m_property.getValue(), IsEmpty());
    EXPECT_FALSE(this->m_property.isNull());
    EXPECT_EQ(support::slotOf(&TypeParam::Class::clear), 6U) << "behind the functions of the base";
}

class LengthTest : public testing::Test
{
protected:
    LengthTest()
    {
        m_property.setValue("start");
        m_property.setModifiable(true);
    }

    // The exception of verifying a text with this many bytes.
    std::string verifying(std::size_t length)
    {
        core::CimPropertyString newValue("Q");
        newValue.setValue(std::string(length, 'a'));
        return thrownBy<EInvalidParameter>([&] { m_property.verify(&newValue); });
    }

    core::CimPropertyString m_property{"P"};
};

constexpr const char* ACCEPTED = "nothing was thrown";

TEST_F(LengthTest, Limits_withoutListeners_areIgnored)
{
    m_property.setMinLength(3);
    m_property.setMaxLength(4);
    EXPECT_EQ(verifying(2), ACCEPTED);
    EXPECT_EQ(verifying(5), ACCEPTED);
    m_property.registerLengthListeners();
    EXPECT_THAT(m_property.listeners(), SizeIs(4));
    EXPECT_EQ(verifying(2), "DRAVEv2: EInvalidParameter:Length of P property cannot be smaller then 3");
    EXPECT_EQ(verifying(3), ACCEPTED);
    EXPECT_EQ(verifying(4), ACCEPTED);
    EXPECT_EQ(verifying(5), "DRAVEv2: EInvalidParameter:Length of P property cannot be biger then 4");
}

TEST_F(LengthTest, AnyLength_withoutLimits_isAccepted)
{
    m_property.registerLengthListeners();
    EXPECT_EQ(verifying(0), ACCEPTED);
    EXPECT_EQ(verifying(100'000), ACCEPTED);
}

TEST_F(LengthTest, Limits_areThePropertys)
{
    m_property.registerLengthListeners();
    core::CimPropertyString newValue("Q");
    newValue.setValue("abc");
    newValue.setMinLength(10);
    newValue.setMaxLength(1);
    EXPECT_NO_THROW(m_property.verify(&newValue));
}

TEST_F(LengthTest, NullOverNull_withMinimum_isTooShort)
{
    core::CimPropertyString property("P");
    property.registerLengthListeners();
    const core::CimPropertyString newValue("P");
    EXPECT_NO_THROW(property.verify(&newValue));
    property.setMinLength(1);
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { property.verify(&newValue); }),
              "DRAVEv2: EInvalidParameter:Length of P property cannot be smaller then 1");
}

TEST_F(LengthTest, Listeners_withoutAPropertyOrValue_assert)
{
    m_property.registerLengthListeners();
    CimProperty::Listener* const minimum = m_property.listeners()[2];
    CimProperty::Listener* const maximum = m_property.listeners()[3];
    EXPECT_EQ(assertionOf([&] { minimum->onVerify(nullptr, nullptr); }), "CimProperty:153: property != NULL");
    EXPECT_EQ(assertionOf([&] { minimum->onVerify(nullptr, &m_property); }), "CimProperty:153: property != NULL");
    EXPECT_EQ(assertionOf([&] { minimum->onVerify(&m_property, nullptr); }), "CimProperty:154: newValue != NULL");
    EXPECT_EQ(assertionOf([&] { maximum->onVerify(nullptr, nullptr); }), "CimProperty:172: property != NULL");
    EXPECT_EQ(assertionOf([&] { maximum->onVerify(nullptr, &m_property); }), "CimProperty:172: property != NULL");
    EXPECT_EQ(assertionOf([&] { maximum->onVerify(&m_property, nullptr); }), "CimProperty:173: newValue != NULL");
    EXPECT_NO_THROW(minimum->onModify(nullptr, nullptr));
    EXPECT_NO_THROW(maximum->onModify(nullptr, nullptr));
}

class RefTest : public testing::Test
{
protected:
    RefTest() { samples::addKey(m_instance, "Name", "a"); }

    core::CimInstance m_instance{"Port"};
    core::CimPropertyRef m_property{"P"};
};

TEST_F(RefTest, NewReference_isNullAndEmpty)
{
    EXPECT_TRUE(m_property.isNull());
    EXPECT_EQ(m_property.getType(), CimProperty::EPT_REF);
    EXPECT_EQ(m_property.getValue(), nullptr);
    EXPECT_EQ(m_property.getPath(), "");
    EXPECT_EQ(m_property.toString(), "");
}

TEST_F(RefTest, ReferenceByPath_isTheTextUnparsed)
{
    m_property.setValue(std::string("no path at all"));
    EXPECT_FALSE(m_property.isNull());
    EXPECT_EQ(m_property.getValue(), nullptr);
    EXPECT_EQ(m_property.getPath(), "no path at all");
    EXPECT_EQ(m_property.toString(), "no path at all");
}

TEST_F(RefTest, Setters_storeTheirOwnField_andAnInstanceWins)
{
    m_property.setValue(&m_instance);
    EXPECT_FALSE(m_property.isNull());
    EXPECT_EQ(m_property.toString(), R"(Port.Name="a")");
    m_property.setValue(std::string("Other.k=1"));
    EXPECT_EQ(m_property.getValue(), &m_instance);
    EXPECT_EQ(m_property.getPath(), "Other.k=1");
    EXPECT_EQ(m_property.toString(), R"(Port.Name="a")");
    m_property.setValue(nullptr);
    EXPECT_EQ(m_property.getPath(), "Other.k=1");
    EXPECT_EQ(m_property.toString(), "Other.k=1");
    m_property.setValue(&m_instance);
    EXPECT_EQ(m_property.getPath(), "Other.k=1");
    EXPECT_EQ(m_property.toString(), R"(Port.Name="a")");
}

TEST_F(RefTest, ModifyAndVerify_areNotSupported)
{
    EXPECT_EQ(thrownBy<ENotSupported>([&] { m_property.modify(&m_property); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { m_property.verify(&m_property); }), "ENotSupported:");
}

}  // namespace
