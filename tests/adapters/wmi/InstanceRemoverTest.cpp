#include "adapters/wmi/InstanceRemover.h"

#include <stdexcept>

#include "Utils/Exception.h"
#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::assertionLine;
using support::assertionText;
using support::debugLine;
using support::errorLine;
using support::exceptionLine;
using support::hex;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;

constexpr const char* REMOVE = "wa::InstanceRemover::deleteInstance";
const std::string PATH = "Zerix_ConcreteJob.InstanceID=\"7\"";

class InstanceRemoverTest : public WmiTest
{
protected:
    void SetUp() override { log.clear(); }

    Lines before(const std::string& path = PATH) const
    {
        return {debugLine(REMOVE, "delete_instance " + path),
                debugLine("core::CimPath::CimPath", "Creating path " + path, "CimPath")};
    }

    core::CimInstance job{"Zerix_ConcreteJob"};
    wa::InstanceRemover remover;
};

TEST(InstanceRemoverSlotsTest, TheDestructorComesFirst)
{
    // It takes two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceRemover::deleteInstance), 2U);
}

TEST(InstanceRemoverSingletonTest, TheFirstUseMakesTheOneInstanceUnderItsPlainName)
{
    support::LogCapture log(2);
    EXPECT_EQ(wa::InstanceRemover::getInstance(), wa::InstanceRemover::getInstance());
    EXPECT_EQ(log.numberedMessages(),
              Lines{"debug|Utils/Singleton:68|utils::Singleton<class wa::InstanceRemover>::Singleton|"
                    "New singleton instance for InstanceRemover"});
}

TEST_F(InstanceRemoverTest, AnEmptyPathIsLoggedAheadOfItsAssertion)
{
    EXPECT_EQ(withoutLine(thrownBy([&] { remover.deleteInstance(""); })), assertionText("pathStr.size() > 0"));
    EXPECT_EQ(takeMessages(), (Lines{debugLine(REMOVE, "delete_instance "), assertionLine("pathStr.size() > 0")}));
}

TEST_F(InstanceRemoverTest, ATextThatIsNoPathEscapesAsASyntaxError)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { remover.deleteInstance("Zerix_ConcreteJob"); }),
              "DRAVEv2: ESyntaxError:too many classname separators: 'Zerix_ConcreteJob'");
}

TEST_F(InstanceRemoverTest, AJobIsOnlyMarked)
{
    broker.onFind = [&] { return &job; };
    EXPECT_EQ(remover.deleteInstance(PATH), 0);
    EXPECT_TRUE(job.isMarkedForDeletion());
    EXPECT_EQ(calls.take(), Lines{"broker.getInstanceByPath(" + PATH + ")"});
    EXPECT_EQ(takeMessages(), before());
}

TEST_F(InstanceRemoverTest, EveryOtherSpellingOfTheClassIsRefusedBeforeAnyLookupAndWithoutALine)
{
    broker.onFind = [&] { return &job; };
    for (const char* const name :
         {"Zerix_EthernetPort", "zerix_concretejob", "Zerix_ConcreteJobs", "Zerix_ConcreteJo", "ZERIX_CONCRETEJOB"})
    {
        const std::string path = std::string(name) + ".InstanceID=\"7\"";
        EXPECT_EQ(hex(remover.deleteInstance(path)), "0x8004100C");
        EXPECT_EQ(takeMessages(), before(path));
    }
    EXPECT_EQ(calls.take(), Lines{});
    EXPECT_FALSE(job.isMarkedForDeletion());
}

TEST_F(InstanceRemoverTest, AJobThatDoesNotExistIsNotFound)
{
    EXPECT_EQ(hex(remover.deleteInstance(PATH)), "0x80041002");
    EXPECT_EQ(takeMessages(), before());
}

TEST_F(InstanceRemoverTest, AnExceptionOfTheFamilyDuringTheLookupIsUnexpected)
{
    broker.onFind = []() -> core::CimInstance* { throw utils::Exception(std::string("x")); };
    EXPECT_EQ(hex(remover.deleteInstance(PATH)), "0x8004101D");
    EXPECT_EQ(takeMessages(), before() + (Lines{exceptionLine("x"), errorLine(REMOVE, "DeleteInstance 'DRAVEv2: x'")}));
    broker.onFind = []() -> core::CimInstance* { throw utils::EForbidden("y"); };
    EXPECT_EQ(hex(remover.deleteInstance(PATH)), "0x8004101D");
    EXPECT_EQ(takeMessages(), before() + (Lines{exceptionLine("EForbidden:y"),
                                                errorLine(REMOVE, "DeleteInstance 'DRAVEv2: EForbidden:y'")}));
}

TEST_F(InstanceRemoverTest, OtherExceptionsDuringTheLookupEscape)
{
    broker.onFind = []() -> core::CimInstance* { throw std::runtime_error("x"); };
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { remover.deleteInstance(PATH); }), "x");
    EXPECT_EQ(takeMessages(), before());
}

}  // namespace
