#include "adapters/wmi/InstanceModifier.h"

#include <gtest/gtest.h>

#include "support/SlotOf.h"

// What an update sends to the broker and how it ends is tested through the built DLL, in tests/requests.
namespace {

TEST(InstanceModifierTest, Destructor_comesFirst)
{
    // The destructor occupies two entries.
    EXPECT_EQ(support::slotOf(&wa::InstanceModifier::modifyInstance), 2U);
}

}  // namespace
