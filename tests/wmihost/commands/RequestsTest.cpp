#include "wmihost/commands/Requests.h"

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

using RequestsTest = CommandTest;

TEST_F(RequestsTest, Get_ofNoneOrSeveralObjects_fails)
{
    behaviour.get = [](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
        for (int i = 0; i < 2 && path.ends_with(L"=\"twins\""); ++i) {
            deliver(ns, sink, L"twins", 2);
        }
        return finish(sink);
    };
    expectSession("commands/get-not-one.session");
}

TEST_F(RequestsTest, SuccessCode_isNoFailure)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        deliver(ns, sink, L"one", 2);
        return finish(sink, code(WBEM_S_PARTIAL_RESULTS));
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "csv"}), 0);
    EXPECT_EQ(out, "Name\r\none\r\n");
    EXPECT_EQ(error, "");
}

}  // namespace
}  // namespace wmihost
