#include "adapters/wmi/InstanceRemover.h"

#include <gtest/gtest.h>

#include "fakes/FakeBroker.h"
#include "support/SlotOf.h"

namespace {

TEST(InstanceRemoverTest, Destructor_comesFirst)
{
    // The destructor occupies two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceRemover::deleteInstance), 2U);
}

TEST(InstanceRemoverTest, OtherSpelling_isRefusedBeforeTheLookup)
{
    support::CallLog calls;
    const support::FakeBroker broker(calls);
    wa::InstanceRemover remover;
    for (const char* const name :
         {"Zerix_EthernetPort", "zerix_concretejob", "Zerix_ConcreteJobs", "Zerix_ConcreteJo", "ZERIX_CONCRETEJOB"})
    {
        const std::string path = std::string(name) + ".InstanceID=\"7\"";
        EXPECT_EQ(support::hex(remover.deleteInstance(path)), "0x8004100C");
    }
    EXPECT_EQ(calls.take(), std::vector<std::string>{});
}

}  // namespace
