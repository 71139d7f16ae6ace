#include <stdexcept>

#include "Utils/Exception.h"
#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::assertionText;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;

constexpr const char* PATH = "Zerix_X.k=\"v\"";

class PropertyOfNoKnownType : public core::CimPropertyString
{
public:
    using CimPropertyString::CimPropertyString;
    EPropertyType getType() const override { return static_cast<EPropertyType>(77); }
};

class MethodInvocationTest : public WmiTest
{
protected:
    ~MethodInvocationTest() override
    {
        EXPECT_EQ(inParams.references(), 0);
        EXPECT_EQ(classObject.references(), 0);
        EXPECT_EQ(signature.references(), 0);
        EXPECT_EQ(signature.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        wmiNamespace.classes["Zerix_X"] = &classObject;
        classObject.methods["Run"] = &signature;
        samples::addKey(job, "InstanceID", "7");
    }

    void invoke(const std::string& path = PATH)
    {
        converter.InvokeMethod(path, "Run", &wmiNamespace, &context, &inParams, &sink);
    }

    // The calls after the broker has answered.
    Lines callsBehindBroker()
    {
        Lines all = calls.take();
        auto call = all.begin();
        while (call != all.end() && call->rfind("broker.invokeMethod", 0) != 0) {
            ++call;
        }
        return call == all.end() ? Lines{"the broker was not asked"} : Lines(call + 1, all.end());
    }

    support::FakeClassObject inParams{calls, "in"};
    support::FakeClassObject classObject{calls, "Zerix_X"};
    support::FakeClassObject signature{calls, "Run.out"};
    core::CimInstance job{"Zerix_ConcreteJob"};
    wa::WmiConverter converter;
};

const std::string ASKED = "namespace.GetObject(Zerix_X, 0, context, out, null)";
const Lines SPAWNED_AGAIN{ASKED, "Zerix_X.GetMethod(Run, 0, null, out)", "Run.out.SpawnInstance(0)"};
const Lines GIVEN_BACK{"Run.out#2 released", "Run.out released", "Zerix_X released"};

TEST_F(MethodInvocationTest, Arguments_areAssertedInTheirOrder)
{
    const std::vector<std::pair<std::string, std::function<void()>>> steps{
        {"(int)objectPath.size() != 0", [&] { converter.InvokeMethod("", "", nullptr, nullptr, nullptr, nullptr); }},
        {"(int)methodName.size() != 0", [&] { converter.InvokeMethod(PATH, "", nullptr, nullptr, nullptr, nullptr); }},
        {"pNamespace != NULL", [&] { converter.InvokeMethod(PATH, "Run", nullptr, nullptr, nullptr, nullptr); }},
        {"pCtx != NULL", [&] { converter.InvokeMethod(PATH, "Run", &wmiNamespace, nullptr, nullptr, nullptr); }},
        {"pInParams != NULL", [&] { converter.InvokeMethod(PATH, "Run", &wmiNamespace, &context, nullptr, nullptr); }},
        {"pResponseHandler != NULL",
         [&] { converter.InvokeMethod(PATH, "Run", &wmiNamespace, &context, &inParams, nullptr); }}};
    for (const auto& [condition, step] : steps) {
        EXPECT_EQ(withoutLine(thrownBy(step)), assertionText(condition));
    }
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(MethodInvocationTest, JobWithoutAParameter_isNotWritten)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 0U;
    };
    invoke();
    EXPECT_EQ(callsBehindBroker(),
              SPAWNED_AGAIN + (Lines{"Run.out#2.Put(ReturnValue, 0, VT_I4 0, 0)", "sink.Indicate(1, Run.out#2)"}) +
                  GIVEN_BACK);
}

TEST_F(MethodInvocationTest, ReturnValue_isTheBrokersResult)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        static_cast<core::CimPropertyUint32*>(out.findProperty("ReturnValue"))->setValue(5);
        return 4294967295U;
    };
    invoke();
    EXPECT_EQ(callsBehindBroker(),
              SPAWNED_AGAIN + (Lines{"Run.out#2.Put(ReturnValue, 0, VT_I4 -1, 0)", "sink.Indicate(1, Run.out#2)"}) +
                  GIVEN_BACK);
}

TEST_F(MethodInvocationTest, NullOutputs_areWritten)
{
    signature.add("Number", samples::null(), CIM_UINT16);
    signature.add("Text", samples::null(), CIM_STRING);
    invoke();
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN +
                                       (Lines{"Run.out#2.Put(Number, 0, VT_I4 0, 0)",
                                              "Run.out#2.Put(Text, 0, VT_BSTR '', 0)", "sink.Indicate(1, Run.out#2)"}) +
                                       GIVEN_BACK);
}

TEST_F(MethodInvocationTest, NullReference_fails)
{
    signature.add("Port", samples::null(), CIM_REFERENCE);
    EXPECT_EQ(withoutLine(thrownBy([&] { invoke(); })), assertionText("value != NULL"));
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputWithoutAConverter_fails)
{
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        auto* strange = new PropertyOfNoKnownType("Strange");
        out.add(strange);
        return 0U;
    };
    EXPECT_EQ(withoutLine(thrownBy([&] { invoke(); })), assertionText("converter != NULL"));
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputOfTheBrokersOwn_isWritten)
{
    signature.add("Done", samples::null(), CIM_BOOLEAN);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        auto* done = new core::CimPropertyBool("Done");
        done->setValue(true);
        out.add(done);
        return 0U;
    };
    invoke();
    EXPECT_EQ(
        callsBehindBroker(),
        SPAWNED_AGAIN + (Lines{"Run.out#2.Put(Done, 0, VT_BOOL 1, 0)", "sink.Indicate(1, Run.out#2)"}) + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OverriddenOutput_isLeftOut)
{
    signature.add("Text", samples::bstr("default"), CIM_STRING);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        auto* number = new core::CimPropertyUint16("Text");
        number->setValue(3);
        out.add(number);
        return 0U;
    };
    invoke();
    EXPECT_EQ(
        callsBehindBroker(),
        SPAWNED_AGAIN + (Lines{"Run.out#2.Put(Text, 0, VT_I4 3, 0)", "sink.Indicate(1, Run.out#2)"}) + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputNames_matchWhole)
{
    signature.add("ReturnValueX", samples::bstr("a"), CIM_STRING);
    signature.add("JobX", samples::bstr("b"), CIM_STRING);
    signature.add("ReturnValu", samples::bstr("c"), CIM_STRING);
    signature.add("Jo", samples::bstr("d"), CIM_STRING);
    signature.add("job", samples::bstr("e"), CIM_STRING);
    signature.add("returnvalue", samples::bstr("f"), CIM_STRING);
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 5U;
    };
    invoke();
    EXPECT_EQ(callsBehindBroker(),
              SPAWNED_AGAIN +
                  (Lines{"Run.out#2.Put(ReturnValueX, 0, VT_BSTR 'a', 0)", "Run.out#2.Put(JobX, 0, VT_BSTR 'b', 0)",
                         "Run.out#2.Put(ReturnValu, 0, VT_BSTR 'c', 0)", "Run.out#2.Put(Jo, 0, VT_BSTR 'd', 0)",
                         "Run.out#2.Put(job, 0, VT_BSTR 'e', 0)", "Run.out#2.Put(returnvalue, 0, VT_BSTR 'f', 0)",
                         "sink.Indicate(1, Run.out#2)"}) +
                  GIVEN_BACK);
}

TEST_F(MethodInvocationTest, EmptyJobName_matchesNothing)
{
    core::CimPropertyString text("Job");
    text.setValue("not a job");
    core::CimPropertyList results;
    results.add(&text);
    converter.indicateResults("Zerix_X", "Run", 1, "", &job, &wmiNamespace, &context, &sink, results);
    EXPECT_EQ(calls.take(), (Lines{ASKED, "Zerix_X.GetMethod(Run, 0, null, out)", "Run.out.SpawnInstance(0)",
                                   "Run.out#1.Put(Job, 0, VT_BSTR 'not a job', 0)", "sink.Indicate(1, Run.out#1)",
                                   "Run.out#1 released", "Run.out released", "Zerix_X released"}));
}

TEST_F(MethodInvocationTest, SingleValues_arePutUnderTheirNames)
{
    converter.addUint32ToResponseHandler("Number", 4294967295U, &signature);
    converter.addStringToResponseHandler("Text", "some text", &signature);
    EXPECT_EQ(calls.take(),
              (Lines{"Run.out.Put(Number, 0, VT_I4 -1, 0)", "Run.out.Put(Text, 0, VT_BSTR 'some text', 0)"}));
}

}  // namespace
