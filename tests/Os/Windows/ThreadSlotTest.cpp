#include "Utils/ThreadSlot.h"

#include <gtest/gtest.h>

#include "Os/Windows/Platform.h"
#include "Utils/Exception.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

DWORD WINAPI noSlot(PFLS_CALLBACK_FUNCTION /*callback*/)
{
    SetLastError(ERROR_NO_MORE_ITEMS);
    return FLS_OUT_OF_INDEXES;
}

TEST(WindowsThreadSlot, NoSlotLeft_isAnException)
{
    const support::LogCapture log(2);
    const support::ImportHook hook("FlsAlloc", &noSlot);
    try {
        const utils::ThreadSlot slot([](void* /*value*/) {});
        FAIL();
    } catch (const utils::Exception& exception) {
        EXPECT_STREQ(exception.what(), "Could not create a thread slot. Error 259");
    }
}

}  // namespace
