#include <comdef.h>

#include <algorithm>
#include <new>
#include <set>
#include <stdexcept>

#include "core/MethodErrors.h"
#include "requests/RequestTest.h"
#include "support/Thrown.h"

// What each request of the built DLL answers and sends, and what crosses the DLL's boundary as an exception. Everything
// thrown by the broker is made in this program and caught in the DLL, or the other way round: both sides must agree on
// types that only their names make one.
namespace {

using support::assertionText;
using support::hex;
using support::Lines;
using support::operator+;
using support::thrownBy;
using support::withoutLine;

// The operations in front of getClassName belong to the broker: here the provider would end in one of them.
class TrappingInstance : public core::CimInstance
{
public:
    using CimInstance::CimInstance;

    core::CimPropertyList& getProperties() override
    {
        EXPECT_FALSE(armed) << "getProperties was called";
        return CimInstance::getProperties();
    }
    bool isMarkedForDeletion() const override
    {
        EXPECT_FALSE(armed) << "isMarkedForDeletion was called";
        return CimInstance::isMarkedForDeletion();
    }

    bool armed = false;
};

const Lines ACTED{"call.ImpersonateClient()"};
const Lines ENDED{"call.RevertToSelf()"};

class RequestOutcomeTest : public RequestTest
{
protected:
    void SetUp() override
    {
        *object.path.address() = samples::bstr(PORT_PATH);
        start();
        calls.take();
    }

    // Everything that reached the sink.
    Lines sent()
    {
        Lines lines;
        for (const std::string& line : calls.take()) {
            if (line.rfind("sink.", 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    static Lines completed(const std::string& status) { return {"sink.SetStatus(0, " + status + ", null, null)"}; }
};

TEST_F(RequestOutcomeTest, AnEnumerationDeliversEveryInstanceInOrder)
{
    brokerHas(3);
    EXPECT_EQ(enumerate(), 0);
    EXPECT_EQ(sent(), (Lines{"sink.Indicate(1, Zerix_EthernetPort#1)", "sink.SetStatus(2, 0x00030000, null, null)",
                             "sink.Indicate(1, Zerix_EthernetPort#2)", "sink.SetStatus(2, 0x00030001, null, null)",
                             "sink.Indicate(1, Zerix_EthernetPort#3)", "sink.SetStatus(2, 0x00030002, null, null)",
                             "sink.SetStatus(0, 0x00000000, null, null)"}));
}

TEST_F(RequestOutcomeTest, Progress_keepsTheLowSixteenBitsOfTotalAndIndex)
{
    // Without properties, so that the many objects cost little.
    core::CimInstance bare("Zerix_EthernetPort");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        for (int i = 0; i < 65538; ++i) {
            list.append(&bare);
        }
        return list;
    };
    EXPECT_EQ(enumerate(), 0);
    const Lines lines = sent();
    ASSERT_EQ(lines.size(), 131077U);
    EXPECT_EQ(lines.at(1), "sink.SetStatus(2, 0x00020000, null, null)");
    EXPECT_EQ(lines.at(131071), "sink.SetStatus(2, 0x0002FFFF, null, null)");
    EXPECT_EQ(lines.at(131073), "sink.SetStatus(2, 0x00020000, null, null)");
    EXPECT_EQ(lines.at(131075), "sink.SetStatus(2, 0x00020001, null, null)");
}

TEST_F(RequestOutcomeTest, AGetDeliversTheObject)
{
    broker.onFind = [&] { return &instance; };
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(calls.take(), ACTED +
                                (Lines{"broker.getInstanceByPath(Zerix_EthernetPort.DeviceID=\"a\")",
                                       "namespace.GetObject(Zerix_EthernetPort, 0, context, out, null)",
                                       "Zerix_EthernetPort.SpawnInstance(0)", "Zerix_EthernetPort released",
                                       "Zerix_EthernetPort#1.Put(DeviceID, 0, VT_BSTR 'a', 0)",
                                       "Zerix_EthernetPort#1.Put(Name, 0, VT_BSTR 'eth0', 0)",
                                       "sink.Indicate(1, Zerix_EthernetPort#1)", "Zerix_EthernetPort#1 released",
                                       "sink.SetStatus(0, 0x00000000, null, null)"}) +
                                ENDED);
}

TEST_F(RequestOutcomeTest, Path_withALookalike_namesAnotherInstance)
{
    // Best fits would make the class's name and the key whole: a deletion would hit a job that nobody named.
    for (const wchar_t* const text :
         {L"Zerix_ConcreteJob\uFF0EInstanceID=\"7\"", L"Zerix_Concrete\u0134ob.InstanceID=\"7\"",
          L"Zerix_ConcreteJob.InstanceID=\uFF027\uFF02", L"Zerix_ConcreteJob.InstanceID=\"\uFF17\""})
    {
        const BSTR path = SysAllocString(text);
        try {
            provider->DeleteInstanceAsync(path, 0, &context, &sink);
        } catch (const utils::ESyntaxError&) {
            // Not a path at all.
        }
        SysFreeString(path);
        for (const std::string& line : calls.take()) {
            EXPECT_EQ(line.find("broker.getInstanceByPath(Zerix_ConcreteJob.InstanceID=\"7\")"), std::string::npos);
        }
    }
}

TEST_F(RequestOutcomeTest, TheBrokerIsAskedUnderTheClientsIdentity)
{
    bool impersonating = false;
    broker.onFind = [&]() -> core::CimInstance* {
        impersonating = support::threadHasToken();
        return nullptr;
    };
    EXPECT_EQ(hex(get()), "0x80041002");
    EXPECT_TRUE(impersonating);
    EXPECT_FALSE(support::threadHasToken());
    EXPECT_EQ(sent(), completed("0x80041002"));
}

TEST_F(RequestOutcomeTest, EveryExceptionOfTheBrokerDuringAGetIsAFailure)
{
    const auto answerTo = [&](const std::function<void()>& failing) {
        broker.onFind = [&]() -> core::CimInstance* {
            failing();
            return nullptr;
        };
        const std::string answer = hex(get());
        EXPECT_EQ(sent(), completed(answer));
        return answer;
    };
    EXPECT_EQ(answerTo([] { throw utils::ENotFound("x"); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw std::runtime_error("x"); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw std::bad_alloc(); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw _com_error(E_OUTOFMEMORY); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw 7; }), "0x80041001");
}

TEST_F(RequestOutcomeTest, APutSendsTheChangesAndEachExceptionOfTheBrokerHasItsStatus)
{
    object.add("DeviceID", samples::bstr("a"), CIM_STRING, 0, true);
    object.add("Name", samples::bstr("eth1"), CIM_STRING);
    EXPECT_EQ(put(), 0);
    EXPECT_EQ(calls.take(),
              ACTED +
                  (Lines{"object.Get(__PATH, 0, null, null)", "object.BeginEnumeration(0x4)", "object.EndEnumeration()",
                         "object.BeginEnumeration(0x40)", "object.EndEnumeration()",
                         "broker.modifyInstance(Zerix_EthernetPort.DeviceID=\"a\", {Name = string 'eth1'})",
                         "sink.SetStatus(0, 0x00000000, null, null)"}) +
                  ENDED);
    const auto answerTo = [&](const std::function<void()>& failing) {
        broker.onModify = [&](core::CimPropertyList&) { failing(); };
        const std::string answer = hex(put());
        EXPECT_EQ(sent(), completed(answer));
        return answer;
    };
    EXPECT_EQ(answerTo([] { throw utils::EInvalidParameter("x"); }), "0x80041008");
    EXPECT_EQ(answerTo([] { throw utils::EForbidden("x"); }), "0x80041003");
    EXPECT_EQ(answerTo([] { throw utils::ENotSupported("x"); }), "0x8004100C");
    EXPECT_EQ(answerTo([] { throw utils::ENotFound("x"); }), "0x80041002");
    EXPECT_EQ(answerTo([] { throw utils::EFailed("x"); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw utils::Exception(std::string("x")); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw std::bad_alloc(); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw 7; }), "0x8004101D");
}

TEST_F(RequestOutcomeTest, ADeleteMarksTheJobAndEveryOtherOutcomeHasItsStatus)
{
    broker.onFind = [&] { return &job; };
    EXPECT_EQ(remove(), 0);
    EXPECT_TRUE(job.isMarkedForDeletion());
    EXPECT_EQ(sent(), completed("0x00000000"));
    EXPECT_EQ(hex(remove(PORT_PATH)), "0x8004100C");
    EXPECT_EQ(sent(), completed("0x8004100C"));
    broker.onFind = [] { return static_cast<core::CimInstance*>(nullptr); };
    EXPECT_EQ(hex(remove()), "0x80041002");
    EXPECT_EQ(sent(), completed("0x80041002"));
    broker.onFind = []() -> core::CimInstance* { throw utils::EForbidden("x"); };
    EXPECT_EQ(hex(remove()), "0x8004101D");
    EXPECT_EQ(sent(), completed("0x8004101D"));
}

TEST_F(RequestOutcomeTest, AMethodIndicatesItsResultAndEachExceptionOfTheBrokerHasItsStatus)
{
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 4096U;
    };
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(sent(), (Lines{"sink.Indicate(1, Run.out#2)", "sink.SetStatus(0, 0x00000000, null, null)"}));
    const auto answerTo = [&](const std::function<void()>& failing) {
        broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*&) {
            failing();
            return 0U;
        };
        const std::string answer = hex(execute());
        EXPECT_EQ(sent(), completed(answer));
        return answer;
    };
    EXPECT_EQ(answerTo([] { throw wa::EInvalidParameter("x"); }), "0x80041008");
    EXPECT_EQ(answerTo([] { throw wa::EMethodNotSupported("x"); }), "0x80041055");
    EXPECT_EQ(answerTo([] { throw wa::EWmiNotFound("x"); }), "0x8004102F");
    EXPECT_EQ(answerTo([] { throw utils::ENotFound("x"); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw std::bad_alloc(); }), "0x80041001");
    EXPECT_EQ(answerTo([] { throw 7; }), "0x80041001");
}

TEST_F(RequestOutcomeTest, Instances_areAskedForNothingButTheirClass)
{
    TrappingInstance trapping("Zerix_ConcreteJob");
    TrappingInstance referring("Zerix_EthernetPort");
    samples::addKey(trapping, "InstanceID", "7");
    samples::addKey(referring, "DeviceID", "a");
    samples::add<core::CimPropertyRef>(referring, "Job", &trapping);
    trapping.armed = true;
    referring.armed = true;
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        list.append(&referring);
        return list;
    };
    broker.onFind = [&] { return &trapping; };
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &trapping;
        return 4096U;
    };
    EXPECT_EQ(enumerate(), 0);
    EXPECT_EQ(get(JOB_PATH), 0);
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(execute(), 0);
    const Lines lines = calls.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "Zerix_EthernetPort#1.Put(Job, 0, VT_BSTR "
                         "'\\\\TESTHOST\\root\\DCIM\\vexal:Zerix_ConcreteJob.InstanceID=\"7\"', 0)"),
              1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "Run.out#2.Put(Job, 0, VT_BSTR 'Zerix_ConcreteJob.InstanceID=\"7\"', 0)"),
              1);
    trapping.armed = false;
    EXPECT_TRUE(trapping.isMarkedForDeletion());
}

TEST_F(RequestOutcomeTest, ADeniedClientIsToldSoByEveryRequest)
{
    call.reset();
    call.emplace(calls, support::ClientToken::identification);
    for (const std::function<HRESULT()>& request : std::vector<std::function<HRESULT()>>{
             [&] { return enumerate(); }, [&] { return get(); }, [&] { return put(); }, [&] { return remove(); },
             [&] { return execute(); }})
    {
        EXPECT_EQ(hex(request()), "0x80041003");
        EXPECT_EQ(calls.take(), ACTED + completed("0x80041003") + ENDED);
    }
}

TEST_F(RequestOutcomeTest, AClientThatCannotBeActedForIsToldTheReasonByEveryRequest)
{
    call->impersonateStatus = HRESULT_FROM_WIN32(ERROR_CANNOT_IMPERSONATE);
    for (const std::function<HRESULT()>& request : std::vector<std::function<HRESULT()>>{
             [&] { return enumerate(); }, [&] { return get(); }, [&] { return put(); }, [&] { return remove(); },
             [&] { return execute(); }})
    {
        EXPECT_EQ(hex(request()), "0x80041003");
        EXPECT_EQ(calls.take(), ACTED + completed("0x80070558") + ENDED);
    }
}

TEST_F(RequestOutcomeTest, ArgumentsThatAreMissingAreRefusedWithoutTheSink)
{
    const utils::ScopedBstr path(PORT_PATH);
    EXPECT_EQ(hex(provider->GetObjectAsync(nullptr, 0, &context, &sink)), "0x80041008");
    EXPECT_EQ(hex(provider->DeleteInstanceAsync(nullptr, 0, &context, &sink)), "0x80041008");
    EXPECT_EQ(hex(provider->PutInstanceAsync(&object, WBEM_FLAG_UPDATE_ONLY, &context, nullptr)), "0x80041008");
    EXPECT_EQ(calls.take(), Lines{});
    EXPECT_EQ(hex(provider->CreateInstanceEnumAsync(path.get(), 0, &context, nullptr)), "0x80041008");
    EXPECT_EQ(calls.take(), ACTED + ENDED);
    EXPECT_EQ(hex(provider->PutInstanceAsync(&object, WBEM_FLAG_CREATE_ONLY, &context, &sink)), "0x80041024");
    EXPECT_EQ(calls.take(), Lines{});
}

// What leaves each of the three requests that have no handler, by its type.
class BoundaryTest : public RequestOutcomeTest
{
protected:
    template <class Action>
    std::string comErrorOf(const Action& action)
    {
        try {
            action();
        } catch (const _com_error& error) {
            return hex(error.Error());
        } catch (...) {
            return "something else was thrown";
        }
        return "nothing was thrown";
    }

    // Nothing but the identity is undone.
    void expectOnlyRevert()
    {
        EXPECT_FALSE(support::threadHasToken());
        const Lines made = calls.take();
        ASSERT_FALSE(made.empty());
        EXPECT_EQ(made.back(), "call.RevertToSelf()");
        for (const std::string& entry : made) {
            EXPECT_NE(entry.rfind("sink.", 0), 0U) << entry;
        }
    }
};

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

void* noMemory(std::size_t)
{
    throw std::bad_alloc();
}

TEST_F(BoundaryTest, AnEnumerationLetsItsOwnExceptionsPass)
{
    brokerHas(1);
    EXPECT_EQ(withoutLine(thrownBy([&] { provider->CreateInstanceEnumAsync(nullptr, 0, &context, &sink); })),
              assertionText("bstrClassName != NULL"));
    expectOnlyRevert();
    {
        const support::ImportHook hook("SysAllocStringLen", &noBstr, module.handle());
        EXPECT_EQ(comErrorOf([&] { enumerate(); }), "0x8007000E");
    }
    expectOnlyRevert();
    {
        const support::ImportHook hook("_Znwy", &noMemory, module.handle());
        EXPECT_THROW(enumerate(), std::bad_alloc);
    }
    expectOnlyRevert();
}

TEST_F(BoundaryTest, AnEnumerationLetsTheBrokersExceptionsPass)
{
    broker.onGetInstances = []() -> utils::SafeList<core::CimInstance*> { throw utils::EFailed("x"); };
    EXPECT_EQ(thrownBy<utils::EFailed>([&] { enumerate(); }), "DRAVEv2: x");
    expectOnlyRevert();
    broker.onGetInstances = []() -> utils::SafeList<core::CimInstance*> { throw std::bad_alloc(); };
    EXPECT_THROW(enumerate(), std::bad_alloc);
    expectOnlyRevert();
}

TEST_F(BoundaryTest, APutLetsWhatIsWrongWithItsObjectPass)
{
    EXPECT_EQ(
        withoutLine(thrownBy([&] { provider->PutInstanceAsync(nullptr, WBEM_FLAG_UPDATE_ONLY, &context, &sink); })),
        assertionText("wmiInst != NULL"));
    expectOnlyRevert();
    support::FakeClassObject pathless(calls, "pathless");
    EXPECT_EQ(thrownBy<utils::ESyntaxError>(
                  [&] { provider->PutInstanceAsync(&pathless, WBEM_FLAG_UPDATE_ONLY, &context, &sink); }),
              "DRAVEv2: ESyntaxError:empty path");
    expectOnlyRevert();
    {
        const support::ImportHook hook("_Znwy", &noMemory, module.handle());
        object.add("Name", samples::bstr("x"), CIM_STRING);
        EXPECT_THROW(put(), std::bad_alloc);
    }
    expectOnlyRevert();
    // An array of numbers that is declared as one of texts.
    VARIANT wrong{};
    wrong.vt = VT_ARRAY | VT_BSTR;
    wrong.parray = SafeArrayCreateVector(VT_I8, 0, 1);
    EXPECT_EQ(comErrorOf([&] {
                  support::FakeClassObject hostile(calls, "hostile");
                  *hostile.path.address() = samples::bstr(PORT_PATH);
                  hostile.add("Names", wrong, CIM_STRING | CIM_FLAG_ARRAY);
                  provider->PutInstanceAsync(&hostile, WBEM_FLAG_UPDATE_ONLY, &context, &sink);
              }),
              "0x80020005");
    expectOnlyRevert();
}

TEST_F(BoundaryTest, ADeleteLetsWhatIsNoPathPassAndWhatIsNotOfTheFamily)
{
    EXPECT_EQ(thrownBy<utils::ESyntaxError>([&] { remove("nonsense"); }),
              "DRAVEv2: ESyntaxError:too many classname separators: 'nonsense'");
    expectOnlyRevert();
    EXPECT_EQ(withoutLine(thrownBy([&] { remove(""); })), assertionText("pathStr.size() > 0"));
    expectOnlyRevert();
    broker.onFind = []() -> core::CimInstance* { throw std::bad_alloc(); };
    EXPECT_THROW(remove(), std::bad_alloc);
    expectOnlyRevert();
    broker.onFind = []() -> core::CimInstance* { throw _com_error(E_OUTOFMEMORY); };
    EXPECT_EQ(comErrorOf([&] { remove(); }), "0x8007000E");
    expectOnlyRevert();
}

// Allocations of the provider until one fails; none fails while it is negative.
int allocationsLeft = -1;
bool allocationFailed = false;

void* newUntilNoneIsLeft(std::size_t size)
{
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) {
        allocationFailed = true;
        throw std::bad_alloc();
    }
    return ::operator new(size);
}

TEST_F(BoundaryTest, Put_nameWithoutMemory_isTheComErrorOfThat)
{
    // Nothing but their names is copied: one is a key, and the other has a type that is not taken.
    object.add("AKeyThatIsTooLongToBeKeptWithoutABlock", samples::bstr("a"), CIM_STRING, 0, true);
    object.add("ANameThatIsTooLongToBeKeptWithoutABlock", samples::i4(1), CIM_SINT32);
    std::multiset<std::string> outcomes;
    allocationFailed = true;
    for (int allocation = 0; allocationFailed; ++allocation) {
        allocationFailed = false;
        object.onNext = [&, armed = false]() mutable {
            if (!armed) {
                allocationsLeft = allocation;
                armed = true;
            }
        };
        broker.onModify = [&](core::CimPropertyList&) { allocationsLeft = -1; };
        const support::ImportHook hook("_Znwy", &newUntilNoneIsLeft, module.handle());
        outcomes.insert(comErrorOf([&] { put(); }));
        calls.take();
    }
    EXPECT_GE(outcomes.count("0x8007000E"), 3U) << "the key's name, its copy in the set, and the other name twice";
    EXPECT_EQ(outcomes.count("something else was thrown"), 0U);
}

}  // namespace
