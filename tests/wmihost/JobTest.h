#pragma once

#include "tests/wmihost/CommandTest.h"

namespace wmihost {

// Helps to test commands that wait for jobs: the method Start of the class Fake_Runner starts the job "1" of Fake_Job.
// Each test defines the answer to a retrieval of the job.
template <class Fixture>
class JobTest : public Fixture
{
protected:
    JobTest()
    {
        Fixture::addToMof(R"(
[dynamic, provider("FakeProvider")]
class Fake_Job
{
    [key] string InstanceID;
    [ValueMap{"4", "7", "10"}, Values{"Running", "Completed", "Exception"}] uint16 JobState;
    uint16 PercentComplete;
};
[dynamic, provider("FakeProvider")]
class Fake_Runner
{
    [key] string Name;
    [implemented] uint32 Start([out] Fake_Job ref Job);
};
)");
        Fixture::behaviour.execMethod = [](IWbemServices& ns, std::wstring_view, IWbemClassObject*,
                                           IWbemObjectSink* sink) {
            const auto outputs = Fixture::spawnOutputs(ns, L"Fake_Runner", L"Start");
            put(outputs, L"Job", Variant::ofText(L"Fake_Job.InstanceID=\"1\""));
            put(outputs, L"ReturnValue", Variant::ofLong(4096));
            Fixture::deliver(sink, outputs);
            return Fixture::finish(sink);
        };
    }

    // Sets the answer to a retrieval of the job.
    static HRESULT deliverJob(IWbemServices& ns, IWbemObjectSink* sink, long state, long percent)
    {
        const auto job = Fixture::spawn(ns, L"Fake_Job");
        put(job, L"InstanceID", Variant::ofText(L"1"));
        put(job, L"JobState", Variant::ofLong(state));
        put(job, L"PercentComplete", Variant::ofLong(percent));
        Fixture::deliver(sink, job);
        return Fixture::finish(sink);
    }
};

}  // namespace wmihost
