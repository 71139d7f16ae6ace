#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>

#include "broker/jobs/JobEntry.h"
#include "broker/jobs/JobWorld.h"

// Lets memory run out at every allocation of every step in a job's life, once or for some seconds. This is a separate
// program because it replaces operator new.
namespace {

// The number of the allocation that fails; 0 if none fails.
std::size_t failing = 0;
// Whether all later ones fail too.
bool isLasting = false;
std::size_t allocated = 0;

void* allocate(std::size_t size)
{
    if (failing != 0 && (++allocated == failing || (isLasting && allocated > failing))) {
        throw std::bad_alloc();
    }
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

namespace {

using broker::JobState;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::StartsWith;

// A process with one adapter. The test decides when its memory runs out.
class Process : public fakes::JobMachine, public fakes::JobProcess
{
public:
    Process() : JobProcess(stored, table, machine, adapters, "10-1") {}

    std::string start() { return JobProcess::start(adapter, setting, 2); }

    void pass(milliseconds time)
    {
        machine.pass(time);
        thread.play();
    }

    // Runs all jobs to their end.
    void finish()
    {
        for (int i = 0; i < 20; ++i) {
            jobs.jobs();
            pass(seconds{1});
        }
    }
};

struct Step
{
    const char* name;
    // Brings the process to the step, with enough memory.
    std::function<void(Process&)> before;
    // The step itself. It may throw std::bad_alloc or another exception that reports the failure.
    std::function<void(Process&)> run;
};

void expectInOrder(Process& process)
{
    process.finish();
    EXPECT_FALSE(process.thread.isRunning()) << "nothing is left to do";
    const auto shown = process.jobs.jobs();
    const auto results = process.jobs.results();
    const auto entries = process.stored->copy();
    EXPECT_EQ(results.size(), shown.size()) << "each job has a result";
    for (const broker::JobStatus& job : shown) {
        EXPECT_NE(job.state, JobState::RUNNING);
        EXPECT_EQ(job.error, job.state == JobState::EXCEPTION ? "Memory ran out" : "");
        const auto entry = entries.at("Jobs").find(job.id);
        ASSERT_NE(entry, entries.at("Jobs").end()) << "the job is stored";
        EXPECT_EQ(broker::jobOf(job.id, entry->second.text)->status.state, job.state);
    }
    for (const auto& result : results) {
        EXPECT_TRUE(entries.at("Results").contains(result->id)) << "the result is stored";
        EXPECT_EQ(result->bytesReceived.size(), result->bytesTransmitted.size());
    }
    for (const char* key : {"Jobs", "Results"}) {
        EXPECT_EQ(entries.contains(key) ? entries.at(key).size() : 0, shown.size()) << "nothing else is stored";
    }
    EXPECT_NE(process.start(), "") << "the next start works";
}

// Returns whether the allocation with this number was reached.
bool runWithFailure(const std::function<void(Process&)>& run, Process& process, std::size_t number)
{
    allocated = 0;
    failing = number;
    try {
        run(process);
    } catch (const std::exception&) {
        // The client received an error.
    }
    failing = 0;
    return allocated >= number;
}

// Calls `run` with the number of each allocation in turn, until it returns that there are no more.
void forEachAllocation(const std::function<bool(std::size_t)>& run)
{
    std::size_t number = 1;
    for (bool wasReached = true; wasReached && !testing::Test::HasFailure(); ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        wasReached = run(number);
    }
    EXPECT_GT(number, 2U) << "no memory was asked for";
}

void start(Process& process)
{
    process.start();
}

void startAndSample(Process& process)
{
    process.start();
    process.pass(milliseconds{100});
}

void complete(Process& process)
{
    startAndSample(process);
    process.pass(milliseconds{100});
}

void sample(Process& process)
{
    process.pass(milliseconds{100});
}

void terminate(Process& process)
{
    process.jobs.end("Vexal:Job:1700000000000000-1", JobState::TERMINATED);
}

// The entries of a process that has ended: one job that had ended and one that had not.
void leaveEntries(Process& process)
{
    const auto other = process.makeProcess("9-1");
    other->start(process.adapter, process.setting, 1);
    process.machine.pass(seconds{1});
    other->thread.play();
    other->start(process.adapter, process.setting, 1);
}

TEST(JobMemory, OneAllocationFails_nothingIsLost)
{
    const auto list = [](Process& process) {
        process.jobs.jobs();
        process.jobs.results();
    };
    for (const Step& step : {Step{"start", [](Process&) {}, &start}, Step{"sample", &start, &sample},
                             Step{"last sample", &startAndSample, &sample}, Step{"end", &start, &terminate},
                             Step{"list", &complete, list}})
    {
        SCOPED_TRACE(step.name);
        forEachAllocation([&step](std::size_t number) {
            Process process;
            step.before(process);
            const bool wasReached = runWithFailure(step.run, process, number);
            expectInOrder(process);
            return wasReached;
        });
    }
}

// A job does not wait for memory for ever: after some attempts it ends without its result.
TEST(JobMemory, NoMemory_endsTheJobWithoutAResult)
{
    Process process;
    start(process);
    isLasting = true;
    runWithFailure(
        [](Process& starved) {
            for (int second = 0; second < 10; ++second) {
                starved.pass(seconds{1});
            }
        },
        process, 1);
    isLasting = false;
    process.finish();
    const auto shown = process.jobs.jobs();
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].state, JobState::EXCEPTION);
    EXPECT_EQ(shown[0].error, "Memory ran out");
    EXPECT_TRUE(process.jobs.results().empty());
    const auto entries = process.stored->copy();
    EXPECT_EQ(broker::jobOf(shown[0].id, entries.at("Jobs").at(shown[0].id).text)->status.state, JobState::EXCEPTION);
    EXPECT_FALSE(process.thread.isRunning());
    EXPECT_NE(process.start(), "") << "the next start works";
}

// A deletion cannot report a failure. Clients no longer see the job, and the thread deletes its entry later.
TEST(JobMemory, OneAllocationFails_deletionIsDone)
{
    forEachAllocation([](std::size_t number) {
        bool wasReached = false;
        for (const auto& before : {&start, &complete}) {
            Process process;
            before(process);
            const auto job = process.jobs.makeInstance(process.jobs.jobs().at(0).id, "Zerix_ConcreteJob");
            wasReached |= runWithFailure([&job](Process&) { job->markForDeletion(true); }, process, number);
            EXPECT_TRUE(process.jobs.jobs().empty());
            process.thread.play();
            EXPECT_TRUE(process.storage.values("Jobs").empty()) << "without another request";
            process.pass(seconds{1});
            EXPECT_EQ(process.jobs.results().size(), before == &start ? 0U : 1U);
            EXPECT_NE(process.start(), "") << "the next start works";
        }
        return wasReached;
    });
}

// Entries of another process are shown completely or not at all.
TEST(JobMemory, OneAllocationFails_nextRequestReads)
{
    forEachAllocation([](std::size_t number) {
        Process process;
        leaveEntries(process);
        process.storage.set("Jobs", "unreadable", "?");
        process.storage.set("Results", "unreadable", "?");
        const bool wasReached = runWithFailure([](Process& reader) { reader.jobs.jobs(); }, process, number);
        const std::vector<std::string> states = process.states();
        EXPECT_THAT(states, ElementsAre(StartsWith("7 "), StartsWith("10 ")));
        EXPECT_EQ(process.jobs.jobs().back().error, "The host process ended");
        EXPECT_EQ(process.jobs.results().size(), 1U);
        // The stored entries agree.
        process.thread.play();
        const auto entries = process.stored->copy();
        EXPECT_EQ(entries.at("Jobs").size(), 2U);
        EXPECT_EQ(entries.at("Results").size(), 1U);
        const std::string id = states.at(1).substr(3);
        EXPECT_EQ(broker::jobOf(id, entries.at("Jobs").at(id).text)->status.state, JobState::EXCEPTION);
        return wasReached;
    });
}

}  // namespace
