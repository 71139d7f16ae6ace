#include "tests/host/CommandTest.h"

namespace host {
namespace {

using WatchTest = CommandTest;

TEST_F(WatchTest, WatchShowsTheRatesOfCounters)
{
    unsigned calls = 0;
    behaviour.enumerate = [&calls](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        const auto thing = spawn(ns, L"Fake_Thing");
        put(thing, L"Name", Variant::ofText(L"one"));
        // The counter runs backwards from the first call to the second, and stands still after that.
        put(thing, L"Bytes", Variant::ofText(calls++ == 0 ? L"1000" : L"10"));
        deliver(sink, thing);
        return finish(sink);
    };
    EXPECT_EQ(run({"watch", "Fake_Thing", "--count", "2", "--interval", "10"}), 0);
    const std::string table = "Instance  Activity  Bytes\n--------  --------  -----\none                 0 B/s\n";
    EXPECT_EQ(out, table + table);
    EXPECT_EQ(calls, 3U);
}

}  // namespace
}  // namespace host
