#include "core/CimProperty.h"

#include <gmock/gmock.h>

#include <memory>

#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimProperty;
using support::thrownBy;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using utils::EForbidden;
using utils::EInvalidParameter;
using utils::ENotSupported;

constexpr const char* NOT_ALLOWED = "DRAVEv2: EForbidden:Modyfying of P property is not allowed";
constexpr const char* NOT_NULL = "DRAVEv2: EInvalidParameter:Property P cannot be a NULL";

static_assert(CimProperty::EPT_UINT8 == 0 && CimProperty::EPT_UINT16 == 4 && CimProperty::EPT_UINT16_ARR == 5 &&
              CimProperty::EPT_UINT32 == 8 && CimProperty::EPT_UINT32_ARR == 9 && CimProperty::EPT_UINT64 == 12 &&
              CimProperty::EPT_STRING == 16 && CimProperty::EPT_STRING_ARR == 17 && CimProperty::EPT_BOOL == 18 &&
              CimProperty::EPT_DATETIME == 24 && CimProperty::EPT_REF == 26);

class MockListener : public CimProperty::Listener
{
public:
    MOCK_METHOD(void, onModify, (CimProperty*, const CimProperty*), (override));
    MOCK_METHOD(void, onVerify, (CimProperty*, const CimProperty*), (override));
};

// Returns a property "P" of the type, with the value if one is given, and modifiable if requested.
template <class Property, class Value>
std::unique_ptr<Property> make(Value value, bool modifiable = false)
{
    auto property = std::make_unique<Property>("P");
    property->setValue(value);
    property->setModifiable(modifiable);
    return property;
}

std::string notSupportedLine(const char* function, int line, const char* name, int type)
{
    return utils::format("debug|CimProperty:%d|core::CimProperty::%s|Operation not supported by property %s (%d)", line,
                         function, name, type);
}

TEST(CimPropertyTest, NewProperty_isNullAndNothingElse)
{
    const core::CimPropertyUint8 property("P");
    EXPECT_EQ(property.getName(), "P");
    EXPECT_TRUE(property.isNull());
    EXPECT_FALSE(property.isModifiable());
    EXPECT_FALSE(property.isKey());
    EXPECT_FALSE(property.isOverriden());
    EXPECT_EQ(property.getOwner(), nullptr);
    EXPECT_THAT(property.listeners(), SizeIs(2));
}

TEST(CimPropertyTest, NewProperty_joinsItsOwnersList)
{
    core::CimInstance owner("Port");
    auto* const property = new core::CimPropertyUint8("P", &owner);
    EXPECT_EQ(property->getOwner(), &owner);
    EXPECT_EQ(owner.getProperties().findProperty("P"), property);
}

TEST(CimPropertyTest, EmptyName_failsBeforeTheOwnerHears)
{
    core::CimInstance owner("Port");
    EXPECT_EQ(thrownBy([&] { const core::CimPropertyUint8 property("", &owner); }),
              "DRAVEv2: CimProperty:195: Assertion failed: 'm_name.length() != 0'");
    EXPECT_EQ(owner.getProperties().size(), 0U);
}

TEST(CimPropertyTest, Flags_areSetAndRead)
{
    core::CimPropertyUint8 property("P");
    property.setKey(true);
    property.setModifiable(true);
    property.setOverriden(true);
    EXPECT_TRUE(property.isKey() && property.isModifiable() && property.isOverriden());
    property.setKey(false);
    property.setModifiable(false);
    EXPECT_FALSE(property.isKey() || property.isModifiable());
}

TEST(CimPropertyTest, SetNull_keepsTheValue)
{
    const auto property = make<core::CimPropertyUint8>(7);
    EXPECT_FALSE(property->isNull());
    property->setNull();
    EXPECT_TRUE(property->isNull());
    EXPECT_EQ(property->getValue(), 7);
}

TEST(CimPropertyTest, AddListener_appendsAndDoesNotOwn)
{
    MockListener first;
    MockListener second;
    core::CimPropertyUint8 property("P");
    property.addListener(&first);
    property.addListener(&second);
    EXPECT_THAT(property.listeners(), ElementsAre(_, _, &first, &second));
}

TEST(CimPropertyTest, AddListener_null_isRefused)
{
    core::CimPropertyUint8 property("P");
    EXPECT_EQ(thrownBy([&] { property.addListener(nullptr); }),
              "DRAVEv2: CimProperty:381: Assertion failed: 'listener != NULL'");
    EXPECT_THAT(property.listeners(), SizeIs(2));
}

TEST(CimPropertyTest, MissingOperation_isLoggedAndNotSupported)
{
    const support::LogCapture log;
    core::CimPropertyUint16_arr property("P");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { (void)property.toString(); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { property.modify(nullptr); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { property.verify(nullptr); }), "ENotSupported:");
    const testing::Matcher<std::string> errorLine = testing::AllOf(
        testing::StartsWith("error|Exception:"), testing::EndsWith("|utils::Exception::Exception|ENotSupported:"));
    EXPECT_THAT(log.numberedMessages(), ElementsAre(notSupportedLine("toString", 231, "P", 5), errorLine,
                                                    notSupportedLine("modify", 366, "P", 5), errorLine,
                                                    notSupportedLine("verify", 375, "P", 5), errorLine));
}

TEST(CimPropertyTest, VirtualFunctions_areInTheDeclaredOrder)
{
    // The destructor occupies two entries: the first ones of a property, and the last ones of a listener.
    EXPECT_EQ(support::slotOf(&CimProperty::toString), 2U);
    EXPECT_EQ(support::slotOf(&CimProperty::getType), 3U);
    EXPECT_EQ(support::slotOf(&CimProperty::modify), 4U);
    EXPECT_EQ(support::slotOf(&CimProperty::verify), 5U);
    EXPECT_EQ(support::slotOf(&CimProperty::Listener::onModify), 0U);
    EXPECT_EQ(support::slotOf(&CimProperty::Listener::onVerify), 1U);
}

TEST(ListenerTest, Listener_byDefault_acceptsEverything)
{
    CimProperty::Listener listener;
    core::CimPropertyUint8 property("P");
    EXPECT_NO_THROW(listener.onModify(&property, &property));
    EXPECT_NO_THROW(listener.onVerify(nullptr, nullptr));
}

TEST(VerifyPropertyTest, Verify_withoutAPropertyOrValue_logsNothing)
{
    const support::LogCapture log;
    core::CimPropertyUint8 property("P");
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { core::verifyProperty(nullptr, nullptr); }),
              "DRAVEv2: EInvalidParameter:Property cannot be NULL");
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { core::verifyProperty(&property, nullptr); }),
              "DRAVEv2: EInvalidParameter:New Property value cannot be NULL");
    EXPECT_THAT(log.messages(),
                ElementsAre("error|Exception|utils::Exception::Exception|EInvalidParameter:Property cannot be NULL",
                            "error|Exception|utils::Exception::Exception|EInvalidParameter:New Property value cannot "
                            "be NULL"));
}

TEST(VerifyPropertyTest, ListenerCount_isLogged)
{
    const support::LogCapture log;
    CimProperty::Listener listener;
    core::CimPropertyUint8 property("P");
    property.addListener(&listener);
    const core::CimPropertyUint8 newValue("P");
    core::verifyProperty(&property, &newValue);
    EXPECT_THAT(log.numberedMessages(), ElementsAre("debug|CimProperty:403|core::verifyProperty|size: 3"));
}

TEST(VerifyPropertyTest, Size_isLoggedBeforeTheListenersAreAsked)
{
    const support::LogCapture log;
    MockListener refusing;
    core::CimPropertyUint8 property("P");
    const core::CimPropertyUint8 newValue("P");
    property.addListener(&refusing);
    std::vector<std::string> before;
    EXPECT_CALL(refusing, onVerify).WillOnce([&](CimProperty*, const CimProperty*) { before = log.messages(); });
    core::verifyProperty(&property, &newValue);
    EXPECT_THAT(before, ElementsAre("debug|CimProperty|core::verifyProperty|size: 3"));
    EXPECT_EQ(log.messages().size(), 1U);
}

TEST(VerifyPropertyTest, Listeners_areAskedUntilOneThrows)
{
    MockListener first;
    MockListener second;
    MockListener third;
    core::CimPropertyUint8 property("P");
    const core::CimPropertyUint8 newValue("P");
    for (MockListener* listener : {&first, &second, &third}) {
        property.addListener(listener);
    }
    const testing::InSequence order;
    EXPECT_CALL(first, onVerify(&property, &newValue));
    EXPECT_CALL(second, onVerify(&property, &newValue)).WillOnce(testing::Throw(std::runtime_error("mine")));
    EXPECT_CALL(third, onVerify).Times(0);
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { property.verify(&newValue); }), "mine");
}

TEST(VerifyPropertyTest, AddedListener_isAskedToo)
{
    MockListener adding;
    MockListener added;
    core::CimPropertyUint8 property("P");
    property.addListener(&adding);
    const core::CimPropertyUint8 newValue("P");
    EXPECT_CALL(adding, onVerify).WillOnce([&](CimProperty* changed, const CimProperty*) {
        // Enough listeners to make the sequence allocate new memory.
        for (int i = 0; i < 20; ++i) {
            changed->addListener(&added);
        }
    });
    EXPECT_CALL(added, onVerify(&property, &newValue)).Times(20);
    core::verifyProperty(&property, &newValue);
}

TEST(VerifyPropertyTest, Verification_changesNothing)
{
    const auto property = make<core::CimPropertyUint8>(7, true);
    property->verify(make<core::CimPropertyUint8>(8).get());
    EXPECT_EQ(property->getValue(), 7);
    EXPECT_FALSE(property->isNull());
}

template <class Property>
class ModifyEnabledTest : public testing::Test
{
};

struct TypeNames
{
    template <class Property>
    static std::string GetName(int)
    {
        return std::to_string(Property("P").getType());
    }
};

using NumberTypes = testing::Types<core::CimPropertyUint8, core::CimPropertyUint16, core::CimPropertyUint64>;
TYPED_TEST_SUITE(ModifyEnabledTest, NumberTypes, TypeNames);

TYPED_TEST(ModifyEnabledTest, NullOverNull_isAccepted)
{
    TypeParam property("P");
    const TypeParam newValue("P");
    EXPECT_NO_THROW(property.verify(&newValue));
    property.setModifiable(true);
    EXPECT_NO_THROW(property.verify(&newValue));
}

TYPED_TEST(ModifyEnabledTest, ValueOverNull_readOnly_isRefused)
{
    TypeParam property("P");
    const auto newValue = make<TypeParam>(7);
    EXPECT_EQ(thrownBy<EForbidden>([&] { property.verify(newValue.get()); }), NOT_ALLOWED);
    property.setModifiable(true);
    EXPECT_NO_THROW(property.verify(newValue.get()));
}

TYPED_TEST(ModifyEnabledTest, NullOverValue_isAlwaysRefused)
{
    const auto property = make<TypeParam>(7);
    const TypeParam newValue("P");
    EXPECT_EQ(thrownBy<EForbidden>([&] { property->verify(&newValue); }), NOT_ALLOWED);
    property->setModifiable(true);
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { property->verify(&newValue); }), NOT_NULL);
}

TYPED_TEST(ModifyEnabledTest, AnotherValue_readOnly_isRefused)
{
    const auto property = make<TypeParam>(7);
    EXPECT_NO_THROW(property->verify(make<TypeParam>(7).get()));
    const auto other = make<TypeParam>(8);
    EXPECT_EQ(thrownBy<EForbidden>([&] { property->verify(other.get()); }), NOT_ALLOWED);
    property->setModifiable(true);
    EXPECT_NO_THROW(property->verify(other.get()));
}

TEST(ModifyEnabledStringTest, Texts_areComparedByteByByte)
{
    const auto property = make<core::CimPropertyString>("a");
    EXPECT_NO_THROW(property->verify(make<core::CimPropertyString>("a").get()));
    EXPECT_EQ(thrownBy<EForbidden>([&] { property->verify(make<core::CimPropertyString>("A").get()); }), NOT_ALLOWED);
    EXPECT_EQ(
        thrownBy<EForbidden>([&] { property->verify(make<core::CimPropertyString>(std::string("a\0", 2)).get()); }),
        NOT_ALLOWED);
    const core::CimPropertyString null("P");
    EXPECT_EQ(thrownBy<EForbidden>([&] { property->verify(&null); }), NOT_ALLOWED);
    property->setModifiable(true);
    EXPECT_NO_THROW(property->verify(make<core::CimPropertyString>("b").get()));
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { property->verify(&null); }), NOT_NULL);
}

TEST(ModifyEnabledUint32Test, Verification_isAlwaysRefused)
{
    constexpr const char* UNSUPPORTED = "DRAVEv2: EForbidden:Unsupported type: 8";
    const auto property = make<core::CimPropertyUint32>(7);
    const auto verifying = [&](const CimProperty& newValue) {
        return thrownBy<EForbidden>([&] { property->verify(&newValue); });
    };
    const auto equal = make<core::CimPropertyUint32>(7);
    const core::CimPropertyUint32 null("P");
    EXPECT_EQ(verifying(*equal), UNSUPPORTED);
    EXPECT_EQ(verifying(null), NOT_ALLOWED) << "the null rules come first";
    property->setModifiable(true);
    EXPECT_EQ(verifying(*equal), UNSUPPORTED);
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { property->verify(&null); }), NOT_NULL);
    property->setNull();
    EXPECT_EQ(verifying(null), UNSUPPORTED);
    EXPECT_EQ(verifying(*equal), UNSUPPORTED);
}

TEST(ModifyEnabledTypesTest, OtherTypes_areNotSupported)
{
    core::CimPropertyBool boolean("P");
    core::CimPropertyDatetime datetime("P");
    core::CimPropertyRef reference("P");
    core::CimPropertyUint32_arr array("P");
    for (CimProperty* property : {static_cast<CimProperty*>(&boolean), static_cast<CimProperty*>(&datetime),
                                  static_cast<CimProperty*>(&reference), static_cast<CimProperty*>(&array)})
    {
        EXPECT_EQ(thrownBy<EForbidden>([&] { core::verifyProperty(property, property); }),
                  utils::format("DRAVEv2: EForbidden:Unsupported type: %d", property->getType()));
    }
}

TEST(ModifyEnabledTypesTest, ValueOfAnotherType_isAnotherValue)
{
    const auto text = make<core::CimPropertyString>("a");
    const auto number = make<core::CimPropertyUint8>(0);
    EXPECT_EQ(thrownBy<EForbidden>([&] { text->verify(number.get()); }), NOT_ALLOWED);
    EXPECT_EQ(thrownBy<EForbidden>([&] { make<core::CimPropertyUint64>(0)->verify(number.get()); }), NOT_ALLOWED);
    // Read as the property's type, the first byte of this value would equal the property's value.
    const auto wider = make<core::CimPropertyUint16>(0x107);
    EXPECT_EQ(thrownBy<EForbidden>([&] { make<core::CimPropertyUint8>(7)->verify(wider.get()); }), NOT_ALLOWED);
}

TEST(VerifyTypeTest, Message_namesThePropertysTypeFirst)
{
    const auto property = make<core::CimPropertyUint16>(7, true);
    EXPECT_EQ(thrownBy<EForbidden>([&] { property->verify(make<core::CimPropertyUint8>(7).get()); }),
              "DRAVEv2: EForbidden:Property type 4 doesn't support assigning value from property type 0");
    const auto text = make<core::CimPropertyString>("a", true);
    EXPECT_EQ(thrownBy<EForbidden>([&] { text->verify(make<core::CimPropertyUint8>(7).get()); }),
              "DRAVEv2: EForbidden:Property type 16 doesn't support assigning value from property type 0");
}

TEST(VerifyTypeTest, AnotherType_overNull_isRefused)
{
    core::CimPropertyUint16 property("P");
    const core::CimPropertyUint8 newValue("P");
    EXPECT_EQ(thrownBy<EForbidden>([&] { property.verify(&newValue); }),
              "DRAVEv2: EForbidden:Property type 4 doesn't support assigning value from property type 0");
}

TEST(VerifyTypeTest, WithoutAPropertyOrValue_itAsserts)
{
    core::CimPropertyUint8 property("P");
    CimProperty::Listener* const listener = property.listeners()[1];
    EXPECT_EQ(thrownBy([&] { listener->onVerify(nullptr, nullptr); }),
              "DRAVEv2: CimProperty:137: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { listener->onVerify(nullptr, &property); }),
              "DRAVEv2: CimProperty:137: Assertion failed: 'property != NULL'");
    EXPECT_EQ(thrownBy([&] { listener->onVerify(&property, nullptr); }),
              "DRAVEv2: CimProperty:138: Assertion failed: 'newValue != NULL'");
}

TEST(CimPropertyTest, EmbeddedListeners_hearNoModification)
{
    core::CimPropertyUint8 property("P");
    for (CimProperty::Listener* listener : property.listeners()) {
        EXPECT_NO_THROW(listener->onModify(nullptr, nullptr));
    }
}

}  // namespace
