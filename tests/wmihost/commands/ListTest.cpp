#include <map>
#include <mutex>
#include <regex>

#include "tests/wmihost/CommandTest.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using ListTest = CommandTest;

TEST_F(ListTest, ListsChosenPropertiesInTheirOrder)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "State,Name"}), 0);
    EXPECT_EQ(out, "State     Name\n--------  ----\nEnabled   one\nDisabled  two\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "count", "--property", "__relpath,__CLASS"}), 0);
    EXPECT_EQ(out,
              "Count  __RELPATH              __CLASS\n"
              "-----  ---------------------  ----------\n"
              "    3  Fake_Thing.Name=\"one\"  Fake_Thing\n"
              "    3  Fake_Thing.Name=\"two\"  Fake_Thing\n");
    EXPECT_EQ(error, "");
}

TEST_F(ListTest, ListsInstancesThatMeetEveryCondition)
{
    const std::string one = "Name\n----\none\n";
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "Name", "--where", "State=enabled"}), 0);
    EXPECT_EQ(out, one);
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "Name", "--where", "State=2"}), 0);
    EXPECT_EQ(out, one);
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "Name", "--where", "Count=3", "--where", "name=ONE"}), 0);
    EXPECT_EQ(out, one);
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "Name", "--where", "__RELPATH=Fake_Thing.Name=\"one\""}), 0);
    EXPECT_EQ(out, one);
    EXPECT_EQ(error, "");
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
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "mof"}), 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error, "the class has no instances\n");
}

TEST_F(ListTest, AMisspeltPropertyCostsNoRequest)
{
    unsigned requests = 0;
    behaviour.enumerate = [&requests](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        ++requests;
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "Name,Stat"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Thing --property Name,Stat: failed\n"
              "  WBEM_E_INVALID_PROPERTY (0x80041031): there is no such property\n"
              "  Reason: the class Fake_Thing has no property Stat; did you mean State?\n"
              "  Try: describe the class to see its properties\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "--where", "Nam=one"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Thing --where Nam=one: failed\n"
              "  WBEM_E_INVALID_PROPERTY (0x80041031): there is no such property\n"
              "  Reason: the class Fake_Thing has no property Nam; did you mean Name?\n"
              "  Try: describe the class to see its properties\n");
    EXPECT_EQ(requests, 0U);
    EXPECT_EQ(out, "");
}

TEST_F(ListTest, WithoutAClassTheNetworkAdaptersAreListed)
{
    addToMof("[dynamic, provider(\"FakeProvider\")] class Zerix_EthernetPort { [key] string DeviceID; string Name; };");
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view className, IWbemContext*, IWbemObjectSink* sink) {
        const auto port = spawn(ns, std::wstring(className).c_str());
        put(port, L"DeviceID", Variant::ofText(L"{0}"));
        put(port, L"Name", Variant::ofText(L"eth0"));
        deliver(sink, port);
        return finish(sink);
    };
    for (const auto& arguments : {std::vector<std::string>{}, {"list"}, {"list", "Zerix_EthernetPort"}}) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_EQ(out, "Name  DeviceID\n----  --------\neth0  {0}\n");
        EXPECT_EQ(error, "");
    }
}

TEST_F(ListTest, LooksForTheClassInOneNamespaceAlone)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--namespace", "ROOT/Test", "--property", "Name"}), 0);
    EXPECT_EQ(out, "Name\n----\none\ntwo\n");
    addToMof("#pragma namespace(\"root\\\\other\")\nclass Fake_Other { [key] string Name; };");
    EXPECT_EQ(run({"--namespace", "root\\other", "list", "Fake_Thing"}), 1);
    EXPECT_EQ(error,
              "wmihost --namespace root\\other list Fake_Thing: failed\n"
              "  WBEM_E_INVALID_CLASS (0x80041010): there is no such class\n"
              "  Reason: the namespace root\\other has no class Fake_Thing\n"
              "  Try: 'wmihost classes' shows the classes\n");
}

TEST_F(ListTest, GetsAnInstanceByItsShortPathAndByItsFullOne)
{
    const std::string table =
        "Property  Value\n"
        "--------  -----------\n"
        "Name      one\n"
        "Count     3\n"
        "State     2 (Enabled)\n"
        "Bytes\n";
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\""}), 0);
    EXPECT_EQ(out, table);
    behaviour.get = [](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
        EXPECT_EQ(path, L"\\\\.\\root\\test:fake_thing.NAME=\"one\"");
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    EXPECT_EQ(run({"get", "\\\\.\\root\\test:fake_thing.NAME=\"one\""}), 0);
    EXPECT_EQ(out, table);
    EXPECT_EQ(error, "");
}

TEST_F(ListTest, GetsChosenPropertiesInEachFormat)
{
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\"", "--property", "State"}), 0);
    EXPECT_EQ(out, "Property  Value\n--------  -----------\nState     2 (Enabled)\n");
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\"", "--property", "State", "--format", "json"}), 0);
    EXPECT_EQ(out, "{\n  \"__CLASS\": \"Fake_Thing\",\n  \"__PATH\": \"\\\\\\\\" + toUtf8(serverName()) +
                       "\\\\root\\\\test:Fake_Thing.Name=\\\"one\\\"\",\n  \"State\": 2\n}\n");
    // The MOF form always shows the whole instance.
    EXPECT_EQ(run({"get", "Fake_Thing=\"one\"", "--property", "State", "--format", "mof"}), 0);
    EXPECT_EQ(out, "instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 2;\n};\n");
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

TEST_F(ListTest, CountsManyRequests)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "3", "--repeat", "5"}), 0);
    expectSummary(out, "15 requests, 0 failures", 0);
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
