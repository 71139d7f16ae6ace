#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"

namespace wmihost {
namespace {

// A provider whose methods record their arguments. Turn returns a refusal.
class InvokeTest : public CommandTest
{
protected:
    InvokeTest()
    {
        addToMof(
            "[dynamic, provider(\"FakeProvider\")] class Fake_Quiet { [key] string Name; "
            "[implemented] void Hush(); [implemented] uint32 Add([in] uint16 Numbers[], [out] uint64 Sum); };\n"
            "#pragma namespace(\"root\\\\still\")\n"
            "instance of __Win32Provider { Name = \"FakeProvider\"; "
            "CLSID = \"{5F3C2A10-7B1E-4D52-9A31-0C445E6F7081}\"; };\n"
            "[dynamic, provider(\"FakeProvider\")] class Fake_Still { [key] string Name; "
            "[implemented] uint32 Move(); };\n");
        behaviour.execMethod = [this](IWbemServices& ns, std::wstring_view method, IWbemClassObject* in,
                                      IWbemObjectSink* sink) {
            given = std::wstring(method) + L": ";
            if (in == nullptr) {
                given += L"no object";
            } else {
                Bstr text;
                EXPECT_EQ(in->GetObjectText(0, text.put()), 0);
                given += text.view();
            }
            if (method == L"Turn" || method == L"Rest" || method == L"Tilt") {
                const auto outputs = spawnOutputs(ns, L"Fake_Thing", std::wstring(method).c_str());
                put(outputs, L"ReturnValue", Variant::ofLong(returned));
                if (method == L"Turn") {
                    put(outputs, L"Said", Variant::ofText(L"no"));
                }
                deliver(sink, outputs);
            }
            return finish(sink);
        };
    }

    std::wstring given;
    long returned = 5;
};

TEST_F(InvokeTest, Outputs_haveTheReturnValuesWord)
{
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "turn", "degrees=90"}), 1);
    EXPECT_EQ(given, L"Turn: instance of __PARAMETERS\n{\n    Degrees = 90;\n};\n");
    EXPECT_EQ(out, "Output       Value\n-----------  -----------\nSaid         no\nReturnValue  5 (Invalid)\n");
    EXPECT_EQ(error, "wmihost invoke: Turn returned 5 (Invalid)\n");
}

TEST_F(InvokeTest, ShowsOutputsInEachFormat)
{
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn", "--format", "json"}), 1);
    EXPECT_EQ(out, "{\n  \"Said\": \"no\",\n  \"ReturnValue\": 5\n}\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn", "--format", "mof"}), 1);
    EXPECT_EQ(out, "instance of __PARAMETERS\n{\n    Said = \"no\";\n    ReturnValue = 5;\n};\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn", "--format", "csv"}), 1);
    EXPECT_EQ(out, "Said,ReturnValue\r\nno,5\r\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "--format", "table"}), 1);
    EXPECT_EQ(out, "Output       Value\n-----------  -----\nReturnValue  5\n");
}

TEST_F(InvokeTest, AnArgumentThatIsNotNamedIsNull)
{
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn"}), 1);
    EXPECT_EQ(given, L"Turn: no object");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn", "Degrees=null"}), 1);
    EXPECT_EQ(given, L"Turn: instance of __PARAMETERS\n{\n};\n");
}

TEST_F(InvokeTest, AnArgumentMayBeAnArray)
{
    EXPECT_EQ(run({"invoke", "Fake_Quiet=\"one\"", "Add", "Numbers=1,2"}), 1);
    EXPECT_EQ(given, L"Add: instance of __PARAMETERS\n{\n    Numbers = {1, 2};\n};\n");
}

TEST_F(InvokeTest, AMethodWithoutOutputsHasNoneToShow)
{
    EXPECT_EQ(run({"invoke", "Fake_Quiet=\"one\"", "Hush"}), 0);
    EXPECT_EQ(given, L"Hush: no object");
    EXPECT_EQ(out, "");
    EXPECT_EQ(error, "the method delivered no outputs\n");
}

TEST_F(InvokeTest, Method_withoutItsOutputs_hasFailed)
{
    EXPECT_EQ(run({"invoke", "Fake_Quiet=\"one\"", "Add"}), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error, "the method delivered no outputs\n");
}

TEST_F(InvokeTest, ThereIsNothingToWaitForWithoutAJob)
{
    returned = 0;
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "--wait"}), 0);
    EXPECT_EQ(out, "Output       Value\n-----------  -----\nReturnValue  0\n");
    EXPECT_EQ(error, "");
}

TEST_F(InvokeTest, Refusal_namesTheLimitOfTheArgument)
{
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Tilt", "Angle=91", "Axis=3"}), 1);
    EXPECT_EQ(error,
              "wmihost invoke: Tilt returned 5\n"
              "  Reason: Angle: 91 is above its MaxValue, 90; Axis: 3 is not in its ValueMap: 1 Long, 2 Short\n");
}

TEST_F(InvokeTest, FailedCall_namesTheLimitOfTheArgument)
{
    behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_INVALID_PARAMETER));
    };
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Tilt", "Angle=91"}), 1);
    EXPECT_NE(error.find("\n  Reason: Angle: 91 is above its MaxValue, 90\n"), std::string::npos) << error;
}

TEST_F(InvokeTest, Words_areTheNumbersTheyStandFor)
{
    run({"invoke", "Fake_Thing=\"one\"", "Tilt", "Axis=SHORT"});
    EXPECT_EQ(given, L"Tilt: instance of __PARAMETERS\n{\n    Axis = 2;\n};\n");
}

struct Returned
{
    const char* name;
    long value;
    int exitCode;
};

class ReturnValues : public InvokeTest, public testing::WithParamInterface<Returned>
{
};

TEST_P(ReturnValues, DecideTheExitCode)
{
    returned = GetParam().value;
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Tilt"}), GetParam().exitCode);
}

INSTANTIATE_TEST_SUITE_P(Table, ReturnValues,
                         testing::Values(Returned{"Completed", 0, 0}, Returned{"JobStarted", 4096, 0},
                                         Returned{"SuccessByItsWord", 7, 0}, Returned{"Refused", 5, 1},
                                         Returned{"InvalidTransition", 4097, 1}),
                         rowName);

TEST_F(InvokeTest, AnArgumentOfAnotherTypeIsNotSent)
{
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Turn", "Degrees=left"}), 2);
    EXPECT_EQ(error,
              "wmihost invoke: Degrees: 'left' is no uint16: a whole number from 0 to 65535\n"
              "  Example: wmihost invoke 'Zerix_EthernetPort.DeviceID=\"...\",...' RunLinkDiagnostic SampleCount=5 "
              "--wait\n"
              "  wmihost invoke --help shows all that it takes\n");
    EXPECT_EQ(given, L"");
}

TEST_F(InvokeTest, WhatTheProviderRefusesIsAFailure)
{
    behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_INVALID_METHOD_PARAMETERS));
    };
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "--wait"}), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error,
              "wmihost invoke Fake_Thing=\"one\" Rest --wait: failed\n"
              "  WBEM_E_INVALID_METHOD_PARAMETERS (0x8004102F): the arguments do not fit the method, or what it is to "
              "act on does not exist\n"
              "  Try: describe the class to see the parameters, and list it to see the instances\n");
}

TEST_F(InvokeTest, Provider_notRegistered_isNotCalled)
{
    EXPECT_EQ(run({"invoke", "Fake_Still=\"one\"", "Move"}), 1);
    EXPECT_EQ(given, L"");
    EXPECT_EQ(error,
              "wmihost invoke Fake_Still=\"one\" Move: failed\n"
              "  WBEM_E_PROVIDER_NOT_CAPABLE (0x80041024): the provider cannot do this\n"
              "  Try: the registration in the MOF says what it supports; instances can be updated, not created\n");
}

}  // namespace
}  // namespace wmihost
