#include "adapters/wmi/InstanceModifier.h"

#include "Utils/Exception.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::hex;

constexpr const char* PATH = R"(\\HOST\root\DCIM\vexal:Zerix_X.k="v")";
const std::string MODEL_PATH = "Zerix_X.k=\"v\"";

class InstanceModifierTest : public WmiTest
{
protected:
    ~InstanceModifierTest() override { EXPECT_EQ(object.references(), 0); }

    void SetUp() override { *object.path.address() = samples::bstr(PATH); }

    support::FakeClassObject object{calls, "object"};
    wa::InstanceModifier modifier;
};

TEST(InstanceModifierSlotsTest, Destructor_comesFirst)
{
    // The destructor occupies two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceModifier::modifyInstance), 2U);
}

TEST_F(InstanceModifierTest, ChangedKeys_areNotSent)
{
    object.add("k", samples::bstr("changed"), CIM_STRING, 0, true);
    broker.onModify = [](core::CimPropertyList&) { throw utils::ENotFound("gone"); };
    EXPECT_EQ(hex(modifier.modifyInstance(&object)), "0x80041002");
    EXPECT_EQ(calls.take().back(), "broker.modifyInstance(" + MODEL_PATH + ", {})");
}

TEST_F(InstanceModifierTest, ChangedBoolean_isLostAndTheRestSucceeds)
{
    VARIANT yes{};
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    object.add("Enabled", yes, CIM_BOOLEAN);
    object.add("Label", samples::bstr("a"), CIM_STRING);
    EXPECT_EQ(modifier.modifyInstance(&object), 0);
    EXPECT_EQ(calls.take().back(), "broker.modifyInstance(" + MODEL_PATH + ", {Label = string 'a'})");
}

}  // namespace
