#include "core/CimPropertyTypes.h"

#include <gmock/gmock.h>

#include <limits>
#include <type_traits>
#include <utility>

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

// Every value class keeps the same contract. Each test gets a class and the type of its values.
template <class Property>
using ValueOf = std::decay_t<decltype(std::declval<Property>().getValue())>;

// A value that a new property does not have.
template <class Value>
Value sample()
{
    if constexpr (std::is_arithmetic_v<Value>) {
        return std::numeric_limits<Value>::max();
    } else if constexpr (std::is_same_v<Value, std::string>) {
        return std::string("b\0c", 3);
    } else if constexpr (std::is_same_v<Value, utils::Time>) {
        return utils::Time::timestamp(1);
    } else {
        return Value(2);
    }
}

struct TypeNames
{
    template <class Property>
    static std::string GetName(int)
    {
        const std::string name = testing::internal::GetTypeName<Property>();
        return name.substr(name.rfind(':') + 1);
    }
};

template <class Property>
class ValueTest : public testing::Test
{
protected:
    Property m_property{"P"};
};

using ModifiedTypes = testing::Types<core::CimPropertyUint8, core::CimPropertyUint16, core::CimPropertyUint32,
                                     core::CimPropertyUint64, core::CimPropertyString>;
using ArrayTypes =
    testing::Types<core::CimPropertyUint16_arr, core::CimPropertyUint32_arr, core::CimPropertyString_arr>;
using UnsupportedTypes =
    testing::Types<core::CimPropertyBool, core::CimPropertyDatetime, core::CimPropertyRef, core::CimPropertyUint16_arr,
                   core::CimPropertyUint32_arr, core::CimPropertyString_arr>;
using ValueTypes =
    testing::Types<core::CimPropertyUint8, core::CimPropertyUint16, core::CimPropertyUint32, core::CimPropertyUint64,
                   core::CimPropertyString, core::CimPropertyBool, core::CimPropertyDatetime,
                   core::CimPropertyUint16_arr, core::CimPropertyUint32_arr, core::CimPropertyString_arr>;
TYPED_TEST_SUITE(ValueTest, ValueTypes, TypeNames);

TYPED_TEST(ValueTest, NewProperty_isNullAndInOwnersList)
{
    using Value = ValueOf<TypeParam>;
    core::CimInstance owner("Port");
    auto* const property = new TypeParam("P", &owner);
    EXPECT_EQ(owner.getProperties().findProperty("P"), property);
    EXPECT_EQ(property->getOwner(), &owner);
    EXPECT_TRUE(property->isNull());
    EXPECT_EQ(property->getValue(), Value{});
    EXPECT_THAT(static_cast<const CimProperty*>(property)->listeners(), SizeIs(2));
}

TYPED_TEST(ValueTest, Null_keepsTheValueUntilSet)
{
    using Value = ValueOf<TypeParam>;
    this->m_property.setValue(sample<Value>());
    EXPECT_FALSE(this->m_property.isNull());
    this->m_property.setNull();
    EXPECT_TRUE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getValue(), sample<Value>());
    this->m_property.setValue(Value{});
    EXPECT_EQ(this->m_property.getValue(), Value{});
    EXPECT_FALSE(this->m_property.isNull());
}

template <class Property>
using ModifyTest = ValueTest<Property>;

TYPED_TEST_SUITE(ModifyTest, ModifiedTypes, TypeNames);

TYPED_TEST(ModifyTest, Modify_takesValueAndNullUnverified)
{
    using Value = ValueOf<TypeParam>;
    TypeParam newValue("Q");
    newValue.setValue(sample<Value>());
    this->m_property.modify(&newValue);
    EXPECT_EQ(this->m_property.getValue(), sample<Value>());
    EXPECT_FALSE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getName(), "P");
    newValue.setValue(Value{});
    newValue.setNull();
    this->m_property.modify(&newValue);
    EXPECT_TRUE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getValue(), Value{});
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
    const TypeParam newValue("P");
    this->m_property.modify(&newValue);
    EXPECT_THAT(log.sequence(), ElementsAre("debugger: ZerixDRAVEv2: CimProperty:421:core::modifyProperty: debug: "
                                            "size: 3\n",
                                            "call: unchanged", "call: unchanged"));
    EXPECT_THAT(listener.m_calls, testing::Each(testing::Pair(&this->m_property, &newValue)));
}

TYPED_TEST(ModifyTest, Modify_null_isRefused)
{
    const TypeParam newValue("P");
    TypeParam* const none = nullptr;
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

template <class Property>
using UnsupportedTest = ValueTest<Property>;

TYPED_TEST_SUITE(UnsupportedTest, UnsupportedTypes, TypeNames);

TYPED_TEST(UnsupportedTest, ModifyAndVerify_areNotSupported)
{
    const TypeParam newValue("P");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.modify(&newValue); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.verify(&newValue); }), "ENotSupported:");
}

template <class Property>
using ArrayTest = ValueTest<Property>;

TYPED_TEST_SUITE(ArrayTest, ArrayTypes, TypeNames);

TYPED_TEST(ArrayTest, Array_hasNoTextButIsCleared)
{
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.toString(); }), "ENotSupported:");
    this->m_property.clear();
    EXPECT_FALSE(this->m_property.isNull());
    this->m_property.setValue(sample<ValueOf<TypeParam>>());
    this->m_property.setNull();
    this->m_property.clear();
    EXPECT_THAT(this->m_property.getValue(), IsEmpty());
    EXPECT_FALSE(this->m_property.isNull());
    EXPECT_EQ(support::slotOf(&TypeParam::clear), 6U) << "behind the functions of the base";
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

TEST(RefTest, ReferenceByPath_isTheTextUnparsed)
{
    core::CimPropertyRef property("P");
    EXPECT_TRUE(property.isNull());
    EXPECT_EQ(property.getType(), CimProperty::EPT_REF);
    EXPECT_EQ(property.toString(), "");
    property.setValue(std::string("no path at all"));
    EXPECT_FALSE(property.isNull());
    EXPECT_EQ(property.getValue(), nullptr);
    EXPECT_EQ(property.getPath(), "no path at all");
    EXPECT_EQ(property.toString(), "no path at all");
}

TEST(RefTest, Setters_storeTheirOwnField_andAnInstanceWins)
{
    core::CimInstance instance("Port");
    samples::addKey(instance, "Name", "a");
    core::CimPropertyRef property("P");
    property.setValue(&instance);
    EXPECT_FALSE(property.isNull());
    EXPECT_EQ(property.getPath(), "");
    property.setValue(std::string("Other.k=1"));
    EXPECT_EQ(property.getValue(), &instance);
    EXPECT_EQ(property.getPath(), "Other.k=1");
    EXPECT_EQ(property.toString(), R"(Port.Name="a")");
    property.setValue(nullptr);
    EXPECT_EQ(property.getPath(), "Other.k=1");
    EXPECT_EQ(property.toString(), "Other.k=1");
}

}  // namespace
