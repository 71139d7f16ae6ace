#include <algorithm>

#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::Lines;
using support::refusalOf;
using support::operator+;

constexpr const char* PATH = "Zerix_X.k=\"v\"";

const std::string ASKED = "namespace.GetObject(Zerix_X, 0, context, out, null)";
const Lines SPAWNED_AGAIN{ASKED, "Zerix_X.GetMethod(Run, 0, null, out)", "Run.out.SpawnInstance(0)"};
const Lines GIVEN_BACK{"Run.out#2 released", "Run.out released", "Zerix_X released"};

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

    void invoke() { converter.InvokeMethod(PATH, "Run", &wmiNamespace, &context, &inParams, &sink); }

    // The calls after the broker has answered.
    Lines callsBehindBroker()
    {
        const Lines all = calls.take();
        const auto asked = std::find_if(
            all.begin(), all.end(), [](const std::string& call) { return call.starts_with("broker.invokeMethod"); });
        return asked == all.end() ? Lines{"the broker was not asked"} : Lines(asked + 1, all.end());
    }

    support::FakeClassObject inParams{calls, "in"};
    support::FakeClassObject classObject{calls, "Zerix_X"};
    support::FakeClassObject signature{calls, "Run.out"};
    core::CimInstance job{"Zerix_ConcreteJob"};
    wa::WmiConverter converter;
};

TEST_F(MethodInvocationTest, Arguments_areAssertedInTheirOrder)
{
    const auto invoking = [&](const char* path, const char* method, IWbemServices* services, IWbemContext* ctx,
                              IWbemClassObject* in) {
        return refusalOf([&] { converter.InvokeMethod(path, method, services, ctx, in, nullptr); });
    };
    EXPECT_EQ(invoking("", "", nullptr, nullptr, nullptr), "(int)objectPath.size() != 0");
    EXPECT_EQ(invoking(PATH, "", nullptr, nullptr, nullptr), "(int)methodName.size() != 0");
    EXPECT_EQ(invoking(PATH, "Run", nullptr, nullptr, nullptr), "pNamespace != NULL");
    EXPECT_EQ(invoking(PATH, "Run", &wmiNamespace, nullptr, nullptr), "pCtx != NULL");
    EXPECT_EQ(invoking(PATH, "Run", &wmiNamespace, &context, nullptr), "pInParams != NULL");
    EXPECT_EQ(invoking(PATH, "Run", &wmiNamespace, &context, &inParams), "pResponseHandler != NULL");
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(MethodInvocationTest, Outputs_areAllWritten)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Number", samples::null(), CIM_UINT16);
    signature.add("Text", samples::bstr("overridden below"), CIM_STRING);
    for (const char* const almost : {"ReturnValueX", "JobX", "ReturnValu", "Jo", "job", "returnvalue"}) {
        signature.add(almost, samples::bstr(almost), CIM_STRING);
    }
    broker.onInvoke = [&](core::CimPropertyList& out, core::CimInstance*& started) {
        // The method has no output for it.
        started = &job;
        // The method's result is written instead.
        static_cast<core::CimPropertyUint32*>(out.findProperty("ReturnValue"))->setValue(5);
        auto* const text = new core::CimPropertyUint16("Text");
        text->setValue(3);
        out.add(text);
        auto* const unknownToTheSignature = new core::CimPropertyBool("Done");
        unknownToTheSignature->setValue(true);
        out.add(unknownToTheSignature);
        return 4294967295U;
    };
    invoke();
    Lines expected = SPAWNED_AGAIN;
    for (const std::string output :
         {"ReturnValue, 0, VT_I4 -1", "Number, 0, VT_I4 0", "ReturnValueX, 0, VT_BSTR 'ReturnValueX'",
          "JobX, 0, VT_BSTR 'JobX'", "ReturnValu, 0, VT_BSTR 'ReturnValu'", "Jo, 0, VT_BSTR 'Jo'",
          "job, 0, VT_BSTR 'job'", "returnvalue, 0, VT_BSTR 'returnvalue'", "Text, 0, VT_I4 3", "Done, 0, VT_BOOL 1"})
    {
        expected.push_back("Run.out#2.Put(" + output + ", 0)");
    }
    EXPECT_EQ(callsBehindBroker(), expected + Lines{"sink.Indicate(1, Run.out#2)"} + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, UnconvertedOutput_fails)
{
    signature.add("Port", samples::null(), CIM_REFERENCE);
    EXPECT_EQ(refusalOf([&] { invoke(); }), "value != NULL");
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        out.add(new samples::PropertyOfNoKnownType("Port"));
        return 0U;
    };
    EXPECT_EQ(refusalOf([&] { invoke(); }), "converter != NULL");
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

}  // namespace
