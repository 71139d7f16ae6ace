#include <gmock/gmock.h>

#include "Os/Windows/Platform.h"
#include "Utils/Log.h"
#include "Utils/LogSinks.h"
#include "support/CapturedSinks.h"
#include "support/ImportHook.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> calls;
HANDLE openedSource = &calls;
BOOL reported = TRUE;

HANDLE WINAPI openSource(LPCSTR server, LPCSTR source)
{
    calls.push_back(utils::format("open %s %s", server == nullptr ? "here" : server, source));
    SetLastError(0x6ba);
    return openedSource;
}

BOOL WINAPI report(HANDLE source, WORD type, WORD category, DWORD id, PSID user, WORD count, DWORD size, LPCSTR* texts,
                   LPVOID data)
{
    calls.push_back(utils::format("report %d %d %d %d %d %d %d %d [%s]", static_cast<int>(source == openedSource), type,
                                  category, static_cast<int>(id), static_cast<int>(user != nullptr), count,
                                  static_cast<int>(size), static_cast<int>(data != nullptr), texts[0]));
    SetLastError(0x5dc);
    return reported;
}

BOOL WINAPI closeSource(HANDLE source)
{
    calls.push_back(utils::format("close %d", static_cast<int>(source == openedSource)));
    return TRUE;
}

void WINAPI print(LPCSTR text)
{
    calls.push_back(std::string("debugger ") + text);
}

class EventLogTest : public testing::Test
{
protected:
    EventLogTest()
    {
        calls.clear();
        openedSource = &calls;
        reported = TRUE;
    }

private:
    support::ImportHook m_open{"RegisterEventSourceA", &openSource};
    support::ImportHook m_report{"ReportEventA", &report};
    support::ImportHook m_close{"DeregisterEventSource", &closeSource};
    support::ImportHook m_print{"OutputDebugStringA", &print};
};

TEST_F(EventLogTest, EachLine_opensReportsAndCloses)
{
    utils::reportEvent("one\n");
    utils::reportEvent("two\n");
    EXPECT_THAT(calls, ElementsAre("open here Vexal DRAVEv2 Provider", "report 1 1 0 0 0 1 0 0 [one\n]", "close 1",
                                   "open here Vexal DRAVEv2 Provider", "report 1 1 0 0 0 1 0 0 [two\n]", "close 1"));
}

TEST_F(EventLogTest, Failures_goToTheDebugger)
{
    reported = FALSE;
    utils::reportEvent("one\n");
    openedSource = nullptr;
    utils::reportEvent("two\n");
    EXPECT_THAT(calls, ElementsAre("open here Vexal DRAVEv2 Provider", "report 1 1 0 0 0 1 0 0 [one\n]",
                                   "debugger Problem 5dc with ReportEvent one\n\n", "close 1",
                                   "open here Vexal DRAVEv2 Provider",
                                   "debugger Problem 6ba with RegisterEventSource\n", "report 1 1 0 0 0 1 0 0 [two\n]",
                                   "debugger Problem 5dc with ReportEvent two\n\n", "close 1"));
}

}  // namespace
