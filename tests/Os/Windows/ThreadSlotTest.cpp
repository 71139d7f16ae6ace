#include "Utils/ThreadSlot.h"

#include <gtest/gtest.h>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

TEST(WindowsThreadSlot, NoSlotLeft_isAnException)
{
    const support::LogCapture log(2);
    const support::ImportHook hook("FlsAlloc", support::returning<FLS_OUT_OF_INDEXES, ERROR_NO_MORE_ITEMS>(&FlsAlloc));
    EXPECT_EQ(support::thrownBy([] { const utils::ThreadSlot slot([](void* /*value*/) {}); }),
              "Could not create a thread slot. Error 259");
}

}  // namespace
