#include "fakes/FakeSink.h"

#include "fakes/FakeClassObject.h"

namespace support {

namespace {

HRESULT nextOf(std::deque<HRESULT>& answers)
{
    if (answers.empty()) {
        return WBEM_S_NO_ERROR;
    }
    const HRESULT answer = answers.front();
    answers.pop_front();
    return answer;
}

}  // namespace

HRESULT FakeSink::Indicate(LONG count, IWbemClassObject** objects)
{
    std::string call = "Indicate(" + std::to_string(count);
    for (LONG i = 0; i < count; ++i) {
        call += ", " + dynamic_cast<FakeClassObject&>(*objects[i]).name();
    }
    record(call + ")");
    for (LONG i = 0; onIndicate && i < count; ++i) {
        onIndicate(objects[i]);
    }
    return nextOf(indicateAnswers);
}

HRESULT FakeSink::SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object)
{
    record("SetStatus(" + std::to_string(flags) + ", " + hex(result) + (text == nullptr ? ", null" : ", text") +
           (object == nullptr ? ", null)" : ", object)"));
    if (onStatus) {
        onStatus();
    }
    return nextOf(statusAnswers);
}

HRESULT FakeInitSink::SetStatus(LONG status, LONG flags)
{
    record("SetStatus(" + hex(status) + ", " + std::to_string(flags) + ")");
    if (onStatus) {
        onStatus();
    }
    return WBEM_S_NO_ERROR;
}

}  // namespace support
