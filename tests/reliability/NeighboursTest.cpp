#include <gmock/gmock.h>

#include <functional>
#include <new>

#include "reliability/Surroundings.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"

// Sinks that disconnect or call back while the built provider uses them. Failing brokers, namespaces, objects and sinks
// are tested by the matrix in tests/requests.
namespace {

using reliability::Outcome;
using reliability::Scenario;
using reliability::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;

class NeighboursTest : public testing::Test
{
protected:
    NeighboursTest()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        support::captureModule(m_module.handle());
    }
    ~NeighboursTest() override { support::releaseModule(m_module.handle()); }

    const support::LogCapture m_log{1};
    support::CallLog m_registryCalls;
    reliability::RegistrylessModule m_module{m_registryCalls};
};

// A client that makes another request from within its sink.
class ReenteringSink final : public support::FakeUnknown<IWbemObjectSink>
{
public:
    ReenteringSink(support::CallLog& calls, std::function<void()> again)
        : FakeUnknown(calls, "outer"), m_again(std::move(again))
    {
    }

    HRESULT STDMETHODCALLTYPE Indicate(LONG, IWbemClassObject**) override
    {
        record("Indicate");
        m_again();
        return WBEM_S_NO_ERROR;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*) override
    {
        record("SetStatus(" + std::to_string(flags) + ", " + support::hex(result) + ")");
        return WBEM_S_NO_ERROR;
    }

private:
    std::function<void()> m_again;
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

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
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
            m_seen += support::hex(result) + " ";
            Release();
        }
        return WBEM_S_NO_ERROR;
    }

private:
    ~LeavingSink() = default;

    std::string& m_seen;
    int m_references = 1;
};

TEST_F(NeighboursTest, SinkThatGoesWithItsStatus_isLeftAlone)
{
    for (const Scenario scenario :
         {Scenario::ENUMERATE, Scenario::GET, Scenario::PUT, Scenario::REMOVE, Scenario::INVOKE}) {
        Surroundings surroundings;
        std::string seen;
        surroundings.client = new LeavingSink(seen);
        const reliability::Provider provider(m_module, surroundings);
        const Outcome found = surroundings.request(scenario, provider.get());
        EXPECT_EQ(found.answer, "0x00000000") << reliability::nameOf(scenario);
        EXPECT_THAT(found.disorder, IsEmpty()) << reliability::nameOf(scenario);
        EXPECT_EQ(seen, "0x00000000 gone") << reliability::nameOf(scenario);
    }
}

TEST_F(NeighboursTest, Sink_mayAskAgainWhileItIsAnswered)
{
    Surroundings outer;
    Surroundings inner;
    const reliability::Provider provider(m_module, outer);
    std::vector<std::string> innerAnswers;
    ReenteringSink sink(outer.calls, [&] {
        const Outcome found = inner.request(Scenario::GET, provider.get());
        innerAnswers.push_back(found.answer + found.disorder);
    });
    outer.client = &sink;
    const Outcome found = outer.request(Scenario::ENUMERATE, provider.get());
    EXPECT_EQ(found.answer, "0x00000000");
    EXPECT_THAT(found.disorder, IsEmpty());
    EXPECT_THAT(innerAnswers, ElementsAre("0x00000000", "0x00000000"));
    EXPECT_THAT(found.calls, testing::Contains("outer.SetStatus(2, 0x00020001)"));
    EXPECT_EQ(found.calls.back(), "call.RevertToSelf()");
}

}  // namespace
