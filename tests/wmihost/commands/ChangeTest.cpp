#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

constexpr const char* DELETABLE =
    "instance of __InstanceProviderRegistration { Provider = \"__Win32Provider.Name=\\\"FakeProvider\\\"\"; "
    "SupportsDelete = TRUE; };\n";

// A provider that stores the values that are put.
class ChangeTest : public CommandTest
{
protected:
    ChangeTest()
    {
        behaviour.get = [this](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
            if (kept) {
                deliver(sink, kept);
            } else {
                deliver(ns, sink, L"one", 2);
            }
            return finish(sink);
        };
        behaviour.put = [this](IWbemClassObject* object, LONG flags, IWbemObjectSink* sink) {
            EXPECT_EQ(flags, WBEM_FLAG_UPDATE_ONLY);
            kept = ComPtr<IWbemClassObject>(object);
            return finish(sink);
        };
        behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    }

    ComPtr<IWbemClassObject> kept;
};

TEST_F(ChangeTest, Set_answersAsRecorded)
{
    addToMof(
        "[dynamic, provider(\"FakeProvider\")] class Fake_List { [key] string Name; uint16 Numbers[]; "
        "string Texts[]; };\n");
    behaviour.get = [this, get = behaviour.get](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
        if (!path.starts_with(L"Fake_List")) {
            return get(ns, path, sink);
        }
        const auto list = spawn(ns, L"Fake_List");
        put(list, L"Name", Variant::ofText(L"one"));
        deliver(sink, list);
        return finish(sink);
    };
    expectSession("commands/set.session");
}

// The provider accepts the update and changes nothing.
TEST_F(ChangeTest, Set_showsWhatTheProviderKept)
{
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) { return finish(sink); };
    expectSession("commands/set-not-kept.session");
}

TEST_F(ChangeTest, Set_refusedByTheProvider_fails)
{
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_ACCESS_DENIED));
    };
    expectSession("commands/set-refused.session");
}

TEST_F(ChangeTest, Refusal_namesTheLimit)
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
    expectSession("commands/set-limits.session");
}

TEST_F(ChangeTest, Delete_saysWhatItDeleted)
{
    addToMof(DELETABLE);
    expectSession("commands/delete.session");
}

TEST_F(ChangeTest, Delete_refusedByTheProvider_fails)
{
    addToMof(DELETABLE);
    behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_NOT_SUPPORTED));
    };
    expectSession("commands/delete-refused.session");
}

}  // namespace
}  // namespace wmihost
