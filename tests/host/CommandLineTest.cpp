#include "host/CommandLine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "FakeProvider.h"
#include "TestObjects.h"
#include "host/Guard.h"

namespace host {
namespace {

// Standard output or standard error goes to a file for as long as the scope lives.
class Redirected
{
public:
    Redirected(DWORD which, std::filesystem::path file)
        : m_which(which), m_file(std::move(file)), m_before(GetStdHandle(which))
    {
        m_handle = CreateFileW(m_file.wstring().c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
        SetStdHandle(which, m_handle);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;
    ~Redirected()
    {
        SetStdHandle(m_which, m_before);
        CloseHandle(m_handle);
        std::filesystem::remove(m_file);
    }

    std::string text() const
    {
        std::ifstream stream(m_file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    DWORD m_which;
    std::filesystem::path m_file;
    HANDLE m_before;
    HANDLE m_handle;
};

class CommandLineTest : public testing::Test
{
protected:
    CommandLineTest()
    {
        std::ofstream(mof) << fakeMof;
        SetEnvironmentVariableW(L"COLUMNS", nullptr);
        _putenv("COLUMNS=");
        behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            deliver(ns, sink, L"one", 2);
            deliver(ns, sink, L"two", 3);
            return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
        };
        behaviour.get = [](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            if (path != L"Fake_Thing.Name=\"one\"") {
                return sink->SetStatus(WBEM_STATUS_COMPLETE, code(WBEM_E_NOT_FOUND), nullptr, nullptr);
            }
            deliver(ns, sink, L"one", 2);
            return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
        };
    }
    ~CommandLineTest() override { std::filesystem::remove(mof); }

    static void deliver(IWbemServices& ns, IWbemObjectSink* sink, const wchar_t* name, long state)
    {
        ComPtr<IWbemClassObject> definition;
        ComPtr<IWbemClassObject> thing;
        ASSERT_EQ(ns.GetObject(Bstr(L"Fake_Thing").get(), 0, nullptr, definition.put(), nullptr), 0);
        ASSERT_EQ(definition->SpawnInstance(0, thing.put()), 0);
        put(thing, L"Name", Variant::ofText(name));
        put(thing, L"State", Variant::ofLong(state));
        IWbemClassObject* object = thing.get();
        sink->Indicate(1, &object);
    }

    int run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"--mof", mof.string()});
        const Redirected standardOut(STD_OUTPUT_HANDLE, folder / ("out" + id));
        const Redirected standardError(STD_ERROR_HANDLE, folder / ("err" + id));
        const int result = runCommandLine(arguments);
        out = standardOut.text();
        error = standardError.text();
        // What was asked is repeated with the place of the MOF, which differs from run to run.
        const std::string place = " --mof " + mof.string();
        if (const std::size_t at = error.find(place); at != std::string::npos) {
            error.erase(at, place.size());
        }
        return result;
    }

    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::string id = std::to_string(GetCurrentProcessId());
    const std::filesystem::path mof = folder / ("cli" + id + ".mof");
    const ComApartment apartment;
    FakeBehaviour behaviour;
    const FakeProviderScope scope{behaviour};
    std::string out;
    std::string error;
};

TEST_F(CommandLineTest, ListsAsATable)
{
    EXPECT_EQ(run({"list", "fake_thing"}), 0);
    EXPECT_EQ(out,
              "Name  Count  State     Bytes\n"
              "----  -----  --------  -----\n"
              "one       3  Enabled\n"
              "two       3  Disabled\n");
    EXPECT_EQ(error, "");
}

TEST_F(CommandLineTest, ListsChosenPropertiesAndInstances)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--property", "State,Name", "--where", "State=disabled"}), 0);
    EXPECT_EQ(out, "State     Name\n--------  ----\nDisabled  two\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "--where", "State=2", "--property", "__RELPATH"}), 0);
    EXPECT_EQ(out, "__RELPATH\n---------------------\nFake_Thing.Name=\"one\"\n");
}

TEST_F(CommandLineTest, ListsAsJsonAndMof)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "json", "--where", "Name=one", "--property", "Name,Count,Bytes"}),
              0);
    EXPECT_NE(out.find("\"__CLASS\": \"Fake_Thing\""), std::string::npos);
    EXPECT_NE(out.find("\"Name\": \"one\",\n    \"Count\": 3,\n    \"Bytes\": null\n"), std::string::npos);
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "mof", "--where", "Name=one"}), 0);
    EXPECT_EQ(out, "instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 2;\n};\n\n");
}

TEST_F(CommandLineTest, GetsAnInstanceByItsShortPath)
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

TEST_F(CommandLineTest, AFailedRequestIsExplained)
{
    EXPECT_EQ(run({"get", "Fake_Thing=\"none\""}), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error,
              "wmihost get Fake_Thing=\"none\": failed\n"
              "  WBEM_E_NOT_FOUND (0x80041002): there is no such object\n"
              "  Try: list the class to see the paths and names that exist\n");
}

TEST_F(CommandLineTest, AnExceptionOfTheProviderIsShown)
{
    behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink*) -> HRESULT {
        throw std::runtime_error("lost");
    };
    EXPECT_EQ(run({"list", "Fake_Thing"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Thing: failed\n"
              "  WBEM_E_PROVIDER_FAILURE (0x80041004): the provider failed after its start\n"
              "  Reason: the provider threw: lost\n"
              "  Try: the provider's log at level 3 (VEXAL_DRAVEv2_LOG_LEVEL) says where\n");
}

TEST_F(CommandLineTest, AClassWhoseProviderIsNotRegisteredIsRefused)
{
    EXPECT_EQ(run({"list", "Fake_Stray"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Stray: failed\n"
              "  WBEM_E_PROVIDER_NOT_FOUND (0x80041011): the provider of the class is not registered\n"
              "  Reason: the provider AbsentProvider of the class Fake_Stray is not registered in root\\test\n"
              "  Try: the MOF needs an instance of __Win32Provider in the namespace of the class\n");
}

TEST_F(CommandLineTest, WrongUsageHasItsOwnExitCode)
{
    const std::string hint = "\nwmihost --help shows the commands, wmihost COMMAND --help one of them\n";
    EXPECT_EQ(run({"list"}), 2);
    EXPECT_EQ(error, "wmihost: class is required" + hint);
    EXPECT_EQ(run({"nonsense"}), 2);
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "xml"}), 2);
    EXPECT_EQ(error, "wmihost: --format: 'xml' is none of table, json, mof, markdown" + hint);
    EXPECT_EQ(run({"get", "Fake_Thing."}), 2);
    EXPECT_EQ(error, "wmihost: 'Fake_Thing.' is no object path: expected the name of a key at character 12" + hint);
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count"}), 2);
    EXPECT_EQ(error, "wmihost: 'Count' is not of the form NAME=VALUE" + hint);
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "Count=many"}), 2);
    EXPECT_EQ(error, "wmihost: Count: 'many' is no uint16: a whole number from 0 to 65535" + hint);
    EXPECT_EQ(out, "");
}

TEST_F(CommandLineTest, SetGetsChangesAndPuts)
{
    std::wstring sent;
    behaviour.put = [&sent](IWbemClassObject* object, LONG, IWbemObjectSink* sink) {
        Bstr text;
        object->GetObjectText(0, text.put());
        sent = text.view();
        return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    };
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "count=7", "State=null"}), 0);
    EXPECT_EQ(sent, L"instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 7;\n};\n");
}

TEST_F(CommandLineTest, DeleteAsksOnlyWhatTheRegistrationPromises)
{
    EXPECT_EQ(run({"delete", "Fake_Thing=\"one\""}), 1);
    EXPECT_NE(error.find("WBEM_E_PROVIDER_NOT_CAPABLE (0x80041024)"), std::string::npos);
}

TEST_F(CommandLineTest, InvokePassesArgumentsAndShowsOutputs)
{
    std::wstring given;
    behaviour.execMethod = [&given](IWbemServices& ns, std::wstring_view method, IWbemClassObject* in,
                                    IWbemObjectSink* sink) {
        Bstr text;
        in->GetObjectText(0, text.put());
        given = text.view();
        ComPtr<IWbemClassObject> definition;
        ComPtr<IWbemClassObject> signature;
        ComPtr<IWbemClassObject> outputs;
        ns.GetObject(Bstr(L"Fake_Thing").get(), 0, nullptr, definition.put(), nullptr);
        definition->GetMethod(std::wstring(method).c_str(), 0, nullptr, signature.put());
        signature->SpawnInstance(0, outputs.put());
        put(outputs, L"ReturnValue", Variant::ofLong(5));
        if (method == L"Turn") {
            put(outputs, L"Said", Variant::ofText(L"no"));
        }
        IWbemClassObject* object = outputs.get();
        sink->Indicate(1, &object);
        return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    };
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "turn", "degrees=90"}), 0);
    EXPECT_EQ(given, L"instance of __PARAMETERS\n{\n    Degrees = 90;\n};\n");
    EXPECT_EQ(out, "Output       Value\n-----------  -----------\nSaid         no\nReturnValue  5 (Invalid)\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "--format", "json"}), 0);
    EXPECT_EQ(given, L"instance of __PARAMETERS\n{\n};\n");
    EXPECT_EQ(out, "{\n  \"ReturnValue\": 5\n}\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "x=1"}), 1);
    EXPECT_NE(error.find("Reason: the method Rest takes no argument x\n"), std::string::npos);
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Run"}), 1);
    EXPECT_NE(error.find("WBEM_E_INVALID_METHOD (0x8004102E)"), std::string::npos);
}

TEST_F(CommandLineTest, DescribesAClass)
{
    EXPECT_EQ(run({"describe", "Fake_Thing"}), 0);
    EXPECT_EQ(out,
              "Fake_Thing in root\\test\n"
              "A thing.\n"
              "\n"
              "Property  Type    Access  Description\n"
              "--------  ------  ------  -----------------------------------------\n"
              "Name      string  key     Its name.\n"
              "Count     uint16  write   How many.\n"
              "State     uint16          Its state. Values: 2 Enabled, 3 Disabled.\n"
              "Bytes     uint64          Bytes so far. Unit: Bytes.\n"
              "\n"
              "uint32 Turn(in uint16 Degrees, out string Said)\n"
              "    Turns it.\n"
              "    Returns: 0 Done, 5 Invalid\n"
              "\n"
              "uint32 Rest()\n"
              "    Rests.\n");
}

TEST_F(CommandLineTest, ListsTheClasses)
{
    EXPECT_EQ(run({"classes"}), 0);
    EXPECT_EQ(out,
              "Class        Namespace  Description\n"
              "-----------  ---------  -----------\n"
              "Fake_Thing   root\\test  A thing.\n"
              "Fake_Stray   root\\test\n"
              "Fake_Orphan  root\\test\n");
}

TEST_F(CommandLineTest, CountsManyRequests)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--threads", "3", "--repeat", "5"}), 0);
    EXPECT_EQ(out.rfind("15 requests, 0 failures, slowest ", 0), 0U);
    EXPECT_EQ(run({"get", "Fake_Thing=\"none\"", "--threads", "2"}), 1);
    EXPECT_EQ(out.rfind("2 requests, 2 failures, slowest ", 0), 0U);
    EXPECT_EQ(error, "first failure: WBEM_E_NOT_FOUND (0x80041002): there is no such object\n");
}

TEST_F(CommandLineTest, WatchShowsTheRatesOfCounters)
{
    unsigned calls = 0;
    behaviour.enumerate = [&calls](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        ComPtr<IWbemClassObject> definition;
        ComPtr<IWbemClassObject> thing;
        ns.GetObject(Bstr(L"Fake_Thing").get(), 0, nullptr, definition.put(), nullptr);
        definition->SpawnInstance(0, thing.put());
        put(thing, L"Name", Variant::ofText(L"one"));
        // The counter runs backwards from the first call to the second, and stands still after that.
        put(thing, L"Bytes", Variant::ofText(calls++ == 0 ? L"1000" : L"10"));
        IWbemClassObject* object = thing.get();
        sink->Indicate(1, &object);
        return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    };
    EXPECT_EQ(run({"watch", "Fake_Thing", "--count", "2", "--interval", "10"}), 0);
    const std::string table = "Instance  Activity  Bytes\n--------  --------  -----\none                 0 B/s\n";
    EXPECT_EQ(out, table + table);
    EXPECT_EQ(calls, 3U);
    EXPECT_EQ(run({"watch", "Fake_Orphan", "--count", "1"}), 2);
}

TEST_F(CommandLineTest, HelpShowsAnExampleForEachCommand)
{
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_NE(out.find("self-test"), std::string::npos);
    for (const auto* name : {"classes", "describe", "list", "get", "set", "delete", "invoke", "watch", "self-test"}) {
        EXPECT_EQ(run({name, "--help"}), 0);
        EXPECT_NE(out.find(std::string("Example:\n  wmihost ") + name), std::string::npos) << name;
    }
}

TEST_F(CommandLineTest, AMofWithAMistakeIsShownWithItsPlace)
{
    std::ofstream(mof) << "class {";
    EXPECT_EQ(run({"classes"}), 1);
    EXPECT_EQ(error,
              "wmihost classes: the MOF cannot be read\n  " + mof.string() + ":1:7: expected the name of a class\n");
}

}  // namespace
}  // namespace host
