#include <stdexcept>

#include "Utils/Exception.h"
#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::address;
using support::assertionLine;
using support::assertionText;
using support::debugLine;
using support::errorLine;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;

constexpr const char* INVOKE = "wa::WmiConverter::InvokeMethod";
constexpr const char* EXTRACT = "wa::WmiConverter::extractProperties";
constexpr const char* RESULTS = "wa::WmiConverter::createResultsList";
constexpr const char* INDICATE = "wa::WmiConverter::indicateResults";
constexpr const char* PUT_NUMBER = "wa::WmiConverter::addUint32ToResponseHandler";
constexpr const char* PUT_TEXT = "wa::WmiConverter::addStringToResponseHandler";
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
        log.clear();
    }

    void invoke(const std::string& path = PATH)
    {
        converter.InvokeMethod(path, "Run", &wmiNamespace, &context, &inParams, &sink);
    }

    // The calls that come after the broker has answered.
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

TEST_F(MethodInvocationTest, TheLineComesAheadOfTheSixAssertionsInTheirOrder)
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
        EXPECT_EQ(takeMessages(), (Lines{debugLine(INVOKE, "InvokeMethod"), assertionLine(condition)}));
    }
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(MethodInvocationTest, AMethodThatStartsAJobIsRunAndItsResultsAreIndicated)
{
    inParams.add("Count", samples::i4(5), CIM_UINT16);
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Job", samples::null(), CIM_REFERENCE);
    signature.add("Text", samples::null(), CIM_STRING);
    broker.onInvoke = [&](core::CimPropertyList& out, core::CimInstance*& started) {
        static_cast<core::CimPropertyString*>(out.findProperty("Text"))->setValue("well");
        started = &job;
        return 4096U;
    };
    invoke();
    const std::string jobPath = R"(Zerix_ConcreteJob.InstanceID="7")";
    EXPECT_EQ(calls.take(), (Lines{"in.BeginEnumeration(0x4)",
                                   "in.EndEnumeration()",
                                   "in.BeginEnumeration(0x40)",
                                   "in.EndEnumeration()",
                                   ASKED,
                                   "Zerix_X.GetMethod(Run, 0, null, out)",
                                   "Run.out.SpawnInstance(0)",
                                   "Run.out#1.BeginEnumeration(0x40)",
                                   "Run.out#1.EndEnumeration()",
                                   "Run.out#1 released",
                                   "Run.out released",
                                   "Zerix_X released",
                                   "broker.invokeMethod(Zerix_X.k=\"v\", Run, {Count = uint16 5}, "
                                   "{ReturnValue = uint32 null; Job = ref null; Text = string null}, null)",
                                   ASKED,
                                   "Zerix_X.GetMethod(Run, 0, null, out)",
                                   "Run.out.SpawnInstance(0)",
                                   "Run.out#2.Put(ReturnValue, 0, VT_I4 4096, 0)",
                                   "Run.out#2.Put(Job, 0, VT_BSTR '" + jobPath + "', 0)",
                                   "Run.out#2.Put(Text, 0, VT_BSTR 'well', 0)",
                                   "sink.Indicate(1, Run.out#2)",
                                   "Run.out#2 released",
                                   "Run.out released",
                                   "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(INVOKE, "InvokeMethod"),
                     debugLine(INVOKE, "Create CimPath from Zerix_X.k=\"v\""),
                     debugLine("core::CimPath::CimPath", "Creating path Zerix_X.k=\"v\"", "CimPath"),
                     debugLine(INVOKE, "ClassName: Zerix_X"),
                     debugLine(INVOKE, "CimBroker instance: #" + address(&broker)),
                     debugLine(EXTRACT, "Converting property Count, 18"),
                     debugLine("wa::Uint16PropertyConverter::variantToProperty", "Property Count value is '5'"),
                     debugLine(INVOKE, "Incomming arguments got"),
                     debugLine(RESULTS, "Here"),
                     debugLine(RESULTS, "Get object for Zerix_X"),
                     debugLine(RESULTS, "Get method Run"),
                     debugLine(RESULTS, "Obtaining property ReturnValue, 19"),
                     debugLine("wa::Uint32PropertyConverter::variantToProperty", "Property ReturnValue value is NULL"),
                     debugLine(RESULTS, "Obtaining property Job, 102"),
                     debugLine("wa::RefPropertyConverter::variantToProperty", "Property Job value is NULL"),
                     debugLine(RESULTS, "Obtaining property Text, 8"),
                     debugLine("wa::StringPropertyConverter::variantToProperty", "Property Text value is NULL"),
                     debugLine(INVOKE, "Outcomming results got"),
                     debugLine(INDICATE, "Get object for Zerix_X"),
                     debugLine(INDICATE, "Get method Run"),
                     debugLine(PUT_NUMBER, "Here"),
                     debugLine(PUT_NUMBER, "Set UINT32 ReturnValue: 4096"),
                     debugLine(INDICATE, "Set Reference Job"),
                     debugLine(PUT_TEXT, "Here"),
                     debugLine(PUT_TEXT, "Set BSTR Job: " + jobPath),
                     debugLine(INDICATE, "Indicate results")}));
}

TEST_F(MethodInvocationTest, WithoutAJobNothingIsWrittenForIt)
{
    signature.add("Job", samples::bstr("a default"), CIM_REFERENCE);
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    invoke();
    EXPECT_EQ(callsBehindBroker(),
              SPAWNED_AGAIN + (Lines{"Run.out#2.Put(ReturnValue, 0, VT_I4 0, 0)", "sink.Indicate(1, Run.out#2)"}) +
                  GIVEN_BACK);
}

TEST_F(MethodInvocationTest, AJobWithoutAParameterForItIsNotWritten)
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

TEST_F(MethodInvocationTest, TheReturnValueIsTheBrokersResultWhateverItsListSaysAndGoesOutSigned)
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
    const Lines lines = takeMessages();
    EXPECT_EQ(lines.at(lines.size() - 2), debugLine(PUT_NUMBER, "Set UINT32 ReturnValue: -1"));
}

TEST_F(MethodInvocationTest, OtherOutputsAreWrittenEvenWhenTheyAreNull)
{
    signature.add("Number", samples::null(), CIM_UINT16);
    signature.add("Text", samples::null(), CIM_STRING);
    invoke();
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN +
                                       (Lines{"Run.out#2.Put(Number, 0, VT_I4 0, 0)",
                                              "Run.out#2.Put(Text, 0, VT_BSTR '', 0)", "sink.Indicate(1, Run.out#2)"}) +
                                       GIVEN_BACK);
}

TEST_F(MethodInvocationTest, AReferenceThatIsNullFailsAndNothingIsIndicated)
{
    signature.add("Port", samples::null(), CIM_REFERENCE);
    EXPECT_EQ(withoutLine(thrownBy([&] { invoke(); })), assertionText("value != NULL"));
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, AnOutputWithoutAConverterFailsAndNothingIsIndicated)
{
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        auto* strange = new PropertyOfNoKnownType("Strange");
        out.add(strange);
        return 0U;
    };
    EXPECT_EQ(withoutLine(thrownBy([&] { invoke(); })), assertionText("converter != NULL"));
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + GIVEN_BACK);
}

TEST_F(MethodInvocationTest, OutputsThatCannotBeTakenFromTheSignatureAppearWhenTheBrokerAddsThem)
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

TEST_F(MethodInvocationTest, AnEntryThatALaterOneOverridesIsLeftOut)
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

TEST_F(MethodInvocationTest, WithoutTheClassTheMethodIsStillRunAndTheErrorLoggedTwice)
{
    wmiNamespace.classes.clear();
    invoke();
    EXPECT_EQ(calls.take(),
              (Lines{"in.BeginEnumeration(0x4)", "in.EndEnumeration()", "in.BeginEnumeration(0x40)",
                     "in.EndEnumeration()", ASKED, "broker.invokeMethod(Zerix_X.k=\"v\", Run, {}, {}, null)", ASKED}));
    EXPECT_EQ(
        takeMessages(),
        (Lines{debugLine(INVOKE, "InvokeMethod"), debugLine(INVOKE, "Create CimPath from Zerix_X.k=\"v\""),
               debugLine("core::CimPath::CimPath", "Creating path Zerix_X.k=\"v\"", "CimPath"),
               debugLine(INVOKE, "ClassName: Zerix_X"), debugLine(INVOKE, "CimBroker instance: #" + address(&broker)),
               debugLine(INVOKE, "Incomming arguments got"), debugLine(RESULTS, "Here"),
               debugLine(RESULTS, "Get object for Zerix_X"),
               errorLine(RESULTS, "pNamespace->GetObject() error 0x80041002"),
               debugLine(INVOKE, "Outcomming results got"), debugLine(INDICATE, "Get object for Zerix_X"),
               errorLine(INDICATE, "pNamespace->GetObject() error 0x80041002")}));
}

TEST_F(MethodInvocationTest, WithoutTheMethodInTheClassItIsStillRunAndNothingIndicated)
{
    classObject.methods.clear();
    invoke();
    EXPECT_EQ(callsBehindBroker(), (Lines{ASKED, "Zerix_X.GetMethod(Run, 0, null, out)", "Zerix_X released"}));
    const Lines lines = takeMessages();
    EXPECT_EQ(lines.back(), errorLine(INDICATE, "pClass->GetMethod() error 0x80041002"));
}

TEST_F(MethodInvocationTest, APutThatFailsIsLoggedForReturnValueAndJobOnly)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Job", samples::null(), CIM_REFERENCE);
    signature.add("Text", samples::null(), CIM_STRING);
    for (const char* const name : {"ReturnValue", "Job", "Text"}) {
        signature.putStatus[name] = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    }
    const core::CimPropertyList none;
    core::CimPropertyUint32 returnValue("ReturnValue");
    core::CimPropertyRef reference("Job");
    core::CimPropertyString text("Text");
    core::CimPropertyList results;
    results.add(&returnValue);
    results.add(&reference);
    results.add(&text);
    converter.indicateResults("Zerix_X", "Run", 1, "Job", &job, &wmiNamespace, &context, &sink, results);
    EXPECT_EQ(
        takeMessages(),
        (Lines{debugLine(INDICATE, "Get object for Zerix_X"), debugLine(INDICATE, "Get method Run"),
               debugLine(PUT_NUMBER, "Here"), debugLine(PUT_NUMBER, "Set UINT32 ReturnValue: 1"),
               errorLine(PUT_NUMBER, "pOutParams->Put() error 0x80041005"), debugLine(INDICATE, "Set Reference Job"),
               debugLine(PUT_TEXT, "Here"), debugLine(PUT_TEXT, R"(Set BSTR Job: Zerix_ConcreteJob.InstanceID="7")"),
               errorLine(PUT_TEXT, "pOutParams->Put() error 0x80041005"), debugLine(INDICATE, "Indicate results")}));
}

TEST_F(MethodInvocationTest, OutputPut_successCodeButZero_isLogged)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.putStatus["ReturnValue"] = 1;
    signature.putStatus["Job"] = 2;
    converter.addUint32ToResponseHandler("ReturnValue", 7, &signature);
    converter.addStringToResponseHandler("Job", "path", &signature);
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(PUT_NUMBER, "Here"), debugLine(PUT_NUMBER, "Set UINT32 ReturnValue: 7"),
                     errorLine(PUT_NUMBER, "pOutParams->Put() error 0x1"), debugLine(PUT_TEXT, "Here"),
                     debugLine(PUT_TEXT, "Set BSTR Job: path"), errorLine(PUT_TEXT, "pOutParams->Put() error 0x2")}));
}

TEST_F(MethodInvocationTest, OutputNames_matchWhole)
{
    signature.add("ReturnValueX", samples::bstr("a"), CIM_STRING);
    signature.add("JobX", samples::bstr("b"), CIM_STRING);
    signature.add("ReturnValu", samples::bstr("c"), CIM_STRING);
    signature.add("Jo", samples::bstr("d"), CIM_STRING);
    signature.add("job", samples::bstr("e"), CIM_STRING);
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 5U;
    };
    invoke();
    EXPECT_EQ(callsBehindBroker(),
              SPAWNED_AGAIN +
                  (Lines{"Run.out#2.Put(ReturnValueX, 0, VT_BSTR 'a', 0)", "Run.out#2.Put(JobX, 0, VT_BSTR 'b', 0)",
                         "Run.out#2.Put(ReturnValu, 0, VT_BSTR 'c', 0)", "Run.out#2.Put(Jo, 0, VT_BSTR 'd', 0)",
                         "Run.out#2.Put(job, 0, VT_BSTR 'e', 0)", "sink.Indicate(1, Run.out#2)"}) +
                  GIVEN_BACK);
}

TEST_F(MethodInvocationTest, Results_areAnnouncedBeforeTheyAreIndicated)
{
    Lines before;
    sink.onIndicate = [&](IWbemClassObject*) { before = takeMessages(); };
    invoke();
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(before.back(), debugLine(INDICATE, "Indicate results"));
    EXPECT_EQ(takeMessages(), Lines{});
}

TEST_F(MethodInvocationTest, AnyAnswerOfTheSinkButZeroIsOnlyLogged)
{
    sink.indicateAnswers = {1};
    invoke();
    EXPECT_EQ(callsBehindBroker(), SPAWNED_AGAIN + (Lines{"sink.Indicate(1, Run.out#2)"}) + GIVEN_BACK);
    EXPECT_EQ(takeMessages().back(), errorLine(INDICATE, "pResponseHandler->Indicate() error 0x1"));
}

TEST_F(MethodInvocationTest, AnEmptyJobNameMatchesNoParameter)
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

TEST_F(MethodInvocationTest, APathWithoutKeysIsNoneSoThatStaticMethodsFail)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { invoke("Zerix_X"); }),
              "DRAVEv2: ESyntaxError:too many classname separators: 'Zerix_X'");
    EXPECT_EQ(calls.take(), Lines{});
}

TEST_F(MethodInvocationTest, WhatTheBrokerThrowsPassesAndNothingIsIndicated)
{
    broker.onInvoke = [](core::CimPropertyList&, core::CimInstance*&) -> std::uint32_t {
        throw std::runtime_error("broken");
    };
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { invoke(); }), "broken");
    EXPECT_EQ(callsBehindBroker(), Lines{});
}

TEST_F(MethodInvocationTest, SingleValuesArePutUnderTheirNames)
{
    converter.addUint32ToResponseHandler("Number", 4294967295U, &signature);
    converter.addStringToResponseHandler("Text", "some text", &signature);
    EXPECT_EQ(calls.take(),
              (Lines{"Run.out.Put(Number, 0, VT_I4 -1, 0)", "Run.out.Put(Text, 0, VT_BSTR 'some text', 0)"}));
    EXPECT_EQ(takeMessages(), (Lines{debugLine(PUT_NUMBER, "Here"), debugLine(PUT_NUMBER, "Set UINT32 Number: -1"),
                                     debugLine(PUT_TEXT, "Here"), debugLine(PUT_TEXT, "Set BSTR Text: some text")}));
}

}  // namespace
