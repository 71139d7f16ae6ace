#include <functional>
#include <regex>

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

// The value of an instance's counter at the n-th reading, counted from 0.
struct Watched
{
    std::wstring name;
    std::function<unsigned(unsigned)> bytes;
    std::function<unsigned(unsigned)> packets;
    unsigned firstLook = 0;  // the first reading that has the instance
};

class WatchTest : public CommandTest
{
protected:
    WatchTest()
    {
        addToMof(R"([dynamic, provider("FakeProvider")] class Fake_Counters
                    {
                        [key] string CreationClassName;
                        [key] string SystemName;
                        [key] string Name;
                        [Counter, Units("Bytes")] uint64 Bytes;
                        [Counter] uint32 Packets;
                        uint32 Level;
                    };)");
        behaviour.enumerate = [this](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            for (const Watched& one : watched) {
                if (looks < one.firstLook) {
                    continue;
                }
                const auto counters = spawn(ns, L"Fake_Counters");
                put(counters, L"CreationClassName", Variant::ofText(L"Fake_Counters"));
                put(counters, L"SystemName", Variant::ofText(L"here"));
                put(counters, L"Name", Variant::ofText(one.name));
                put(counters, L"Bytes", Variant::ofText(std::to_wstring(one.bytes(looks))));
                put(counters, L"Packets", Variant::ofLong(static_cast<long>(one.packets(looks))));
                deliver(sink, counters);
            }
            ++looks;
            return finish(sink, looks == failingLook ? code(WBEM_E_ACCESS_DENIED) : HRESULT{0});
        };
    }

    static unsigned still(unsigned /*look*/) { return 7; }
    static std::function<unsigned(unsigned)> rising(unsigned by)
    {
        return [by](unsigned look) { return by * look; };
    }

    std::vector<Watched> watched;
    unsigned looks = 0;
    unsigned failingLook = 0;
};

TEST_F(WatchTest, FastestInstance_comesFirst_withTheLongestBar)
{
    // Instances with equal rates keep their order.
    watched = {{L"still", still, rising(5)},
               {L"slow", rising(1000000), still},
               {L"fast", rising(4000000), rising(9)},
               {L"last", still, still}};
    EXPECT_EQ(run({"watch", "Fake_Counters", "--count", "1", "--interval", "20"}), 0);
    EXPECT_EQ(looks, 2U);
    EXPECT_EQ(error, "");
    const std::string form = R"(Instance  Activity +Bytes +Packets
--------  --------------------  -+  -+
fast      ####################  +([0-9.]+) ([kM])B/s +[0-9.]+ /s
slow      #####                 +([0-9.]+) ([kM])B/s +0 /s
still                           +0 B/s +[0-9.]+ /s
last                            +0 B/s +0 /s
)";
    std::smatch match;
    ASSERT_TRUE(std::regex_match(out, match, std::regex(form))) << out;
    const auto kilobytes = [&match](std::size_t at) {
        return std::stod(match[at]) * (match[at + 1] == "M" ? 1000 : 1);
    };
    // At most four million bytes in 20 ms. A rate is shown with four digits.
    EXPECT_LE(kilobytes(1), 200000.0);
    EXPECT_NEAR(kilobytes(1) / kilobytes(3), 4.0, 0.05);
}

TEST_F(WatchTest, Watch_answersAsRecorded)
{
    watched = {{L"one", still, still}, {L"two", still, still}};
    expectSession("commands/watch.session");
}

TEST_F(WatchTest, Counter_newOrRunningBackwards_hasNoRate)
{
    watched = {{L"back", [](unsigned look) { return look == 0 ? 1000U : 10U; }, still},
               {L"new", rising(5000), still, 2}};
    expectSession("commands/watch-without-rate.session");
}

TEST_F(WatchTest, FailedRequest_endsTheWatch)
{
    watched = {{L"one", still, still}};
    failingLook = 3;
    expectSession("commands/watch-refused.session");
}

}  // namespace
}  // namespace wmihost
