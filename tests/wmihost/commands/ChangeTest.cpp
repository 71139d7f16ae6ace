#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr const char* DELETABLE =
    "instance of __InstanceProviderRegistration { Provider = \"__Win32Provider.Name=\\\"FakeProvider\\\"\"; "
    "SupportsDelete = TRUE; };\n";

// A provider that stores the values that are put and records the requests.
class ChangeTest : public CommandTest
{
protected:
    ChangeTest()
    {
        behaviour.get = [this](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            requests.push_back(L"get " + std::wstring(path));
            if (kept) {
                deliver(sink, kept);
            } else {
                deliver(ns, sink, L"one", 2);
            }
            return finish(sink);
        };
        behaviour.put = [this](IWbemClassObject* object, LONG flags, IWbemObjectSink* sink) {
            EXPECT_EQ(flags, WBEM_FLAG_UPDATE_ONLY);
            Bstr text;
            EXPECT_EQ(object->GetObjectText(0, text.put()), 0);
            requests.push_back(L"put " + std::wstring(text.view()));
            kept = ComPtr<IWbemClassObject>(object);
            return finish(sink);
        };
        behaviour.remove = [this](std::wstring_view path, IWbemObjectSink* sink) {
            requests.push_back(L"delete " + std::wstring(path));
            return finish(sink);
        };
    }

    std::vector<std::wstring> requests;
    ComPtr<IWbemClassObject> kept;
};

using Requests = std::vector<std::wstring>;

TEST_F(ChangeTest, SetGetsChangesPutsAndShowsWhatTheProviderKept)
{
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "count=7", "State=null", "Bytes=18446744073709551615"}), 0);
    const std::wstring get = L"get Fake_Thing.Name=\"one\"";
    EXPECT_EQ(requests, (Requests{get,
                                  L"put instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 7;\n"
                                  L"    Bytes = 18446744073709551615;\n};\n",
                                  get}));
    EXPECT_EQ(out,
              "Property  Value\n"
              "--------  --------------------\n"
              "Name      one\n"
              "Count     7\n"
              "State\n"
              "Bytes     18446744073709551615\n");
    EXPECT_EQ(error, "");
}

TEST_F(ChangeTest, WhatIsShownWasReadAnew)
{
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) { return finish(sink); };
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=7", "--format", "mof"}), 0);
    EXPECT_EQ(out, "instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 2;\n};\n");
}

TEST_F(ChangeTest, SetShowsTheInstanceForProgramsToo)
{
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=0x10", "--format", "json"}), 0);
    EXPECT_EQ(out, "{\n  \"__CLASS\": \"Fake_Thing\",\n  \"__PATH\": \"\\\\\\\\" + toUtf8(serverName()) +
                       "\\\\root\\\\test:Fake_Thing.Name=\\\"one\\\"\",\n  \"Name\": \"one\",\n  \"Count\": 16,\n"
                       "  \"State\": 2,\n  \"Bytes\": null\n}\n");
}

TEST_F(ChangeTest, TheElementsOfAnArrayAreSeparatedByCommas)
{
    addToMof(
        "[dynamic, provider(\"FakeProvider\")] class Fake_List { [key] string Name; uint16 Numbers[]; "
        "string Texts[]; };\n");
    behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        const auto list = spawn(ns, L"Fake_List");
        put(list, L"Name", Variant::ofText(L"one"));
        deliver(sink, list);
        return finish(sink);
    };
    EXPECT_EQ(run({"set", "Fake_List=\"one\"", "Numbers=1,2,3", "Texts=a"}), 0);
    EXPECT_EQ(requests, (Requests{L"put instance of Fake_List\n{\n    Name = \"one\";\n    Numbers = {1, 2, 3};\n"
                                  L"    Texts = {\"a\"};\n};\n"}));
}

TEST_F(ChangeTest, Mistake_inOneOfTheValues_costsNoPut)
{
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=7", "State=on"}), 2);
    EXPECT_EQ(error,
              "wmihost set: State: 'on' is no uint16: a whole number from 0 to 65535, or one of the words Enabled, "
              "Disabled\n"
              "  Example: wmihost set 'Zerix_AdapterSetting.InstanceID=\"...\"' ElementName=Uplink Tag=null\n"
              "  wmihost set --help shows all that it takes\n");
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=7", "Sate=2"}), 1);
    EXPECT_EQ(error,
              "wmihost set Fake_Thing=\"one\" Count=7 Sate=2: failed\n"
              "  WBEM_E_INVALID_PROPERTY (0x80041031): there is no such property\n"
              "  Reason: the class Fake_Thing has no property Sate; did you mean State?\n"
              "  Try: describe the class to see its properties\n");
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "__PATH=x"}), 1);
    EXPECT_EQ(error,
              "wmihost set Fake_Thing=\"one\" __PATH=x: failed\n"
              "  WBEM_E_READ_ONLY (0x80041023): the property is read-only\n"
              "  Reason: the object takes no such value\n"
              "  Try: describe the class to see which properties are writable\n");
    // A misspelt name or a wrong value is refused before any request.
    EXPECT_EQ(requests, Requests{L"get Fake_Thing.Name=\"one\""});
    EXPECT_EQ(out, "");
}

TEST_F(ChangeTest, AKeyIsNotChanged)
{
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=7", "name=two"}), 1);
    EXPECT_EQ(error,
              "wmihost set Fake_Thing=\"one\" Count=7 name=two: failed\n"
              "  WBEM_E_READ_ONLY (0x80041023): the property is read-only\n"
              "  Reason: Name is a key: it says which instance is meant\n"
              "  Try: describe the class to see which properties are writable\n");
    EXPECT_EQ(requests, Requests());
}

TEST_F(ChangeTest, WhatTheProviderRefusesIsAFailure)
{
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_ACCESS_DENIED));
    };
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "State=3"}), 1);
    EXPECT_EQ(error,
              "wmihost set Fake_Thing=\"one\" State=3: failed\n"
              "  WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n"
              "  Reason: State: the class does not declare it with the qualifier write\n"
              "  Try: change writable properties only, and ask with --impersonation impersonate as a user with the "
              "right\n");
    EXPECT_EQ(out, "");
}

TEST_F(ChangeTest, ValueKeptOtherwise_isReported)
{
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) { return finish(sink); };
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=7", "State=enabled", "Bytes=5", "-f", "json"}), 0);
    EXPECT_EQ(Json::parse(out)["Count"], 3);
    EXPECT_EQ(error,
              "wmihost set: Count was sent as '7' and is kept as '3'\n"
              "wmihost set: Bytes was sent as '5' and is kept as no value\n");
}

TEST_F(ChangeTest, Words_areTheNumbersTheyStandFor)
{
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "State=disabled"}), 0);
    EXPECT_EQ(requests.at(1),
              L"put instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 3;\n};\n");
    EXPECT_EQ(error, "");
}

struct Limited
{
    const char* name;
    std::string change;
    const char* reason;
};

class Limits : public ChangeTest, public testing::WithParamInterface<Limited>
{
};

TEST_P(Limits, AreNamedInTheRefusal)
{
    addToMof(
        "[dynamic, provider(\"FakeProvider\")] class Fake_Limits { [key] string Name; [write, MinValue(2), "
        "MaxValue(600)] uint16 Count; [write, MinLen(2), MaxLen(5)] string Tag; [write, ValueMap{\"1\", \"2\"}, "
        "Values{\"On\", \"Off\"}] uint16 Mode; [write, MaxValue(100)] uint64 Big; [read] string Fixed; };\n");
    behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        const auto limited = spawn(ns, L"Fake_Limits");
        put(limited, L"Name", Variant::ofText(L"one"));
        deliver(sink, limited);
        return finish(sink);
    };
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_INVALID_PARAMETER));
    };
    EXPECT_EQ(run({"set", "Fake_Limits=\"one\"", GetParam().change}), 1);
    const std::string reason = *GetParam().reason == '\0' ? "" : std::string("  Reason: ") + GetParam().reason + "\n";
    EXPECT_EQ(error, "wmihost set Fake_Limits=\"one\" " + GetParam().change +
                         ": failed\n  WBEM_E_INVALID_PARAMETER (0x80041008): an argument is not valid\n" + reason +
                         "  Try: describe the class to see the properties, their ranges and lengths\n");
    EXPECT_EQ(out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, Limits,
    testing::Values(Limited{"Above", "Count=601", "Count: 601 is above its MaxValue, 600"},
                    Limited{"Below", "Count=1", "Count: 1 is below its MinValue, 2"},
                    Limited{"Within", "Count=600", ""},
                    Limited{"AboveEverySignedNumber", "Big=18446744073709551615",
                            "Big: 18446744073709551615 is above its MaxValue, 100"},
                    Limited{"TooLong",
                            "Tag=Gr\xC3\xBC\xC3\x9F"
                            "es",
                            "Tag: its length in bytes, 6, is above its MaxLen, 5"},
                    Limited{"TooShort", "Tag=a", "Tag: its length in bytes, 1, is below its MinLen, 2"},
                    Limited{"OutsideTheMap", "Mode=3", "Mode: 3 is not in its ValueMap: 1 On, 2 Off"},
                    Limited{"NotWritable", "Fixed=x", "Fixed: the class does not declare it with the qualifier write"}),
    rowName);

TEST_F(ChangeTest, AnInstanceThatIsNotThereIsNotPut)
{
    behaviour.get = [](IWbemServices&, std::wstring_view, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_NOT_FOUND));
    };
    EXPECT_EQ(run({"set", "Fake_Thing=\"none\"", "Count=7"}), 1);
    EXPECT_EQ(error,
              "wmihost set Fake_Thing=\"none\" Count=7: failed\n"
              "  WBEM_E_NOT_FOUND (0x80041002): there is no such object\n"
              "  Try: list the class to see the paths and names that exist\n");
    EXPECT_EQ(requests, Requests());
}

TEST_F(ChangeTest, DeleteSaysWhatItDeleted)
{
    addToMof(DELETABLE);
    EXPECT_EQ(run({"delete", "Fake_Thing=\"one\""}), 0);
    EXPECT_EQ(requests, (Requests{L"delete Fake_Thing.Name=\"one\""}));
    EXPECT_EQ(out, "deleted Fake_Thing.Name=\"one\"\n");
    EXPECT_EQ(error, "");
}

TEST_F(ChangeTest, ADeleteThatFailsSaysNothingOfADeletion)
{
    addToMof(DELETABLE);
    behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_NOT_SUPPORTED));
    };
    EXPECT_EQ(run({"delete", "Fake_Thing=\"one\""}), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error,
              "wmihost delete Fake_Thing=\"one\": failed\n"
              "  WBEM_E_NOT_SUPPORTED (0x8004100C): the operation is not supported for this object\n"
              "  Try: only jobs (Zerix_ConcreteJob) can be deleted; instances cannot be created\n");
}

}  // namespace
}  // namespace wmihost
