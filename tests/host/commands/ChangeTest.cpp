#include "tests/host/CommandTest.h"

namespace host {
namespace {

using ChangeTest = CommandTest;

TEST_F(ChangeTest, SetGetsChangesAndPuts)
{
    std::wstring sent;
    behaviour.put = [&sent](IWbemClassObject* object, LONG, IWbemObjectSink* sink) {
        Bstr text;
        object->GetObjectText(0, text.put());
        sent = text.view();
        return finish(sink);
    };
    EXPECT_EQ(run({"set", "Fake_Thing=\"one\"", "count=7", "State=null"}), 0);
    EXPECT_EQ(sent, L"instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 7;\n};\n");
    // What is shown was read anew: this provider forgets what it is told.
    EXPECT_EQ(out,
              "Property  Value\n"
              "--------  -----------\n"
              "Name      one\n"
              "Count     3\n"
              "State     2 (Enabled)\n"
              "Bytes\n");
}

TEST_F(ChangeTest, DeleteSaysWhatItDeleted)
{
    std::ofstream(mof) << fakeMof
                       << "instance of __InstanceProviderRegistration { Provider = "
                          "\"__Win32Provider.Name=\\\"FakeProvider\\\"\"; SupportsDelete = TRUE; };\n";
    std::wstring asked;
    behaviour.remove = [&asked](std::wstring_view path, IWbemObjectSink* sink) {
        asked = path;
        return finish(sink);
    };
    EXPECT_EQ(run({"delete", "Fake_Thing=\"one\""}), 0);
    EXPECT_EQ(asked, L"Fake_Thing.Name=\"one\"");
    EXPECT_EQ(out, "deleted Fake_Thing.Name=\"one\"\n");
    EXPECT_EQ(error, "");
}

}  // namespace
}  // namespace host
