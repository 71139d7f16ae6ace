#include "adapters/wmi/InstanceModifier.h"

#include <stdexcept>

#include "Utils/Exception.h"
#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::assertionLine;
using support::assertionText;
using support::debugLine;
using support::errorLine;
using support::hex;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;

constexpr const char* MODIFY = "wa::InstanceModifier::modifyInstance";
constexpr const char* EXTRACT = "wa::WmiConverter::extractProperties";
constexpr const char* PATH = R"(\\HOST\root\DCIM\vexal:Zerix_X.k="v")";
const std::string MODEL_PATH = "Zerix_X.k=\"v\"";

class InstanceModifierTest : public WmiTest
{
protected:
    ~InstanceModifierTest() override { EXPECT_EQ(object.references(), 0); }

    void SetUp() override
    {
        *object.path.address() = samples::bstr(PATH);
        log.clear();
    }

    // The lines up to the broker's answer, for an object without properties.
    Lines before() const
    {
        return {debugLine("core::CimPath::CimPath", std::string("Creating path ") + PATH, "CimPath"),
                debugLine("core::CimPath::CimPath", R"(namespace is stripped [\\HOST\root\DCIM\vexal])", "CimPath"),
                debugLine(MODIFY, "ModifyInstance " + MODEL_PATH)};
    }

    // What the modifier answers when the broker throws; the lines behind `before`.
    template <class Exception>
    std::pair<std::string, Lines> answerTo(const Exception& thrown)
    {
        broker.onModify = [&](core::CimPropertyList&) { throw thrown; };
        takeMessages();
        const std::string answer = hex(modifier.modifyInstance(&object));
        Lines lines = takeMessages();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before().size()));
        return {answer, lines};
    }

    support::FakeClassObject object{calls, "object"};
    wa::WmiConverter converter;
    wa::InstanceModifier modifier;
};

std::pair<std::string, Lines> refused(const char* status, const std::string& message)
{
    return {status, Lines{errorLine(MODIFY, message)}};
}

TEST(InstanceModifierSlotsTest, TheDestructorComesFirst)
{
    // It takes two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceModifier::modifyInstance), 2U);
}

TEST(InstanceModifierSingletonTest, TheFirstUseMakesTheOneInstanceUnderItsPlainName)
{
    support::LogCapture log(2);
    EXPECT_EQ(wa::InstanceModifier::getInstance(), wa::InstanceModifier::getInstance());
    EXPECT_EQ(log.numberedMessages(),
              Lines{"debug|Utils/Singleton:68|utils::Singleton<class wa::InstanceModifier>::Singleton|"
                    "New singleton instance for InstanceModifier"});
}

TEST_F(InstanceModifierTest, NoObjectIsABrokenPrecondition)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { modifier.modifyInstance(nullptr); })), assertionText("wmiInst != NULL"));
    EXPECT_EQ(takeMessages(), Lines{assertionLine("wmiInst != NULL")});
}

TEST_F(InstanceModifierTest, TheObjectsPropertiesGoToTheInstanceAtItsPath)
{
    object.add("k", samples::bstr("v"), CIM_STRING, 0, true);
    object.add("Label", samples::bstr("a"), CIM_STRING);
    object.add("Tag", samples::null(), CIM_STRING);
    EXPECT_EQ(modifier.modifyInstance(&object), 0);
    EXPECT_EQ(calls.take(),
              (Lines{"object.Get(__PATH, 0, null, null)", "object.BeginEnumeration(0x4)", "object.EndEnumeration()",
                     "object.BeginEnumeration(0x40)", "object.EndEnumeration()",
                     "broker.modifyInstance(" + MODEL_PATH + ", {Label = string 'a'; Tag = string null})"}));
    EXPECT_EQ(
        takeMessages(),
        before() + (Lines{debugLine(EXTRACT, "Converting property k, 8"), debugLine(EXTRACT, "Ignoring key property"),
                          debugLine(EXTRACT, "Converting property Label, 8"),
                          debugLine("wa::StringPropertyConverter::variantToProperty", "Property Label value is 'a'"),
                          debugLine(EXTRACT, "Converting property Tag, 8"),
                          debugLine("wa::StringPropertyConverter::variantToProperty", "Property Tag value is NULL"),
                          debugLine(MODIFY, "ModifyInstance success")}));
}

TEST_F(InstanceModifierTest, ChangedKeysAloneSendAnEmptyListAndTheBrokersAnswerCounts)
{
    object.add("k", samples::bstr("changed"), CIM_STRING, 0, true);
    broker.onModify = [](core::CimPropertyList&) { throw utils::ENotFound("gone"); };
    EXPECT_EQ(hex(modifier.modifyInstance(&object)), "0x80041002");
    EXPECT_EQ(calls.take().back(), "broker.modifyInstance(" + MODEL_PATH + ", {})");
}

TEST_F(InstanceModifierTest, AChangedBooleanIsSilentlyLostAndTheRestSucceeds)
{
    object.add("Enabled", samples::null(), CIM_BOOLEAN);
    object.add("Label", samples::bstr("a"), CIM_STRING);
    EXPECT_EQ(modifier.modifyInstance(&object), 0);
    EXPECT_EQ(calls.take().back(), "broker.modifyInstance(" + MODEL_PATH + ", {Label = string 'a'})");
}

TEST_F(InstanceModifierTest, EachExceptionOfTheBrokerHasItsStatus)
{
    EXPECT_EQ(answerTo(utils::EInvalidParameter("x")),
              refused("0x80041008", "Exception: 'DRAVEv2: EInvalidParameter:x'"));
    EXPECT_EQ(answerTo(utils::EForbidden("x")), refused("0x80041003", "Exception: 'DRAVEv2: EForbidden:x'"));
    EXPECT_EQ(answerTo(utils::ENotSupported("x")), refused("0x8004100C", "Exception: 'DRAVEv2: ENotSupported:x'"));
    EXPECT_EQ(answerTo(utils::ENotFound("x")), refused("0x80041002", "Exception: 'DRAVEv2: x'"));
    EXPECT_EQ(answerTo(utils::EFailed("x")), refused("0x80041001", "Exception: 'DRAVEv2: x'"));
    EXPECT_EQ(answerTo(utils::Exception(std::string("x"))), refused("0x80041001", "Exception: 'DRAVEv2: x'"));
    EXPECT_EQ(answerTo(std::runtime_error("x")), refused("0x80041001", "Exception: 'x'"));
    EXPECT_EQ(answerTo(7), refused("0x8004101D", "Unknown exception occured"));
    EXPECT_EQ(answerTo(_com_error(E_OUTOFMEMORY)), refused("0x8004101D", "Unknown exception occured"));
}

TEST_F(InstanceModifierTest, WhatIsWrongWithTheObjectItselfEscapes)
{
    support::FakeClassObject pathless(calls, "pathless");
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { modifier.modifyInstance(&pathless); }),
              "DRAVEv2: ESyntaxError:empty path");
    object.add("Number", samples::bstr("text"), CIM_UINT32);
    EXPECT_EQ(withoutLine(thrownBy([&] { modifier.modifyInstance(&object); })),
              assertionText("variant->vt == VT_I4 || variant->vt == VT_NULL"));
}

}  // namespace
