#include "adapters/wmi/InstanceRemover.h"

#include "support/Samples.h"
#include "support/SlotOf.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::hex;
using support::Lines;

const std::string PATH = "Zerix_ConcreteJob.InstanceID=\"7\"";

class InstanceRemoverTest : public WmiTest
{
protected:
    core::CimInstance job{"Zerix_ConcreteJob"};
    wa::InstanceRemover remover;
};

TEST(InstanceRemoverSlotsTest, Destructor_comesFirst)
{
    // The destructor occupies two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceRemover::deleteInstance), 2U);
}

TEST_F(InstanceRemoverTest, Job_isOnlyMarked)
{
    broker.onFind = [&] { return &job; };
    EXPECT_EQ(remover.deleteInstance(PATH), 0);
    EXPECT_TRUE(job.isMarkedForDeletion());
    EXPECT_EQ(calls.take(), Lines{"broker.getInstanceByPath(" + PATH + ")"});
}

TEST_F(InstanceRemoverTest, OtherSpelling_isRefusedBeforeTheLookup)
{
    broker.onFind = [&] { return &job; };
    for (const char* const name :
         {"Zerix_EthernetPort", "zerix_concretejob", "Zerix_ConcreteJobs", "Zerix_ConcreteJo", "ZERIX_CONCRETEJOB"})
    {
        const std::string path = std::string(name) + ".InstanceID=\"7\"";
        EXPECT_EQ(hex(remover.deleteInstance(path)), "0x8004100C");
    }
    EXPECT_EQ(calls.take(), Lines{});
    EXPECT_FALSE(job.isMarkedForDeletion());
}

}  // namespace
