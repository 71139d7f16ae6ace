#include "tests/wmihost/CommandTest.h"
#include "wmihost/objects/ObjectReader.h"

namespace wmihost {
namespace {

// A provider whose methods return a refusal. The method Answer returns its argument.
class InvokeTest : public CommandTest
{
protected:
    InvokeTest()
    {
        addToMof(
            "[dynamic, provider(\"FakeProvider\")] class Fake_Quiet { [key] string Name; "
            "[implemented] void Hush(); [implemented] uint32 Add([in] uint16 Numbers[], [out] uint64 Sum); "
            "[implemented, ValueMap{\"7\"}, Values{\"Successful, with a restart\"}] uint32 Answer([in] uint32 Value); "
            "};\n"
            "#pragma namespace(\"root\\\\still\")\n"
            "instance of __Win32Provider { Name = \"FakeProvider\"; "
            "CLSID = \"{5F3C2A10-7B1E-4D52-9A31-0C445E6F7081}\"; };\n"
            "[dynamic, provider(\"FakeProvider\")] class Fake_Still { [key] string Name; "
            "[implemented] uint32 Move(); };\n");
        behaviour.execMethod = [this](IWbemServices& ns, std::wstring_view method, IWbemClassObject* in,
                                      IWbemObjectSink* sink) {
            if (method == L"Answer") {
                const auto outputs = spawnOutputs(ns, L"Fake_Quiet", L"Answer");
                put(outputs, L"ReturnValue", Variant::ofText(textOf(*in, L"Value")));
                deliver(sink, outputs);
            } else if (method == L"Turn" || method == L"Rest" || method == L"Tilt") {
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

    long returned = 5;
};

TEST_F(InvokeTest, Invoke_answersAsRecorded)
{
    expectSession("commands/invoke.session");
}

TEST_F(InvokeTest, CallThatFails_namesTheLimit)
{
    behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_INVALID_PARAMETER));
    };
    expectSession("commands/invoke-failed.session");
}

TEST_F(InvokeTest, Wait_withoutAJob_ends)
{
    returned = 0;
    expectSession("commands/invoke-wait.session");
}

}  // namespace
}  // namespace wmihost
