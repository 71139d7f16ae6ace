#include <comdef.h>

#include <algorithm>
#include <functional>
#include <new>
#include <set>

#include "Utils/Exception.h"
#include "requests/RequestTest.h"

// Outcomes that neither the records of single requests nor the matrix of failures can show.
namespace {

using support::hex;
using support::Lines;

// The operations before getClassName belong to the broker. Here a call of one of them would end the process.
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

// A sink whose client releases it at the final status. A call after the last release is an access violation.
class LeavingSink final : public IWbemObjectSink
{
public:
    explicit LeavingSink(std::string& seen) : m_seen(seen) {}

    static void* operator new(std::size_t size)
    {
        void* const page = VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        return page != nullptr ? page : throw std::bad_alloc();
    }
    static void operator delete(void* page) { VirtualFree(page, 0, MEM_RELEASE); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const int left = --m_references;
        if (left == 0) {
            m_seen += "gone";
            delete this;
        }
        return static_cast<ULONG>(left);
    }
    HRESULT STDMETHODCALLTYPE Indicate(LONG, IWbemClassObject**) override { return WBEM_S_NO_ERROR; }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*) override
    {
        if (flags == WBEM_STATUS_COMPLETE) {
            m_seen += hex(result) + " ";
            Release();
        }
        return WBEM_S_NO_ERROR;
    }

private:
    ~LeavingSink() = default;

    std::string& m_seen;
    int m_references = 1;
};

class RequestOutcomeTest : public RequestTest
{
protected:
    void SetUp() override
    {
        *object.path.address() = samples::bstr(PORT_PATH);
        start();
        calls.take();
    }
};

TEST_F(RequestOutcomeTest, SinkThatGoesWithItsStatus_isLeftAlone)
{
    brokerHas(2);
    broker.onFind = [&] { return &job; };
    const std::function<HRESULT()> requests[]{[&] { return enumerate(); }, [&] { return get(JOB_PATH); },
                                              [&] { return put(); }, [&] { return remove(); },
                                              [&] { return execute(); }};
    for (const auto& request : requests) {
        std::string seen;
        client = new LeavingSink(seen);
        EXPECT_EQ(hex(request()), "0x00000000");
        EXPECT_EQ(seen, "0x00000000 gone");
        EXPECT_FALSE(support::threadHasToken());
    }
}

TEST_F(RequestOutcomeTest, Sink_mayAskAgainWhileItIsAnswered)
{
    brokerHas(2);
    broker.onFind = [&] { return &instance; };
    Lines inner;
    sink.onIndicate = [&](IWbemClassObject*) {
        const support::CallContext innerCall(calls);
        support::FakeSink innerSink(calls);
        client = &innerSink;
        inner.push_back(hex(get()));
        client = &sink;
        EXPECT_EQ(innerSink.references(), 0);
    };
    EXPECT_EQ(hex(enumerate()), "0x00000000");
    EXPECT_EQ(inner, (Lines{"0x00000000", "0x00000000"}));
    EXPECT_FALSE(support::threadHasToken());
    const Lines lines = calls.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "sink.SetStatus(2, 0x00020001, null, null)"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "sink.SetStatus(0, 0x00000000, null, null)"), 3);
    EXPECT_EQ(lines.back(), "call.RevertToSelf()");
}

TEST_F(RequestOutcomeTest, Progress_keepsSixteenBitsOfEach)
{
    // The instances have no properties, so that many of them cost little.
    core::CimInstance bare("Zerix_EthernetPort");
    broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        for (int i = 0; i < 65538; ++i) {
            list.append(&bare);
        }
        return list;
    };
    EXPECT_EQ(enumerate(), 0);
    Lines lines = calls.take();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("sink."); });
    ASSERT_EQ(lines.size(), 131077U);
    EXPECT_EQ(lines.at(1), "sink.SetStatus(2, 0x00020000, null, null)");
    EXPECT_EQ(lines.at(131071), "sink.SetStatus(2, 0x0002FFFF, null, null)");
    EXPECT_EQ(lines.at(131073), "sink.SetStatus(2, 0x00020000, null, null)");
    EXPECT_EQ(lines.at(131075), "sink.SetStatus(2, 0x00020001, null, null)");
}

TEST_F(RequestOutcomeTest, Path_withALookalike_namesAnotherInstance)
{
    // Best-fit conversion would complete the class name or the key, and so delete a job that no client has named.
    for (const wchar_t* const text :
         {L"Zerix_ConcreteJob\uFF0EInstanceID=\"7\"", L"Zerix_Concrete\u0134ob.InstanceID=\"7\"",
          L"Zerix_ConcreteJob.InstanceID=\uFF027\uFF02", L"Zerix_ConcreteJob.InstanceID=\"\uFF17\""})
    {
        const BSTR path = SysAllocString(text);
        try {
            provider->DeleteInstanceAsync(path, 0, &context, &sink);
        } catch (const utils::ESyntaxError&) {
            // The text is not a path.
        }
        SysFreeString(path);
        for (const std::string& line : calls.take()) {
            EXPECT_EQ(line.find("broker.getInstanceByPath(Zerix_ConcreteJob.InstanceID=\"7\")"), std::string::npos);
        }
    }
}

TEST_F(RequestOutcomeTest, Broker_isAskedAsTheClient)
{
    bool impersonating = false;
    broker.onFind = [&]() -> core::CimInstance* {
        impersonating = support::threadHasToken();
        return nullptr;
    };
    EXPECT_EQ(hex(get()), "0x80041002");
    EXPECT_TRUE(impersonating);
    EXPECT_FALSE(support::threadHasToken());
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

// The number of allocations of the provider until one fails. None fails while it is negative.
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

TEST_F(RequestOutcomeTest, Put_nameWithoutMemory_isTheComErrorOfThat)
{
    // Only the names of these properties are copied: one is a key, and the other has a type that is not accepted.
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
        try {
            put();
        } catch (const _com_error& error) {
            outcomes.insert(hex(error.Error()));
        } catch (...) {
            outcomes.insert("something else was thrown");
        }
        calls.take();
    }
    EXPECT_GE(outcomes.count("0x8007000E"), 3U) << "the key's name, its copy in the set, and the other name twice";
    EXPECT_EQ(outcomes.count("something else was thrown"), 0U);
}

}  // namespace
