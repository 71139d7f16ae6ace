#include <algorithm>
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

TEST_F(ListTest, List_withoutAClass_showsTheAdapters)
{
    addToMof("[dynamic, provider(\"FakeProvider\")] class Zerix_EthernetPort { [key] string DeviceID; string Name; };");
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view className, IWbemContext*, IWbemObjectSink* sink) {
        const auto port = spawn(ns, std::wstring(className).c_str());
        put(port, L"DeviceID", Variant::ofText(L"{0}"));
        put(port, L"Name", Variant::ofText(L"eth0"));
        deliver(sink, port);
        return finish(sink);
    };
    expectSession("commands/list-adapters.session");
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

TEST_F(ListTest, ManyRequests_areCounted)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "3", "--repeat", "5"}), 0);
    expectSummary(out, "15 requests, 0 failures", 0);
    EXPECT_EQ(std::count(behaviour.requests.begin(), behaviour.requests.end(), "enumerate Fake_Thing"), 15);
    EXPECT_EQ(error, "");
    EXPECT_EQ(run({"get", "Fake_Thing=\"none\"", "--threads", "2"}), 1);
    expectSummary(out, "2 requests, 2 failures", 0);
    EXPECT_EQ(error, "first failure: WBEM_E_NOT_FOUND (0x80041002): there is no such object\n");
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

TEST_F(ListTest, Threads_askOneRequestAtATime)
{
    std::mutex mutex;
    std::map<DWORD, int> requests;
    std::map<DWORD, int> underWay;
    behaviour.enumerate = [&](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        {
            const std::lock_guard lock(mutex);
            ++requests[GetCurrentThreadId()];
            EXPECT_EQ(++underWay[GetCurrentThreadId()], 1);
        }
        // Long enough for every thread to start before the first one has finished.
        Sleep(20);
        const std::lock_guard lock(mutex);
        --underWay[GetCurrentThreadId()];
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "4", "--repeat", "3"}), 0);
    EXPECT_EQ(requests.size(), 4U);
    for (const auto& [thread, count] : requests) {
        EXPECT_EQ(count, 3);
    }
}

}  // namespace
}  // namespace wmihost
