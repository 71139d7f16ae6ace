#include <map>
#include <mutex>

#include "tests/host/CommandTest.h"

namespace host {
namespace {

using ListTest = CommandTest;

TEST_F(ListTest, ListsChosenPropertiesAndInstances)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "State,Name", "--where", "State=disabled"}), 0);
    EXPECT_EQ(out, "State     Name\n--------  ----\nDisabled  two\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "--where", "State=2", "--property", "__RELPATH"}), 0);
    EXPECT_EQ(out, "__RELPATH\n---------------------\nFake_Thing.Name=\"one\"\n");
}

TEST_F(ListTest, SaysThatThereIsNothingToShow)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--where", "Name=three", "--property", "Name"}), 0);
    EXPECT_EQ(out, "Name\n----\n");
    EXPECT_EQ(error, "no instance has the values that --where asks for\n");
    behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "json"}), 0);
    EXPECT_EQ(out, "[]\n");
    EXPECT_EQ(error, "the class has no instances\n");
}

TEST_F(ListTest, GetsAnInstanceByItsShortPath)
{
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\""}), 0);
    EXPECT_EQ(out,
              "Property  Value\n"
              "--------  -----------\n"
              "Name      one\n"
              "Count     3\n"
              "State     2 (Enabled)\n"
              "Bytes\n");
}

TEST_F(ListTest, CountsManyRequests)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "3", "--repeat", "5"}), 0);
    EXPECT_EQ(out.rfind("15 requests, 0 failures, slowest ", 0), 0U);
    EXPECT_EQ(run({"get", "Fake_Thing=\"none\"", "--threads", "2"}), 1);
    EXPECT_EQ(out.rfind("2 requests, 2 failures, slowest ", 0), 0U);
    EXPECT_EQ(error, "first failure: WBEM_E_NOT_FOUND (0x80041002): there is no such object\n");
}

TEST_F(ListTest, EachThreadAsksOneRequestAtATime)
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
        // Long enough for every thread to have begun before the first one is through.
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
}  // namespace host
