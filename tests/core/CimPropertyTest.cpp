#include "core/CimProperty.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>

#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"
#include "support/Baseline.h"
#include "support/CapturedSinks.h"
#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimProperty;
using support::assertionOf;
using support::thrownBy;
using testing::_;
using testing::ElementsAre;
using utils::EForbidden;
using utils::EInvalidParameter;
using utils::ENotSupported;

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

// Returns a property "P" of the type with the value.
template <class Property, class Value>
std::unique_ptr<Property> make(Value value)
{
    auto property = std::make_unique<Property>("P");
    property->setValue(value);
    return property;
}

class CimPropertyTest : public testing::Test
{
protected:
    core::CimPropertyUint8 m_property{"P"};
};

TEST_F(CimPropertyTest, Flags_areOffUntilSet)
{
    EXPECT_EQ(m_property.getName(), "P");
    EXPECT_EQ(m_property.getOwner(), nullptr);
    EXPECT_FALSE(m_property.isKey() || m_property.isModifiable() || m_property.isOverriden());
    m_property.setKey(true);
    m_property.setModifiable(true);
    m_property.setOverriden(true);
    EXPECT_TRUE(m_property.isKey() && m_property.isModifiable() && m_property.isOverriden());
    m_property.setKey(false);
    m_property.setModifiable(false);
    EXPECT_FALSE(m_property.isKey() || m_property.isModifiable());
}

TEST_F(CimPropertyTest, EmptyName_failsBeforeTheOwnerHears)
{
    core::CimInstance owner("Port");
    EXPECT_EQ(assertionOf([&] { const core::CimPropertyUint8 property("", &owner); }),
              "CimProperty:195: m_name.length() != 0");
    EXPECT_EQ(owner.getProperties().size(), 0U);
}

TEST_F(CimPropertyTest, AddListener_appendsAndDoesNotOwn)
{
    MockListener first;
    MockListener second;
    m_property.addListener(&first);
    m_property.addListener(&second);
    EXPECT_EQ(assertionOf([&] { m_property.addListener(nullptr); }), "CimProperty:381: listener != NULL");
    EXPECT_THAT(m_property.listeners(), ElementsAre(_, _, &first, &second));
}

TEST_F(CimPropertyTest, MissingOperation_isLoggedAndNotSupported)
{
    const support::LogCapture log;
    core::CimPropertyUint16_arr property("P");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { (void)property.toString(); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { property.modify(nullptr); }), "ENotSupported:");
    EXPECT_EQ(thrownBy<ENotSupported>([&] { property.verify(nullptr); }), "ENotSupported:");
    const testing::Matcher<std::string> error = testing::AllOf(
        testing::StartsWith("error|Exception:"), testing::EndsWith("|utils::Exception::Exception|ENotSupported:"));
    const auto debug = [](const std::string& place) {
        return "debug|CimProperty:" + place + "|Operation not supported by property P (5)";
    };
    EXPECT_THAT(log.numberedMessages(),
                ElementsAre(debug("231|core::CimProperty::toString"), error, debug("366|core::CimProperty::modify"),
                            error, debug("375|core::CimProperty::verify"), error));
}

TEST_F(CimPropertyTest, VirtualFunctions_areInTheDeclaredOrder)
{
    // The destructor occupies two entries: the first ones of a property, and the last ones of a listener.
    EXPECT_THAT(
        support::slotsOf(&CimProperty::toString, &CimProperty::getType, &CimProperty::modify, &CimProperty::verify),
        ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(support::slotsOf(&CimProperty::Listener::onModify, &CimProperty::Listener::onVerify),
                ElementsAre(0, 1));
}

TEST_F(CimPropertyTest, Listeners_byDefault_acceptEverything)
{
    CimProperty::Listener listener;
    EXPECT_NO_THROW(listener.onModify(&m_property, &m_property));
    EXPECT_NO_THROW(listener.onVerify(nullptr, nullptr));
    for (CimProperty::Listener* embedded : m_property.listeners()) {
        EXPECT_NO_THROW(embedded->onModify(nullptr, nullptr));
    }
}

class VerifyPropertyTest : public CimPropertyTest
{
protected:
    core::CimPropertyUint8 m_newValue{"P"};
};

TEST_F(VerifyPropertyTest, Null_isRefusedBeforeAnythingIsLogged)
{
    const support::LogCapture log;
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { core::verifyProperty(nullptr, nullptr); }),
              "DRAVEv2: EInvalidParameter:Property cannot be NULL");
    EXPECT_EQ(thrownBy<EInvalidParameter>([&] { core::verifyProperty(&m_property, nullptr); }),
              "DRAVEv2: EInvalidParameter:New Property value cannot be NULL");
    EXPECT_THAT(log.debugger(), testing::Each(testing::HasSubstr("error: EInvalidParameter:")));
}

TEST_F(VerifyPropertyTest, Size_isLoggedBeforeTheListenersAreAsked)
{
    const support::LogCapture log;
    MockListener listener;
    m_property.addListener(&listener);
    EXPECT_CALL(listener, onVerify).WillOnce([](CimProperty*, const CimProperty*) {
        support::addToCaptured("call: ", "onVerify");
    });
    core::verifyProperty(&m_property, &m_newValue);
    EXPECT_THAT(log.sequence(), ElementsAre("debugger: ZerixDRAVEv2: CimProperty:403:core::verifyProperty: debug: "
                                            "size: 3\n",
                                            "call: onVerify"));
}

TEST_F(VerifyPropertyTest, Listeners_areAskedUntilOneThrows)
{
    MockListener first;
    MockListener second;
    MockListener third;
    for (MockListener* listener : {&first, &second, &third}) {
        m_property.addListener(listener);
    }
    const testing::InSequence order;
    EXPECT_CALL(first, onVerify(&m_property, &m_newValue));
    EXPECT_CALL(second, onVerify(&m_property, &m_newValue)).WillOnce(testing::Throw(std::runtime_error("mine")));
    EXPECT_CALL(third, onVerify).Times(0);
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { m_property.verify(&m_newValue); }), "mine");
}

TEST_F(VerifyPropertyTest, AddedListener_isAskedToo)
{
    MockListener adding;
    MockListener added;
    m_property.addListener(&adding);
    EXPECT_CALL(adding, onVerify).WillOnce([&](CimProperty* changed, const CimProperty*) {
        // Enough listeners to make the sequence allocate new memory.
        for (int i = 0; i < 20; ++i) {
            changed->addListener(&added);
        }
    });
    EXPECT_CALL(added, onVerify(&m_property, &m_newValue)).Times(20);
    core::verifyProperty(&m_property, &m_newValue);
}

TEST_F(VerifyPropertyTest, Verification_changesNothing)
{
    m_property.setValue(7);
    m_property.setModifiable(true);
    m_property.verify(make<core::CimPropertyUint8>(8).get());
    EXPECT_EQ(m_property.getValue(), 7);
    EXPECT_FALSE(m_property.isNull());
}

// A type with two values, in the table of verifications.
struct Type
{
    std::string name;
    // Returns a property that is null (0) or has one of the values (1, 2).
    std::function<std::unique_ptr<CimProperty>(int value)> make;
};

template <class Property, class Value>
Type type(const char* name, Value one, Value two)
{
    return {name, [one, two](int value) -> std::unique_ptr<CimProperty> {
                return value == 0 ? std::make_unique<Property>("P") : ::make<Property>(value == 1 ? one : two);
            }};
}

std::vector<Type> verifiableTypes()
{
    return {type<core::CimPropertyUint8>("uint8", 7, 8), type<core::CimPropertyUint16>("uint16", 7, 8),
            type<core::CimPropertyUint32>("uint32", 7, 8), type<core::CimPropertyUint64>("uint64", 7, 8),
            type<core::CimPropertyString>("string", "a", "A")};
}

std::vector<Type> types()
{
    using Numbers = std::vector<std::uint16_t>;
    using LargeNumbers = std::vector<std::uint32_t>;
    using Texts = std::vector<std::string>;
    std::vector<Type> all = verifiableTypes();
    all.push_back(type<core::CimPropertyBool>("boolean", true, false));
    all.push_back(type<core::CimPropertyDatetime>("datetime", utils::Time::period(7), utils::Time::timestamp(7)));
    all.push_back(type<core::CimPropertyUint16_arr>("uint16[]", Numbers{7}, Numbers{}));
    all.push_back(type<core::CimPropertyUint32_arr>("uint32[]", LargeNumbers{7}, LargeNumbers{}));
    all.push_back(type<core::CimPropertyString_arr>("string[]", Texts{"a"}, Texts{}));
    all.push_back(type<core::CimPropertyRef>("reference", std::string("C.k=1"), std::string("C.k=2")));
    return all;
}

// One line of the table: the change from an old to a new value, and what its verification says.
std::string verifying(const Type& type, int oldValue, bool modifiable, const Type& newType, int newValue)
{
    static const std::vector<std::string> values{"null", "value", "other value"};
    const std::unique_ptr<CimProperty> property = type.make(oldValue);
    property->setModifiable(modifiable);
    std::string outcome = "accepted";
    try {
        property->verify(newType.make(newValue).get());
    } catch (const utils::Exception& exception) {
        outcome = exception.what();
    }
    return type.name + " " + values.at(oldValue) + (modifiable ? "" : " (read-only)") + " <- " + newType.name + " " +
           values.at(newValue) + ": " + outcome;
}

TEST(VerificationTest, EveryChange_isJudgedAsInTheFile)
{
    std::vector<std::string> lines;
    for (const Type& property : verifiableTypes()) {
        for (const bool modifiable : {false, true}) {
            for (const auto& [oldValue, newValue] : {std::pair{0, 0}, {0, 1}, {1, 0}, {1, 1}, {1, 2}}) {
                lines.push_back(verifying(property, oldValue, modifiable, property, newValue));
            }
        }
        for (const Type& other : types()) {
            if (other.name != property.name) {
                lines.push_back(verifying(property, 0, false, other, 0));
                lines.push_back(verifying(property, 1, false, other, 1));
                lines.push_back(verifying(property, 1, true, other, 1));
            }
        }
    }
    support::expectBaseline(ZERIX_CORE_CASES "/verifications.txt", lines);
}

TEST(VerificationTest, TextsWithZeros_areComparedWhole)
{
    const auto longer = make<core::CimPropertyString>(std::string("a\0", 2));
    EXPECT_EQ(thrownBy<EForbidden>([&] { make<core::CimPropertyString>("a")->verify(longer.get()); }),
              "DRAVEv2: EForbidden:Modyfying of P property is not allowed");
}

TEST(VerificationTest, WiderValue_isNotReadAsTheNarrower)
{
    // Read as the property's type, the first byte of this value would equal the property's value.
    const auto wider = make<core::CimPropertyUint16>(0x107);
    EXPECT_EQ(thrownBy<EForbidden>([&] { make<core::CimPropertyUint8>(7)->verify(wider.get()); }),
              "DRAVEv2: EForbidden:Modyfying of P property is not allowed");
}

TEST(VerificationTest, OtherTypes_areNotSupported)
{
    core::CimPropertyBool boolean("P");
    core::CimPropertyDatetime datetime("P");
    core::CimPropertyRef reference("P");
    core::CimPropertyUint32_arr array("P");
    for (CimProperty* property : std::initializer_list<CimProperty*>{&boolean, &datetime, &reference, &array}) {
        EXPECT_EQ(thrownBy<EForbidden>([&] { core::verifyProperty(property, property); }),
                  utils::format("DRAVEv2: EForbidden:Unsupported type: %d", property->getType()));
    }
}

TEST_F(VerifyPropertyTest, TypeCheck_withoutAPropertyOrValue_asserts)
{
    CimProperty::Listener* const listener = m_property.listeners()[1];
    EXPECT_EQ(assertionOf([&] { listener->onVerify(nullptr, nullptr); }), "CimProperty:137: property != NULL");
    EXPECT_EQ(assertionOf([&] { listener->onVerify(nullptr, &m_property); }), "CimProperty:137: property != NULL");
    EXPECT_EQ(assertionOf([&] { listener->onVerify(&m_property, nullptr); }), "CimProperty:138: newValue != NULL");
}

}  // namespace
