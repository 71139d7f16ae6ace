#include "core/CimPropertyTypes.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "core/CimInstance.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimProperty;
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
        return std::to_string(T::type);
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
    EXPECT_TRUE(this->m_property.isNull());
    EXPECT_EQ(this->m_property.getValue(), Value{});
    EXPECT_THAT(this->m_property.listeners(), SizeIs(2));
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

TYPED_TEST(ValueTest, Type_isItsNumber)
{
    const CimProperty& property = this->m_property;
    EXPECT_EQ(property.getType(), TypeParam::type);
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

TYPED_TEST(ModifyTest, Modify_callsListenersBeforeTheChange)
{
    using Property = typename TypeParam::Class;

    class Recording : public CimProperty::Listener
    {
    public:
        void onModify(CimProperty* property, const CimProperty* newValue) override
        {
            m_calls.emplace_back(property, newValue);
            EXPECT_TRUE(property->isNull());
            if (m_calls.size() == 1) {
                property->addListener(this);
            }
        }

        std::vector<std::pair<const CimProperty*, const CimProperty*>> m_calls;
    };

    Recording listener;
    this->m_property.addListener(&listener);
    Property newValue("P");
    newValue.setValue(TypeParam::first());
    this->m_property.modify(&newValue);
    EXPECT_THAT(listener.m_calls,
                ElementsAre(testing::Pair(&this->m_property, &newValue), testing::Pair(&this->m_property, &newValue)));
}

TYPED_TEST(ModifyTest, ListenerCount_isLogged)
{
    const support::LogCapture log;
    const typename TypeParam::Class newValue("P");
    this->m_property.modify(&newValue);
    EXPECT_THAT(log.numberedMessages(), ElementsAre("debug|CimProperty:421|core::modifyProperty|size: 2"));
}

TYPED_TEST(ModifyTest, Size_isLoggedBeforeTheListenersHear)
{
    class Listening : public CimProperty::Listener
    {
    public:
        explicit Listening(const support::LogCapture& log) : m_log(log) {}
        void onModify(CimProperty* /*property*/, const CimProperty* /*newValue*/) override
        {
            linesBefore = m_log.messages().size();
        }

        std::size_t linesBefore = 0;

    private:
        const support::LogCapture& m_log;
    };

    const support::LogCapture log;
    Listening listener(log);
    this->m_property.addListener(&listener);
    const typename TypeParam::Class newValue("P");
    this->m_property.modify(&newValue);
    EXPECT_EQ(listener.linesBefore, 1U);
}

TYPED_TEST(ModifyTest, Modify_null_isRefused)
{
    const typename TypeParam::Class newValue("P");
    typename TypeParam::Class* const none = nullptr;
    EXPECT_EQ(thrownBy([&] { core::modifyProperty(none, nullptr); }),
              "DRAVEv2: CimProperty:418: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { core::modifyProperty(none, &newValue); }),
              "DRAVEv2: CimProperty:418: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { this->m_property.modify(nullptr); }),
              "DRAVEv2: CimProperty:419: Assertion failed: 'newValue != NULL'");
}

TEST(ToStringTest, Numbers_areDecimal)
{
    core::CimPropertyUint8 uint8("P");
    core::CimPropertyUint16 uint16("P");
    core::CimPropertyUint64 uint64("P");
    uint8.setValue(255);
    uint16.setValue(65535);
    uint64.setValue(18446744073709551615U);
    EXPECT_EQ(uint8.toString(), "255");
    EXPECT_EQ(uint16.toString(), "65535");
    EXPECT_EQ(uint64.toString(), "18446744073709551615");
}

TEST(ToStringTest, Uint32_isPrintedSigned)
{
    core::CimPropertyUint32 property("P");
    property.setValue(2147483647);
    EXPECT_EQ(property.toString(), "2147483647");
    property.setValue(2147483648U);
    EXPECT_EQ(property.toString(), "-2147483648");
    property.setValue(4294967295U);
    EXPECT_EQ(property.toString(), "-1");
}

TEST(ToStringTest, LongText_isItself)
{
    core::CimPropertyString property("P");
    property.setValue(std::string(600, 'a'));
    EXPECT_EQ(property.toString(), std::string(600, 'a'));
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

TYPED_TEST(ArrayTest, Text_isNotSupported)
{
    EXPECT_EQ(thrownBy<ENotSupported>([&] { this->m_property.toString(); }), "ENotSupported:");
}

TYPED_TEST(ArrayTest, Clear_emptiesAndEndsNull)
{
    this->m_property.clear();
    EXPECT_FALSE(this->m_property.isNull());
    this->m_property.setValue(TypeParam::second());
    this->m_property.clear();
    EXPECT_THAT(this->m_property.getValue(), IsEmpty());
    EXPECT_FALSE(this->m_property.isNull());
}

TYPED_TEST(ArrayTest, Clear_followsTheBasesFunctions)
{
    EXPECT_EQ(support::slotOf(&TypeParam::Class::clear), 6U);
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
    EXPECT_EQ(thrownBy([&] { minimum->onVerify(nullptr, nullptr); }),
              "DRAVEv2: CimProperty:153: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { maximum->onVerify(nullptr, nullptr); }),
              "DRAVEv2: CimProperty:172: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { minimum->onVerify(nullptr, &m_property); }),
              "DRAVEv2: CimProperty:153: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { minimum->onVerify(&m_property, nullptr); }),
              "DRAVEv2: CimProperty:154: Assertion failed: 'newValue != NULL'");
    EXPECT_EQ(thrownBy([&] { maximum->onVerify(nullptr, &m_property); }),
              "DRAVEv2: CimProperty:172: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { maximum->onVerify(&m_property, nullptr); }),
              "DRAVEv2: CimProperty:173: Assertion failed: 'newValue != NULL'");
    EXPECT_NO_THROW(minimum->onModify(nullptr, nullptr));
    EXPECT_NO_THROW(maximum->onModify(nullptr, nullptr));
}

class RefTest : public testing::Test
{
protected:
    RefTest()
    {
        auto* const key = new core::CimPropertyString("Name", &m_instance);
        key->setValue("a");
        key->setKey(true);
    }

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

TEST_F(RefTest, ReferenceToInstance_isItsPath)
{
    m_property.setValue(&m_instance);
    EXPECT_FALSE(m_property.isNull());
    EXPECT_EQ(m_property.getValue(), &m_instance);
    EXPECT_EQ(m_property.toString(), R"(Port.Name="a")");
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
