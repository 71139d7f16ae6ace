#include "wmihost/commands/Output.h"

#include "tests/wmihost/CommandTest.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/session/Workspace.h"
#include "wmihost/terminal/Json.h"

namespace wmihost {
namespace {

constexpr const char* RICH_MOF = R"(
[dynamic, provider("FakeProvider")]
class Fake_Rich
{
    [key] string CreationClassName;
    [key] string SystemName;
    [key] string Name;
    [Units("Bits per Second")] uint64 Speed;
    boolean Active;
    datetime Since;
    Fake_Thing ref Owner;
    [ValueMap{"1", "2"}, Values{"Good", "Bad"}] uint16 Codes[];
    string Notes[];
    sint64 Balance;
    real64 Load;
};
)";

// Another thing with many values, besides those of the fake provider.
class OutputTest : public CommandTest
{
protected:
    static ComPtr<IWbemClassObject> richThing(IWbemServices& ns)
    {
        const auto rich = spawn(ns, L"Fake_Rich");
        put(rich, L"CreationClassName", Variant::ofText(L"Fake_Rich"));
        put(rich, L"SystemName", Variant::ofText(L"here"));
        put(rich, L"Name", Variant::ofText(L"r\u00FCck"));
        put(rich, L"Speed", Variant::ofText(L"2500000000"));
        put(rich, L"Active", Variant::ofBool(true));
        put(rich, L"Since", Variant::ofText(L"20261121094145.000000+000"));
        put(rich, L"Owner", Variant::ofText(L"\\\\.\\root\\test:Fake_Thing.Name=\"one\""));
        put(rich, L"Codes", Variant::ofArray(VT_I4, {Variant::ofLong(2), Variant::ofLong(7)}));
        put(rich, L"Notes", Variant::ofTexts({L"a", L"b\"c"}));
        put(rich, L"Balance", Variant::ofText(L"-5"));
        put(rich, L"Load", Variant::ofDouble(0.5));
        return rich;
    }

    void serveRichThing()
    {
        addToMof(RICH_MOF);
        behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            deliver(sink, richThing(ns));
            return finish(sink);
        };
        behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
            deliver(sink, richThing(ns));
            return finish(sink);
        };
    }

    const char* const richPath = "Fake_Rich.CreationClassName=\"Fake_Rich\",Name=\"x\",SystemName=\"here\"";
};

TEST_F(OutputTest, EachFormat_showsEveryKindOfValue)
{
    serveRichThing();
    expectSession("commands/output.session");
}

TEST_F(OutputTest, MofOfAnInstance_compilesAgain)
{
    serveRichThing();
    EXPECT_EQ(run({"get", richPath, "--format", "mof"}), 0);
    const std::string first = out;
    addToMof(RICH_MOF + first);
    Workspace again(mof);
    const auto instances = again.repository().findNamespace(L"root\\test")->instancesOf(L"Fake_Rich");
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(mofOf(*ClassObject::ofInstance(*instances.front()).get()), first);
}

TEST_F(OutputTest, ControlCharacters_areEscapedInEachFormat)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        deliver(ns, sink, L"a\x1b[2J\x9b\u202Eb\nc", 2);
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name"}), 0);
    EXPECT_EQ(out, "Name\n----------------------\na\\x1B[2J\\x9B\\u202Eb\\nc\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "json"}), 0);
    EXPECT_NE(out.find("\"Name\": \"a\\u001b[2J\\u009b\\u202eb\\nc\""), std::string::npos) << out;
    EXPECT_EQ(Json::parse(out)[0]["Name"],
              "a\x1b[2J\xC2\x9B\xE2\x80\xAE"
              "b\nc");
    EXPECT_EQ(run({"list", "Fake_Thing", "-f", "mof"}), 0);
    EXPECT_NE(out.find("Name = \"a\\x001B[2J\\x009b\\x202eb\\nc\";"), std::string::npos) << out;
    // Data formats contain the characters unchanged.
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "csv"}), 0);
    EXPECT_EQ(out,
              "Name\r\n\"a\x1b[2J\xC2\x9B\xE2\x80\xAE"
              "b\nc\"\r\n");
}

TEST_F(OutputTest, Adapter_hasColumnsWithHeadings)
{
    addToMof(R"([dynamic, provider("FakeProvider")] class Zerix_EthernetPort
                {
                    [key] string DeviceID; string Name; string PermanentAddress; string Other;
                    [Units("Bits per Second")] uint64 Speed; uint64 ActiveMaximumTransmissionUnit;
                    uint16 EnabledState;
                };)");
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        const auto port = spawn(ns, L"Zerix_EthernetPort");
        put(port, L"DeviceID", Variant::ofText(L"{0}"));
        put(port, L"Name", Variant::ofText(L"eth0"));
        put(port, L"PermanentAddress", Variant::ofText(L"02FC00000001"));
        put(port, L"Speed", Variant::ofText(L"1000000000"));
        put(port, L"ActiveMaximumTransmissionUnit", Variant::ofText(L"1500"));
        deliver(sink, port);
        return finish(sink);
    };
    expectSession("commands/output-adapter.session");
}

}  // namespace
}  // namespace wmihost
