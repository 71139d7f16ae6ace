#pragma once

#include <gtest/gtest.h>

#include "support/ComMemory.h"

namespace support {

// Fails the test if it leaves a block of COM's memory. Declare it before every object that owns such blocks.
class NoComLeaks
{
public:
    NoComLeaks() = default;
    NoComLeaks(const NoComLeaks&) = delete;
    NoComLeaks& operator=(const NoComLeaks&) = delete;
    ~NoComLeaks() { EXPECT_EQ(m_memory.live(), 0) << "BSTRs or arrays are left"; }

private:
    ComMemory m_memory;
};

}  // namespace support
