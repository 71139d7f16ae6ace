#include <gmock/gmock.h>

#include "Os/Windows/Platform.h"
#include "Utils/LogSinks.h"

namespace {

std::vector<std::string> heard;

// The platform raises this exception for a debugger. Its text includes the terminator.
LONG CALLBACK hear(EXCEPTION_POINTERS* pointers)
{
    constexpr DWORD DEBUGGER_TEXT = 0x40010006;
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != DEBUGGER_TEXT) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    heard.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]),
                       record.ExceptionInformation[0] - 1);
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(DebuggerTest, Text_reachesTheDebuggerUnchanged)
{
    PVOID const handler = AddVectoredExceptionHandler(1, &hear);
    utils::writeDebugger("100%% sure: %s\n");
    RemoveVectoredExceptionHandler(handler);
    EXPECT_THAT(heard, testing::ElementsAre("100%% sure: %s\n"));
}

}  // namespace
