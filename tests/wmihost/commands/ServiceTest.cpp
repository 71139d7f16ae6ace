// The commands with --service: every request goes to the machine's WMI, which a fake replaces here.

#include <algorithm>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/FakeService.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr const char* SERVICE_MOF = R"(#pragma namespace("\\\\.\\root\\cimv2")
[Description("Anything.")] class Test_Base { [key] string Name; };
[Description("A thing.")] class Test_Thing : Test_Base
{
    [Description("How many."), write] uint16 Count;
    [ValueMap{"2", "3"}, Values{"Enabled", "Disabled"}] uint16 State;
    [Counter, Units("Bytes")] uint64 Bytes;
    uint32 Turn([in] uint16 Degrees, [out] string Said);
    uint32 Rest();
    [static] uint32 Count2([out] uint32 Total);
};
class Test_Tool { [static] uint32 Ping([in] string Text, [out] string Answer); };
instance of Test_Thing { Name = "one"; Count = 3; State = 2; Bytes = 10; };
instance of Test_Thing { Name = "two"; Count = 5; State = 3; Bytes = 20; };
)";

class ServiceTest : public CommandTest
{
protected:
    ServiceTest()
    {
        compileMofText(SERVICE_MOF, "service.mof", repository);
        for (const InstanceData* instance : repository.findNamespace(L"root\\cimv2")->instancesOf(L"Test_Thing")) {
            service.instances.push_back(ClassObject::ofInstance(*instance));
        }
        service.execQuery = [this](std::wstring_view) { return service.instances; };
        service.execMethod = [](std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                                IWbemClassObject* outputs) {
            put(ComPtr<IWbemClassObject>(outputs), L"ReturnValue", Variant::ofLong(0));
            if (method == L"Turn") {
                put(ComPtr<IWbemClassObject>(outputs), L"Said",
                    Variant::ofText(std::wstring(path) + L" by " + textOf(*in, L"Degrees")));
            } else if (method == L"Rest" && in != nullptr) {
                return code(WBEM_E_INVALID_METHOD_PARAMETERS);
            }
            return code(WBEM_S_NO_ERROR);
        };
    }

    int runService(std::vector<std::string> arguments)
    {
        service.calls.clear();
        arguments.emplace_back("--service");
        const Redirected standardOut(STD_OUTPUT_HANDLE);
        const Redirected standardError(STD_ERROR_HANDLE);
        const int result = runCommandLine(arguments);
        out = standardOut.text();
        error = standardError.text();
        return result;
    }

    bool called(const std::string& call) const
    {
        return std::find(service.calls.begin(), service.calls.end(), call) != service.calls.end();
    }

    ClassRepository repository;
    FakeServiceBehaviour service;
    const FakeServiceScope serviceScope{service, repository};
};

TEST_F(ServiceTest, List_showsWhatTheServiceHas)
{
    EXPECT_EQ(runService({"list", "Test_Thing", "--property", "Name,State"}), 0) << error;
    EXPECT_EQ(out, "Name  State\n----  --------\none   Enabled\ntwo   Disabled\n");
    EXPECT_EQ(error, "");
    EXPECT_TRUE(called("CreateInstanceEnumAsync Test_Thing"));
    EXPECT_FALSE(called("CreateInstanceEnum Test_Thing"));
}

TEST_F(ServiceTest, Synchronous_makesNoAsynchronousCall)
{
    EXPECT_EQ(runService({"list", "Test_Thing", "--property", "Name", "--synchronous"}), 0) << error;
    EXPECT_EQ(out, "Name\n----\none\ntwo\n");
    EXPECT_EQ(service.calls, (std::vector<std::string>{"GetObject Test_Thing", "CreateInstanceEnum Test_Thing"}));
}

TEST_F(ServiceTest, Classes_areThoseOfTheNamespace)
{
    EXPECT_EQ(runService({"classes", "--namespace", "root/cimv2"}), 0) << error;
    EXPECT_EQ(out,
              "Class       Namespace   Description\n"
              "----------  ----------  -----------\n"
              "Test_Base   root\\cimv2  Anything.\n"
              "Test_Thing  root\\cimv2  A thing.\n"
              "Test_Tool   root\\cimv2\n");
}

TEST_F(ServiceTest, Describe_readsTheClassOfTheService)
{
    EXPECT_EQ(runService({"describe", "Test_Thing"}), 0) << error;
    EXPECT_EQ(out,
              "Test_Thing in root\\cimv2\n"
              "derived from Test_Base\n"
              "A thing.\n"
              "\n"
              "Property  Type    Access  Description\n"
              "--------  ------  ------  ------------------------------\n"
              "Name      string  key\n"
              "Count     uint16  write   How many.\n"
              "State     uint16          Values: 2 Enabled, 3 Disabled.\n"
              "Bytes     uint64          Unit: Bytes.\n"
              "\n"
              "uint32 Turn(in uint16 Degrees, out string Said)\n"
              "    \n"
              "\n"
              "uint32 Rest()\n"
              "    \n"
              "\n"
              "uint32 Count2(out uint32 Total)\n"
              "    \n");
    EXPECT_EQ(runService({"describe", "Test_Thing", "--format", "mof"}), 0) << error;
    const auto definition = repository.findNamespace(L"root\\cimv2")->findClass(L"Test_Thing");
    Bstr text;
    ClassObject::ofClass(definition)->GetObjectText(0, text.put());
    EXPECT_EQ(out, toUtf8(text.view()));
}

TEST_F(ServiceTest, Get_namesTheInstanceWithoutItsNamespace)
{
    EXPECT_EQ(runService({"get", "//./root/cimv2:Test_Thing='one'", "--property", "Count"}), 0) << error;
    EXPECT_EQ(out, "Property  Value\n--------  -----\nCount     3\n");
    EXPECT_TRUE(called("GetObjectAsync Test_Thing.Name=\"one\""));
}

TEST_F(ServiceTest, Set_changesTheInstance)
{
    EXPECT_EQ(runService({"set", "Test_Thing='two'", "Count=9"}), 0) << error;
    EXPECT_NE(out.find("Count     9\n"), std::string::npos) << out;
    EXPECT_EQ(textOf(*service.instances.back().get(), L"Count"), L"9");
}

TEST_F(ServiceTest, Delete_removesTheInstance)
{
    EXPECT_EQ(runService({"delete", "Test_Thing='two'"}), 0) << error;
    EXPECT_EQ(out, "deleted Test_Thing.Name=\"two\"\n");
    EXPECT_EQ(service.instances.size(), 1U);
    EXPECT_EQ(runService({"delete", "Test_Thing='two'"}), 1);
}

TEST_F(ServiceTest, Invoke_sendsTheArguments)
{
    EXPECT_EQ(runService({"invoke", "Test_Thing='two'", "Turn", "Degrees=90"}), 0) << error;
    EXPECT_EQ(out,
              "Output       Value\n"
              "-----------  ---------------------------\n"
              "Said         Test_Thing.Name=\"two\" by 90\n"
              "ReturnValue  0\n");
}

TEST_F(ServiceTest, Invoke_ofAMethodWithoutInputs_sendsNone)
{
    EXPECT_EQ(runService({"invoke", "Test_Thing='two'", "Rest"}), 0) << error;
}

TEST_F(ServiceTest, Invoke_ofAClass_needsAStaticMethod)
{
    EXPECT_EQ(runService({"invoke", "Test_Thing", "Count2"}), 0) << error;
    EXPECT_EQ(runService({"invoke", "Test_Thing", "Turn", "Degrees=1"}), 1);
    EXPECT_NE(error.find("Reason: the path names a class, and Turn is a method of its instances\n"), std::string::npos)
        << error;
    EXPECT_FALSE(called("ExecMethodAsync Turn"));
}

TEST_F(ServiceTest, Query_isAnsweredByTheService)
{
    const std::string query = "SELECT Name FROM Test_Thing WHERE Count = 3";
    EXPECT_EQ(runService({"query", query}), 0) << error;
    EXPECT_EQ(out, "Name\n----\none\ntwo\n");
    EXPECT_TRUE(called("ExecQueryAsync " + query));
    EXPECT_EQ(runService({"query", query, "--local"}), 0) << error;
    EXPECT_EQ(out, "Name\n----\none\n");
    EXPECT_FALSE(called("ExecQueryAsync " + query));
    EXPECT_TRUE(called("CreateInstanceEnumAsync Test_Thing"));
}

TEST_F(ServiceTest, Query_refusedByTheService_saysWhy)
{
    service.failing = {"ExecQueryAsync"};
    service.failure = code(WBEM_E_INVALID_QUERY);
    EXPECT_EQ(runService({"query", "SELECT Name FROM Test_Thing WHERE Count = 'many'"}), 2);
    EXPECT_NE(error.find("at character 43: Count is a number; 'many' is not\n"), std::string::npos) << error;
    EXPECT_EQ(runService({"query", "SELECT Name FROM Test_Thing WHERE Count = 3"}), 1);
    EXPECT_NE(error.find("WBEM_E_INVALID_QUERY"), std::string::npos) << error;
}

TEST_F(ServiceTest, Related_sendsWmisOwnFormOfThePath)
{
    EXPECT_EQ(runService({"related", "//./root/cimv2:Test_Thing='one'", "--where", "ResultClass=Test_Thing"}), 0)
        << error;
    EXPECT_TRUE(
        called("ExecQueryAsync ASSOCIATORS OF {\\\\.\\root\\cimv2:Test_Thing.Name=\"one\"} WHERE "
               "ResultClass=Test_Thing"));
    EXPECT_EQ(runService({"related", "Test_Thing='one'", "--references"}), 0) << error;
    EXPECT_TRUE(called("ExecQueryAsync REFERENCES OF {Test_Thing.Name=\"one\"}"));
}

TEST_F(ServiceTest, RelatedLocal_readsEachAssociationOnce)
{
    compileMofText(R"(#pragma namespace("\\\\.\\root\\cimv2")
[Association] class Test_Link { [key] Test_Thing ref From; [key] Test_Thing ref To; };
[Association] class Test_StrongLink : Test_Link {};
instance of Test_Link { From = "Test_Thing.Name=\"one\""; To = "Test_Thing.Name=\"two\""; };
instance of Test_StrongLink { From = "Test_Thing.Name=\"two\""; To = "Test_Thing.Name=\"one\""; };
)",
                   "links.mof", repository);
    for (const wchar_t* const name : {L"Test_Link", L"Test_StrongLink"}) {
        for (const InstanceData* instance : repository.findNamespace(L"root\\cimv2")->instancesOf(name)) {
            service.instances.push_back(ClassObject::ofInstance(*instance));
        }
    }
    const std::vector<std::string> related{"related",     "Test_Thing='one'", "--local",
                                           "--namespace", "root/cimv2",       "--where"};
    const auto run = [&](const std::string& keywords) {
        std::vector<std::string> arguments = related;
        arguments.push_back(keywords);
        EXPECT_EQ(runService(arguments), 0) << error;
        return out;
    };
    const std::string row = "two       5  Disabled     20\n";
    const std::string head = "Test_Thing\nName  Count  State     Bytes\n----  -----  --------  -----\n";
    EXPECT_EQ(run("KEYSONLY AssocClass=Test_Link"),
              "Test_Thing\nName  Count  State  Bytes\n----  -----  -----  -----\ntwo\ntwo\n");
    EXPECT_EQ(run("AssocClass=Test_StrongLink"), head + row);
    EXPECT_EQ(run("Role=From"), head + row);
    EXPECT_FALSE(std::any_of(service.calls.begin(), service.calls.end(),
                             [](const std::string& call) { return call.starts_with("ExecQuery"); }));
}

TEST_F(ServiceTest, Watch_readsTheCountersOfTheService)
{
    EXPECT_EQ(runService({"watch", "Test_Thing", "--count", "1", "--interval", "10"}), 0) << error;
    EXPECT_EQ(out,
              "Instance  Activity  Bytes\n"
              "--------  --------  -----\n"
              "one                 0 B/s\n"
              "two                 0 B/s\n");
}

TEST_F(ServiceTest, SelfTest_failsWithoutTheProduct)
{
    EXPECT_EQ(runService({"self-test"}), 1);
    EXPECT_NE(out.find("enumerate  FAILED   WBEM_E_INVALID_CLASS"), std::string::npos) << out;
}

TEST_F(ServiceTest, UnknownClass_failsInEveryCommand)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"list", "Nope"},
                                                      {"describe", "Nope"},
                                                      {"get", "Nope='x'"},
                                                      {"set", "Nope='x'", "A=1"},
                                                      {"delete", "Nope='x'"},
                                                      {"invoke", "Nope='x'", "Do"},
                                                      {"watch", "Nope", "--count", "1"}})
    {
        EXPECT_EQ(runService(arguments), 1) << arguments.front();
        EXPECT_NE(error.find("  WBEM_E_INVALID_CLASS (0x80041010): there is no such class\n"
                             "  Reason: WMI has no class Nope in root\\DCIM\\vexal, root\\interop, root\\cimv2; "
                             "--namespace names another namespace\n"),
                  std::string::npos)
            << error;
    }
}

TEST_F(ServiceTest, UnknownNamespace_failsInEveryCommand)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"classes"},
                                                      {"list", "Test_Thing"},
                                                      {"describe", "Test_Thing"},
                                                      {"get", "Test_Thing='x'"},
                                                      {"delete", "Test_Thing='x'"},
                                                      {"watch", "Test_Thing", "--count", "1"}})
    {
        std::vector<std::string> withNamespace = arguments;
        withNamespace.insert(withNamespace.end(), {"--namespace", "root\\nope"});
        EXPECT_EQ(runService(withNamespace), 1) << arguments.front();
        EXPECT_NE(error.find("  Reason: WMI does not open the namespace root\\nope\n"), std::string::npos) << error;
    }
}

TEST_F(ServiceTest, ClassWithoutKeyQualifiers_takesThePathAsItIs)
{
    service.withoutQualifiers = true;
    EXPECT_EQ(runService({"get", "Test_Thing.Name='one'", "--property", "Count"}), 0) << error;
    EXPECT_EQ(out, "Property  Value\n--------  -----\nCount     3\n");
    EXPECT_EQ(runService({"watch", "Test_Thing", "--property", "Bytes", "--count", "1", "--interval", "10"}), 0)
        << error;
    EXPECT_EQ(out,
              "Instance               Activity  Bytes\n"
              "---------------------  --------  -----\n"
              "Test_Thing.Name=\"one\"             0 /s\n"
              "Test_Thing.Name=\"two\"             0 /s\n");
}

struct RefusedCall
{
    const char* operation;  // the operation that the service refuses with 0x80041001
    std::vector<std::string> arguments;
};

void PrintTo(const RefusedCall& row, std::ostream* stream)
{
    *stream << row.operation;
}

class RefusedCalls : public ServiceTest, public testing::WithParamInterface<RefusedCall>
{
};

// If the service refuses an asynchronous call, it is made synchronously. A refused synchronous call fails the command.
TEST_P(RefusedCalls, FallBackOrFail)
{
    const std::string operation = GetParam().operation;
    service.refused = {operation, operation + "Async"};
    EXPECT_EQ(runService(GetParam().arguments), 1) << out;
    EXPECT_NE(error.find("  WBEM_E_FAILED (0x80041001): the request failed\n"), std::string::npos) << error;
    EXPECT_EQ(out, "");

    service.refused = {operation + "Async"};
    EXPECT_EQ(runService(GetParam().arguments), 0) << error;
    const auto starts = [&](const std::string& name) {
        return std::any_of(service.calls.begin(), service.calls.end(),
                           [&](const std::string& call) { return call == name || call.starts_with(name + " "); });
    };
    EXPECT_TRUE(starts(operation + "Async"));
    EXPECT_TRUE(starts(operation));
}

INSTANTIATE_TEST_SUITE_P(Table, RefusedCalls,
                         testing::Values(RefusedCall{"GetObject", {"get", "Test_Thing='one'"}},
                                         RefusedCall{"CreateInstanceEnum", {"list", "Test_Thing"}},
                                         RefusedCall{"ExecQuery", {"query", "SELECT * FROM Test_Thing"}},
                                         RefusedCall{"CreateClassEnum", {"classes", "--namespace", "root\\cimv2"}},
                                         RefusedCall{"PutInstance", {"set", "Test_Thing='one'", "Count=1"}},
                                         RefusedCall{"DeleteInstance", {"delete", "Test_Thing='one'"}},
                                         RefusedCall{"ExecMethod", {"invoke", "Test_Thing='one'", "Rest"}}),
                         [](const auto& row) { return std::string(row.param.operation); });

TEST_F(ServiceTest, FailureOfAStartedCall_isFinal)
{
    service.failing = {"ExecMethodAsync", "DeleteInstanceAsync"};
    service.failure = code(WBEM_E_FAILED);
    EXPECT_EQ(runService({"invoke", "Test_Thing='one'", "Rest"}), 1);
    EXPECT_FALSE(called("ExecMethod Rest"));
    EXPECT_EQ(runService({"delete", "Test_Thing='one'"}), 1);
    EXPECT_EQ(service.instances.size(), 2U);
}

TEST_F(ServiceTest, OptionsOfTheProcessAlone_areRefused)
{
    EXPECT_EQ(runService({"list", "Test_Thing", "--impersonation", "none"}), 2);
    EXPECT_NE(error.find("--impersonation none is for the provider in this process"), std::string::npos) << error;
    EXPECT_EQ(runService({"--mof", "x.mof", "list", "Test_Thing"}), 2);
    EXPECT_NE(error.find("--mof is for the provider in this process"), std::string::npos) << error;
    EXPECT_EQ(run({"list", "Fake_Thing", "--synchronous"}), 2);
    EXPECT_NE(error.find("--synchronous is for the machine's WMI, and needs --service"), std::string::npos) << error;
    EXPECT_TRUE(service.calls.empty());
}

}  // namespace
}  // namespace wmihost
