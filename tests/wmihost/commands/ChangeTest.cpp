#include "tests/wmihost/commands/ServedInstances.h"

namespace wmihost {
namespace {

// A provider that stores the instances that are put, and accepts every deletion.
class ChangeTest : public ServedInstances
{
protected:
    ChangeTest()
    {
        serve(R"(
instance of __InstanceProviderRegistration
{
    Provider = "__Win32Provider.Name=\"FakeProvider\"";
    SupportsGet = TRUE;
    SupportsPut = TRUE;
    SupportsDelete = TRUE;
};
[dynamic, provider("FakeProvider")] class Fake_List { [key] string Name; uint16 Numbers[]; string Texts[]; };
[dynamic, provider("FakeProvider")]
class Fake_Limits
{
    [key] string Name;
    [write, MinValue(2), MaxValue(600)] uint16 Count;
    [write, MinLen(2), MaxLen(5)] string Tag;
    [write, ValueMap{"1", "2"}, Values{"On", "Off"}] uint16 Mode;
    [write, MaxValue(100)] uint64 Big;
    [read] string Fixed;
};
instance of Fake_Thing { Name = "one"; State = 2; };
instance of Fake_List { Name = "one"; };
instance of Fake_Limits { Name = "one"; };
)");
        behaviour.put = [this](IWbemClassObject* object, LONG flags, IWbemObjectSink* sink) {
            EXPECT_EQ(flags, WBEM_FLAG_UPDATE_ONLY);
            keep(*object);
            return finish(sink);
        };
        behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    }

    void answerPuts(HRESULT status)
    {
        behaviour.put = [status](IWbemClassObject*, LONG, IWbemObjectSink* sink) { return finish(sink, status); };
    }
};

TEST_F(ChangeTest, Set_answersAsRecorded)
{
    expectSession("commands/set.session");
}

// The provider accepts the update and changes nothing.
TEST_F(ChangeTest, Set_showsWhatTheProviderKept)
{
    answerPuts(code(WBEM_S_NO_ERROR));
    expectSession("commands/set-not-kept.session");
}

TEST_F(ChangeTest, Set_refusedByTheProvider_fails)
{
    answerPuts(code(WBEM_E_ACCESS_DENIED));
    expectSession("commands/set-refused.session");
}

TEST_F(ChangeTest, Refusal_namesTheLimit)
{
    answerPuts(code(WBEM_E_INVALID_PARAMETER));
    expectSession("commands/set-limits.session");
}

TEST_F(ChangeTest, Delete_saysWhatItDeleted)
{
    expectSession("commands/delete.session");
}

TEST_F(ChangeTest, Delete_refusedByTheProvider_fails)
{
    behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) {
        return finish(sink, code(WBEM_E_NOT_SUPPORTED));
    };
    expectSession("commands/delete-refused.session");
}

}  // namespace
}  // namespace wmihost
