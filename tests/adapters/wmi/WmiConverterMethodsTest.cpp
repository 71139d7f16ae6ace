#include <stdexcept>

#include "Utils/Exception.h"
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

    void invoke() { converter.InvokeMethod(PATH, "Run", &wmiNamespace, &context, &inParams, &sink); }

    // The broker adds this output, which the list then owns.
    void brokerAdds(core::CimProperty* output)
    {
        broker.onInvoke = [output](core::CimPropertyList& out, core::CimInstance*&) {
            out.add(output);
            return 0U;
        };
    }

    // Invokes the method. The client gets an object with these values in this order, each as name and value.
    void expectPuts(const std::vector<std::pair<std::string, std::string>>& values)
    {
        invoke();
        Lines expected = SPAWNED_AGAIN;
        for (const auto& [name, value] : values) {
            expected.push_back("Run.out#2.Put(" + name + ", 0, " + value + ", 0)");
        }
        EXPECT_EQ(callsBehindBroker(), expected + Lines{"sink.Indicate(1, Run.out#2)"} + GIVEN_BACK);
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

TEST_F(MethodInvocationTest, JobWithoutAParameter_isNotWritten)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 0U;
    };
    expectPuts({{"ReturnValue", "VT_I4 0"}});
}

TEST_F(MethodInvocationTest, ReturnValue_isTheBrokersResult)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        static_cast<core::CimPropertyUint32*>(out.findProperty("ReturnValue"))->setValue(5);
        return 4294967295U;
    };
    expectPuts({{"ReturnValue", "VT_I4 -1"}});
}

TEST_F(MethodInvocationTest, NullOutputs_areWritten)
{
    signature.add("Number", samples::null(), CIM_UINT16);
    signature.add("Text", samples::null(), CIM_STRING);
    expectPuts({{"Number", "VT_I4 0"}, {"Text", "VT_BSTR ''"}});
}

TEST_F(MethodInvocationTest, NullReference_fails)
{
    signature.add("Port", samples::null(), CIM_REFERENCE);
    EXPECT_EQ(refusalOf([&] { invoke(); }), "value != NULL");
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputWithoutAConverter_fails)
{
    brokerAdds(new PropertyOfNoKnownType("Strange"));
    EXPECT_EQ(refusalOf([&] { invoke(); }), "converter != NULL");
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputOfTheBrokersOwn_isWritten)
{
    signature.add("Done", samples::null(), CIM_BOOLEAN);
    auto* const done = new core::CimPropertyBool("Done");
    done->setValue(true);
    brokerAdds(done);
    expectPuts({{"Done", "VT_BOOL 1"}});
}

TEST_F(MethodInvocationTest, OverriddenOutput_isLeftOut)
{
    signature.add("Text", samples::bstr("default"), CIM_STRING);
    auto* const number = new core::CimPropertyUint16("Text");
    number->setValue(3);
    brokerAdds(number);
    expectPuts({{"Text", "VT_I4 3"}});
}

TEST_F(MethodInvocationTest, OutputNames_matchWhole)
{
    for (const char* const name : {"ReturnValueX", "JobX", "ReturnValu", "Jo", "job", "returnvalue"}) {
        signature.add(name, samples::bstr(name), CIM_STRING);
    }
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 5U;
    };
    expectPuts({{"ReturnValueX", "VT_BSTR 'ReturnValueX'"},
                {"JobX", "VT_BSTR 'JobX'"},
                {"ReturnValu", "VT_BSTR 'ReturnValu'"},
                {"Jo", "VT_BSTR 'Jo'"},
                {"job", "VT_BSTR 'job'"},
                {"returnvalue", "VT_BSTR 'returnvalue'"}});
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
