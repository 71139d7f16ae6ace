#pragma once

#include <deque>
#include <functional>

#include "fakes/FakeUnknown.h"

namespace support {

// The sink of a request. Records "sink.Indicate(1, Class#1)" and "sink.SetStatus(0, 0x80041002, null, null)".
class FakeSink final : public FakeUnknown<IWbemObjectSink>
{
public:
    explicit FakeSink(CallLog& calls) : FakeUnknown(calls, "sink") {}

    // The results of the next calls, in order. Later calls return 0.
    std::deque<HRESULT> indicateAnswers;
    std::deque<HRESULT> statusAnswers;
    // Runs for each status, before the call returns.
    std::function<void()> onStatus;
    // Runs for each indicated object.
    std::function<void(IWbemClassObject*)> onIndicate;

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) override;
};

// The sink of Initialize. Records "initSink.SetStatus(0x00000000, 0)".
class FakeInitSink final : public FakeUnknown<IWbemProviderInitSink>
{
public:
    explicit FakeInitSink(CallLog& calls) : FakeUnknown(calls, "initSink") {}

    // Runs for each status.
    std::function<void()> onStatus;

    HRESULT STDMETHODCALLTYPE SetStatus(LONG status, LONG flags) override;
};

}  // namespace support
