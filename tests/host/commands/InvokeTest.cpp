#include "tests/host/CommandTest.h"

namespace host {
namespace {

using InvokeTest = CommandTest;

TEST_F(InvokeTest, InvokePassesArgumentsAndShowsOutputs)
{
    std::wstring given;
    behaviour.execMethod = [&given](IWbemServices& ns, std::wstring_view method, IWbemClassObject* in,
                                    IWbemObjectSink* sink) {
        Bstr text;
        in->GetObjectText(0, text.put());
        given = text.view();
        const auto outputs = spawnOutputs(ns, L"Fake_Thing", std::wstring(method).c_str());
        put(outputs, L"ReturnValue", Variant::ofLong(5));
        if (method == L"Turn") {
            put(outputs, L"Said", Variant::ofText(L"no"));
        }
        deliver(sink, outputs);
        return finish(sink);
    };
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "turn", "degrees=90"}), 0);
    EXPECT_EQ(given, L"instance of __PARAMETERS\n{\n    Degrees = 90;\n};\n");
    EXPECT_EQ(out, "Output       Value\n-----------  -----------\nSaid         no\nReturnValue  5 (Invalid)\n");
    EXPECT_EQ(run({"invoke", "Fake_Thing=\"one\"", "Rest", "--format", "json"}), 0);
    EXPECT_EQ(given, L"instance of __PARAMETERS\n{\n};\n");
    EXPECT_EQ(out, "{\n  \"ReturnValue\": 5\n}\n");
}

}  // namespace
}  // namespace host
