#include "wmihost/commands/Requests.h"

#include "tests/wmihost/CommandTest.h"
#include "wmihost/session/Workspace.h"

namespace wmihost {
namespace {

class RequestsTest : public CommandTest
{
protected:
    // The text of the failure, behind its status.
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

TEST_F(RequestsTest, AGetBringsOneObjectOrFails)
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

TEST_F(RequestsTest, ASuccessCodeIsNoFailure)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        deliver(ns, sink, L"one", 2);
        return finish(sink, code(WBEM_S_PARTIAL_RESULTS));
    };
    EXPECT_EQ(enumerateInstances(workspace, thing, options).size(), 1U);
}

TEST_F(RequestsTest, ConditionsMatchValuesAndWordsWithoutCase)
{
    const auto left = [this](const wchar_t* name, const wchar_t* value) {
        CommandOptions chosen;
        chosen.conditions = {{name, value}};
        Objects objects = enumerateInstances(workspace, thing, options);
        applyConditions(objects, *thing.definition, chosen);
        return objects.size();
    };
    EXPECT_EQ(left(L"name", L"ONE"), 1U);
    EXPECT_EQ(left(L"State", L"3"), 1U);
    EXPECT_EQ(left(L"State", L"disabled"), 1U);
    EXPECT_EQ(left(L"Count", L"3"), 2U);
    EXPECT_EQ(left(L"Bytes", L""), 2U);
    EXPECT_EQ(left(L"__RELPATH", L"Fake_Thing.Name=\"two\""), 1U);
    EXPECT_EQ(left(L"Name", L"three"), 0U);
    EXPECT_EQ(failureOf([&] { left(L"Colour", L"red"); }), "the class Fake_Thing has no property Colour");
    EXPECT_EQ(status, code(WBEM_E_INVALID_PROPERTY));
}

TEST_F(RequestsTest, AnAssignmentReadsTheTextByTheTypeOfTheProperty)
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

TEST_F(RequestsTest, AMethodWithoutInputsTakesNone)
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
