#include "wmihost/commands/Requests.h"

#include "tests/wmihost/CommandTest.h"
#include "wmihost/session/Workspace.h"

namespace wmihost {
namespace {

class RequestsTest : public CommandTest
{
protected:
    // The text of the failure after its status.
    std::string failureOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const RequestError& failure) {
            status = failure.status();
            return failure.what();
        } catch (const UsageError& failure) {
            return std::string("usage: ") + failure.what();
        }
        return "no failure";
    }

    Workspace workspace{mof};
    const ClassTarget thing = workspace.findClass(L"Fake_Thing", L"");
    const InstanceTarget one = workspace.findInstance(L"Fake_Thing=\"one\"", L"");
    const CommandOptions options;
    HRESULT status = 0;
};

TEST_F(RequestsTest, Get_bringsOneObjectOrFails)
{
    EXPECT_TRUE(getInstance(workspace, one, options));
    behaviour.get = [](IWbemServices&, std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    EXPECT_EQ(failureOf([&] { getInstance(workspace, one, options); }), "the provider delivered 0 objects, not one");
    EXPECT_EQ(status, code(WBEM_E_PROVIDER_FAILURE));
    behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        deliver(ns, sink, L"one", 2);
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    EXPECT_EQ(failureOf([&] { getInstance(workspace, one, options); }), "the provider delivered 2 objects, not one");
}

TEST_F(RequestsTest, SuccessCode_isNoFailure)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        deliver(ns, sink, L"one", 2);
        return finish(sink, code(WBEM_S_PARTIAL_RESULTS));
    };
    EXPECT_EQ(enumerateInstances(workspace, thing, options).size(), 1U);
}

TEST_F(RequestsTest, Conditions_allHaveToHold)
{
    const auto left = [this](const std::vector<const char*>& conditions) {
        CommandOptions chosen;
        for (const char* condition : conditions) {
            chosen.conditions.push_back(wql::parseCondition(condition));
        }
        Objects objects = enumerateInstances(workspace, thing, options);
        applyConditions(objects, *thing.definition, chosen);
        return objects.size();
    };
    EXPECT_EQ(left({}), 2U);
    EXPECT_EQ(left({"name=ONE"}), 1U);
    EXPECT_EQ(left({"State=disabled"}), 1U);
    EXPECT_EQ(left({"Count=3"}), 2U);
    EXPECT_EQ(left({"Count=3", "State=2"}), 1U);
    EXPECT_EQ(left({"Bytes IS NULL"}), 2U);
    EXPECT_EQ(left({"Bytes=1"}), 0U);
    EXPECT_EQ(left({"__RELPATH=Fake_Thing.Name=\"two\""}), 1U);
}

TEST_F(RequestsTest, Enumeration_bringsTheDerivedClassesToo)
{
    addToMof(R"(
[dynamic, provider("FakeProvider")] class Fake_Derived : Fake_Thing {};
[dynamic, provider("FakeProvider")] class Fake_Leaf : Fake_Orphan {};
class Fake_Abstract : Fake_Thing {};
)");
    Workspace larger(mof);
    std::vector<std::wstring> asked;
    behaviour.enumerate = [&](IWbemServices&, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
        asked.emplace_back(name);
        return finish(sink);
    };
    enumerateInstances(larger, larger.findClass(L"Fake_Thing", L""), options);
    EXPECT_EQ(asked, (std::vector<std::wstring>{L"Fake_Thing", L"Fake_Derived"}));
    asked.clear();
    enumerateInstances(larger, larger.findClass(L"Fake_Orphan", L""), options);
    EXPECT_EQ(asked, (std::vector<std::wstring>{L"Fake_Leaf"}));
    asked.clear();
    enumerateExactly(larger, larger.findClass(L"Fake_Thing", L""), options);
    EXPECT_EQ(asked, (std::vector<std::wstring>{L"Fake_Thing"}));
    const ClassTarget alone = larger.findClass(L"Fake_Abstract", L"");
    EXPECT_EQ(failureOf([&] { enumerateInstances(larger, alone, options); }),
              "the class Fake_Abstract names no provider");
}

TEST_F(RequestsTest, Assignment_isReadByThePropertysType)
{
    const auto object = getInstance(workspace, one, options);
    const auto set = [&](const wchar_t* name, const wchar_t* value) {
        return failureOf([&] { assign(*object.get(), *thing.definition, {name, value}); });
    };
    EXPECT_EQ(set(L"count", L"0x10"), "no failure");
    EXPECT_EQ(set(L"State", L"NULL"), "no failure");
    Bstr text;
    object->GetObjectText(0, text.put());
    EXPECT_EQ(text.view(), L"instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 16;\n};\n");
    EXPECT_EQ(set(L"Count", L"many"), "usage: Count: 'many' is no uint16: a whole number from 0 to 65535");
    EXPECT_EQ(set(L"Colour", L"red"), "the class Fake_Thing has no property Colour");
    EXPECT_EQ(set(L"__PATH", L"x"), "the object takes no such value");
    EXPECT_EQ(status, code(WBEM_E_READ_ONLY));
}

TEST_F(RequestsTest, Method_withoutInputs_takesNone)
{
    const Method& rest = *thing.definition->findMethod(L"Rest");
    EXPECT_EQ(failureOf([&] {
                  invokeMethod(workspace, one, rest, {{L"x", L"1"}}, options);
              }),
              "the method Rest takes no argument x");
    EXPECT_EQ(status, code(WBEM_E_INVALID_METHOD_PARAMETERS));
    behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject* in, IWbemObjectSink* sink) {
        EXPECT_EQ(in, nullptr);
        return finish(sink);
    };
    EXPECT_FALSE(invokeMethod(workspace, one, rest, {}, options));
}

}  // namespace
}  // namespace wmihost
