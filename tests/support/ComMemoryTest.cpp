#include "support/ComMemory.h"

#include <gtest/gtest.h>

namespace {

// The other tests rely on this check for leaks.
TEST(ComMemoryTest, TextsAndArrays_countUntilFreed)
{
    const support::ComMemory memory;
    const BSTR text = SysAllocString(L"text");
    EXPECT_EQ(memory.live(), 1);
    SAFEARRAY* const array = SafeArrayCreateVector(VT_I4, 0, 3);
    EXPECT_GT(memory.live(), 1);
    SafeArrayDestroy(array);
    EXPECT_EQ(memory.live(), 1);
    SysFreeString(text);
    EXPECT_EQ(memory.live(), 0);
}

}  // namespace
