#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <regex>

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

using ListTest = CommandTest;

TEST_F(ListTest, ListAndGet_answerAsRecorded)
{
    addToMof("#pragma namespace(\"root\\\\other\")\nclass Fake_Other { [key] string Name; };");
    expectSession("commands/list.session");
}

TEST_F(ListTest, EmptyClass_isReported)
{
    behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        return finish(sink);
    };
    expectSession("commands/list-empty.session");
}

// The summary and its two times.
void expectSummary(const std::string& text, const std::string& counts, double leastSlowest)
{
    std::smatch match;
    const std::regex form(
        "([0-9]+ requests, [0-9]+ failures), slowest ([0-9]+\\.[0-9]) ms, mean ([0-9]+\\.[0-9]) ms\n");
    ASSERT_TRUE(std::regex_match(text, match, form)) << text;
    EXPECT_EQ(match[1], counts);
    EXPECT_GE(std::stod(match[2]), leastSlowest);
    EXPECT_LE(std::stod(match[3]), std::stod(match[2]));
}

TEST_F(ListTest, Repeat_showsTheSlowestAndTheFirstFailure)
{
    unsigned requests = 0;
    behaviour.get = [&requests](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        ++requests;
        if (requests == 2) {
            Sleep(60);
        }
        deliver(ns, sink, L"one", 2);
        return finish(sink, requests == 3   ? code(WBEM_E_ACCESS_DENIED)
                            : requests == 4 ? code(WBEM_E_FAILED)
                                            : HRESULT{0});
    };
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\"", "--repeat", "5"}), 1);
    expectSummary(out, "5 requests, 2 failures", 50);
    EXPECT_EQ(error, "first failure: WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n");
}

TEST_F(ListTest, Threads_askAtTheSameTime)
{
    std::mutex mutex;
    std::condition_variable started;
    const auto latest = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    std::map<DWORD, int> requests;
    behaviour.enumerate = [&](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        std::unique_lock lock(mutex);
        ++requests[GetCurrentThreadId()];
        started.notify_all();
        EXPECT_TRUE(started.wait_until(lock, latest, [&] { return requests.size() == 4; }));
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "4", "--repeat", "3"}), 0);
    expectSummary(out, "12 requests, 0 failures", 0);
    EXPECT_EQ(error, "");
    for (const auto& [thread, count] : requests) {
        EXPECT_EQ(count, 3);
    }
}

}  // namespace
}  // namespace wmihost
