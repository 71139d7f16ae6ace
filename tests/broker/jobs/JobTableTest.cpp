#include "broker/jobs/JobTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "broker/Fakes.h"
#include "broker/classes/ClassNames.h"
#include "support/LogCapture.h"

namespace {

using broker::JobState;
using testing::ElementsAre;
using testing::IsEmpty;

class FailingAdapters : public fakes::Adapters
{
public:
    std::optional<broker::Adapter> readAdapter(std::uint64_t /*luid*/) override
    {
        throw std::runtime_error("out of order");
    }
};

class JobTable : public testing::Test
{
protected:
    JobTable()
    {
        m_adapters.set({m_adapter});
        m_setting.samplePeriodMilliseconds = 100;
        m_setting.jobRetentionSeconds = 60;
    }

    std::string start(std::uint16_t samples = 2)
    {
        return m_table.startDiagnostic(m_adapter, m_setting, samples).value_or("no thread");
    }

    // What the thread would do now.
    std::optional<std::uint32_t> work() { return m_thread.work->work(); }

    void pass(std::uint64_t milliseconds) { m_machine.time += milliseconds * 1000; }

    broker::JobStatus status(std::size_t index = 0) { return m_table.jobs().at(index).status; }

    fakes::Adapters m_adapters;
    fakes::Machine m_machine;
    fakes::ManualThread m_thread;
    fakes::Storage m_storage;
    broker::Adapter m_adapter = fakes::adapter(1);
    broker::DiagnosticSetting m_setting;
    broker::JobTable m_table{m_adapters, m_machine, m_thread, m_storage};
};

TEST_F(JobTable, StartedJobRunsOnAThread)
{
    const std::string id = start();
    EXPECT_EQ(m_thread.starts, 1);
    const broker::JobStatus started = status();
    EXPECT_EQ(started.id, id);
    EXPECT_EQ(started.adapterName, "eth1");
    EXPECT_EQ(started.owner, "admin");
    EXPECT_EQ(started.state, JobState::RUNNING);
    EXPECT_EQ(started.percentComplete, 0);
    EXPECT_EQ(started.startTime, m_machine.time);
    EXPECT_EQ(started.retention, 60'000'000U);
}

TEST_F(JobTable, IdsDifferAlsoFromThoseOfALaterTable)
{
    const std::string first = start();
    EXPECT_EQ(first, "Vexal:Job:1700000000000000-1");
    EXPECT_EQ(start(), "Vexal:Job:1700000000000000-2");
    pass(1);
    broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
    EXPECT_EQ(later.startDiagnostic(m_adapter, m_setting, 1), "Vexal:Job:1700000000001000-1");
}

TEST_F(JobTable, CountsUpAndCompletesWithAResult)
{
    const std::string id = start(2);
    EXPECT_EQ(work(), 101U);
    pass(100);
    m_adapter.counters.bytesReceived += 7;
    m_adapters.set({m_adapter});
    EXPECT_EQ(work(), 101U);
    EXPECT_EQ(status().percentComplete, 50);
    EXPECT_EQ(status().elapsed, 100'000U);
    EXPECT_THAT(m_table.results(), IsEmpty());
    pass(100);
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_EQ(status().state, JobState::COMPLETED);
    EXPECT_EQ(status().percentComplete, 100);
    EXPECT_EQ(m_table.error(id), std::nullopt);
    pass(1000);
    EXPECT_EQ(status().elapsed, 200'000U);
    ASSERT_EQ(m_table.results().size(), 1U);
    const broker::DiagnosticResult result = *m_table.results()[0];
    EXPECT_EQ(result.id, "Vexal:DiagnosticResult:1700000000000000-1");
    EXPECT_EQ(result.jobId, id);
    EXPECT_EQ(result.adapterGuid, m_adapter.guid);
    EXPECT_EQ(result.jobState, JobState::COMPLETED);
    EXPECT_TRUE(result.isPassed);
    EXPECT_EQ(result.passedPercent, 100);
    EXPECT_EQ(result.startTime, 1'700'000'000'000'000U);
    EXPECT_EQ(result.duration, 200'000U);
    EXPECT_THAT(result.bytesReceived, ElementsAre(7, 0));
    EXPECT_THAT(result.bytesTransmitted, ElementsAre(0, 0));
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(JobTable, JobWhoseAdapterGoesEndsInAnExceptionWithAResult)
{
    const std::string id = start(3);
    pass(100);
    work();
    m_adapters.set(std::vector<broker::Adapter>());
    pass(100);
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_EQ(status().state, JobState::EXCEPTION);
    EXPECT_EQ(m_table.error(id), "The adapter is gone or cannot be read");
    ASSERT_EQ(m_table.results().size(), 1U);
    EXPECT_EQ(m_table.results()[0]->jobState, JobState::EXCEPTION);
    EXPECT_THAT(m_table.results()[0]->errors, ElementsAre("The adapter is gone or cannot be read"));
    EXPECT_EQ(m_table.results()[0]->bytesReceived.size(), 1U);
}

TEST_F(JobTable, ThreadLivesThroughAnExceptionOfThePlatform)
{
    const support::LogCapture log(1);
    FailingAdapters failing;
    broker::JobTable table(failing, m_machine, m_thread, m_storage);
    table.startDiagnostic(m_adapter, m_setting, 1);
    pass(100);
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_EQ(table.jobs()[0].status.state, JobState::EXCEPTION);
    EXPECT_THAT(log.events(), ElementsAre(testing::EndsWith("error: Job failed: out of order\n")));
}

TEST_F(JobTable, SecondJobWakesTheThreadInsteadOfStartingOne)
{
    start();
    start();
    EXPECT_EQ(m_thread.starts, 1);
    EXPECT_EQ(m_thread.wakes, 1);
}

TEST_F(JobTable, ThreadThatHasLeftIsStartedAgain)
{
    start(1);
    pass(100);
    EXPECT_EQ(work(), std::nullopt);
    start(1);
    EXPECT_EQ(m_thread.starts, 2);
}

TEST_F(JobTable, JobsTakeTurnsByTheirTime)
{
    start(1);
    m_setting.samplePeriodMilliseconds = 30;
    start(1);
    EXPECT_EQ(work(), 31U);
    pass(30);
    EXPECT_EQ(work(), 71U);
    EXPECT_EQ(status(0).state, JobState::RUNNING);
    EXPECT_EQ(status(1).state, JobState::COMPLETED);
}

TEST_F(JobTable, WithoutAThreadThereIsNoJob)
{
    m_thread.canStart = false;
    EXPECT_EQ(m_table.startDiagnostic(m_adapter, m_setting, 1), std::nullopt);
    EXPECT_THAT(m_table.jobs(), IsEmpty());
    m_thread.canStart = true;
    start(1);
    EXPECT_EQ(m_thread.starts, 2);
}

// A thread that cannot be started; meanwhile somebody starts another job, which counts on it.
class BusyThread : public broker::JobThread
{
public:
    bool start(broker::JobWork& /*work*/) override
    {
        meanwhile();
        return false;
    }
    void wake() noexcept override {}

    std::function<void()> meanwhile;
};

TEST_F(JobTable, JobThatCountedOnAThreadThatCannotBeStartedEndsWithAResultThatIsKept)
{
    BusyThread thread;
    broker::JobTable table(m_adapters, m_machine, thread, m_storage);
    std::string other;
    thread.meanwhile = [&] { other = table.startDiagnostic(m_adapter, m_setting, 1).value_or("no job"); };
    EXPECT_EQ(table.startDiagnostic(m_adapter, m_setting, 1), std::nullopt);
    ASSERT_EQ(table.jobs().size(), 1U);
    EXPECT_EQ(table.jobs().front().status.id, other);
    EXPECT_EQ(table.jobs().front().status.state, JobState::EXCEPTION);
    EXPECT_EQ(table.error(other), "There is no thread to carry on the job");
    ASSERT_EQ(table.results().size(), 1U);
    EXPECT_EQ(table.results().front()->jobId, other);
    broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
    ASSERT_EQ(later.jobs().size(), 1U);
    EXPECT_EQ(later.jobs().front().status.state, JobState::EXCEPTION);
    ASSERT_EQ(later.results().size(), 1U);
}

TEST_F(JobTable, EndedJobKeepsItsStateAndLeavesNoResult)
{
    const std::string id = start();
    pass(50);
    EXPECT_TRUE(m_table.end(id, JobState::TERMINATED));
    EXPECT_EQ(m_thread.wakes, 1);
    pass(500);
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_EQ(status().state, JobState::TERMINATED);
    EXPECT_EQ(status().elapsed, 50'000U);
    EXPECT_THAT(m_table.results(), IsEmpty());
    EXPECT_FALSE(m_table.end(id, JobState::KILLED));
    EXPECT_FALSE(m_table.end("another", JobState::KILLED));
}

TEST_F(JobTable, KilledJobIsKilled)
{
    EXPECT_TRUE(m_table.end(start(), JobState::KILLED));
    EXPECT_EQ(status().state, JobState::KILLED);
}

TEST_F(JobTable, SweepKeepsRunningJobsAndThoseWithinTheirTime)
{
    start(1);
    pass(100'000);
    m_table.sweep();
    EXPECT_EQ(m_table.jobs().size(), 1U);
    work();
    pass(59'999);
    m_table.sweep();
    EXPECT_EQ(m_table.jobs().size(), 1U);
    pass(1);
    m_table.sweep();
    EXPECT_THAT(m_table.jobs(), IsEmpty());
    // The result stays.
    EXPECT_EQ(m_table.results().size(), 1U);
}

TEST_F(JobTable, EndlessRetentionNeverEnds)
{
    m_setting.jobRetentionSeconds = UINT64_MAX;
    start(1);
    EXPECT_EQ(status().retention, UINT64_MAX);
    pass(100);
    work();
    m_machine.time = UINT64_MAX - 1;
    m_table.sweep();
    EXPECT_EQ(m_table.jobs().size(), 1U);
}

TEST_F(JobTable, MarkedInstanceEndsItsJobAndDropsIt)
{
    start();
    const auto instance = m_table.makeInstance(m_table.jobs()[0].job, "Zerix_ConcreteJob");
    m_table.sweep();
    EXPECT_EQ(m_table.jobs().size(), 1U);
    instance->markForDeletion(true);
    m_table.sweep();
    EXPECT_THAT(m_table.jobs(), IsEmpty());
    EXPECT_EQ(m_thread.wakes, 1);
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_THAT(m_table.results(), IsEmpty());
}

TEST_F(JobTable, AnyOfTheInstancesOfAJobCounts)
{
    start();
    start();
    const auto job = m_table.jobs()[1].job;
    const auto one = m_table.makeInstance(job, "Zerix_ConcreteJob");
    const auto other = m_table.makeInstance(job, "Zerix_ConcreteJob");
    one->markForDeletion(true);
    m_table.sweep();
    ASSERT_EQ(m_table.jobs().size(), 1U);
    EXPECT_NE(m_table.jobs()[0].job, job);
}

TEST_F(JobTable, MarkedInstance_countsWhenItIsGone)
{
    start();
    m_table.makeInstance(m_table.jobs()[0].job, "Zerix_ConcreteJob")->markForDeletion(true);
    m_table.sweep();
    EXPECT_THAT(m_table.jobs(), IsEmpty());
}

TEST_F(JobTable, KeepsTheNewestResultsOnly)
{
    for (std::size_t i = 0; i < broker::JobTable::MAX_RESULTS + 2; ++i) {
        start(1);
        pass(100);
        work();
    }
    ASSERT_EQ(m_table.results().size(), broker::JobTable::MAX_RESULTS);
    EXPECT_EQ(m_table.results().front()->id, "Vexal:DiagnosticResult:1700000000000000-3");
}

TEST_F(JobTable, LaterTableFindsEndedJobsAndTheirResults)
{
    const std::string id = start(1);
    pass(100);
    work();
    broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
    ASSERT_EQ(later.jobs().size(), 1U);
    const broker::JobStatus kept = later.jobs()[0].status;
    EXPECT_EQ(kept.id, id);
    EXPECT_EQ(kept.state, JobState::COMPLETED);
    EXPECT_EQ(kept.percentComplete, 100);
    EXPECT_EQ(kept.elapsed, 100'000U);
    EXPECT_FALSE(later.end(id, JobState::TERMINATED));
    ASSERT_EQ(later.results().size(), 1U);
    EXPECT_EQ(later.results()[0]->jobId, id);
    EXPECT_THAT(later.results()[0]->bytesReceived, ElementsAre(0));
}

TEST_F(JobTable, LaterTableFindsNoRunningJob)
{
    start(2);
    EXPECT_THAT(broker::JobTable(m_adapters, m_machine, m_thread, m_storage).jobs(), IsEmpty());
}

TEST_F(JobTable, LaterTableFindsTheStateInWhichAClientEndedTheJob)
{
    const std::string id = start(2);
    EXPECT_TRUE(m_table.end(id, JobState::KILLED));
    broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
    ASSERT_EQ(later.jobs().size(), 1U);
    EXPECT_EQ(later.jobs()[0].status.state, JobState::KILLED);
}

TEST_F(JobTable, JobDeletedFromALaterTableIsGoneForGood)
{
    start(1);
    pass(100);
    work();
    {
        broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
        const auto instance = later.makeInstance(later.jobs().at(0).job, "Zerix_ConcreteJob");
        instance->markForDeletion(true);
        later.sweep();
        EXPECT_THAT(later.jobs(), IsEmpty());
    }
    broker::JobTable last(m_adapters, m_machine, m_thread, m_storage);
    EXPECT_THAT(last.jobs(), IsEmpty());
    EXPECT_EQ(last.results().size(), 1U);
}

TEST_F(JobTable, KeptJobGoesWhenItsTimeIsOver)
{
    start(1);
    pass(100);
    work();
    pass(60'000);
    broker::JobTable later(m_adapters, m_machine, m_thread, m_storage);
    later.sweep();
    EXPECT_THAT(later.jobs(), IsEmpty());
    EXPECT_THAT(m_storage.children("Jobs"), IsEmpty());
}

TEST_F(JobTable, StorageHoldsNoMoreResultsThanTheTable)
{
    for (std::size_t i = 0; i < broker::JobTable::MAX_RESULTS + 2; ++i) {
        start(1);
        pass(100);
        work();
    }
    EXPECT_EQ(m_storage.children("Results").size(), broker::JobTable::MAX_RESULTS);
}

TEST_F(JobTable, WithoutRightToWriteJobsAreKeptInMemory)
{
    m_storage.isWritable = false;
    start(1);
    pass(100);
    work();
    EXPECT_EQ(status().state, JobState::COMPLETED);
    EXPECT_EQ(m_table.results().size(), 1U);
    EXPECT_EQ(m_storage.writes, 0);
}

TEST_F(JobTable, RealThreadCarriesJobsOnWhileOthersComeAndGo)
{
    fakes::RealThread thread;
    fakes::Machine machine;
    broker::JobTable table(m_adapters, machine, thread, m_storage);
    m_setting.samplePeriodMilliseconds = 10;
    // The clock may run fast.
    m_setting.jobRetentionSeconds = UINT64_MAX;
    constexpr int ROUNDS = 40;
    std::atomic<int> killed{0};
    std::atomic<bool> isOver{false};
    std::thread clock([&] {
        while (!isOver) {
            machine.time += 1000;
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    std::vector<std::thread> clients;
    for (int client = 0; client < 3; ++client) {
        clients.emplace_back([&] {
            for (int i = 0; i < ROUNDS; ++i) {
                const auto id = table.startDiagnostic(m_adapter, m_setting, 2);
                for (const auto& entry : table.jobs()) {
                    const auto instance = table.makeInstance(entry.job, "Zerix_ConcreteJob");
                    if (entry.status.id == *id) {
                        instance->markForDeletion(i % 3 == 0);
                        if (i % 3 == 1 && table.end(*id, JobState::KILLED)) {
                            ++killed;
                        }
                        table.sweep();
                    }
                }
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    const auto anyRuns = [&table] {
        const auto jobs = table.jobs();
        return std::any_of(jobs.begin(), jobs.end(),
                           [](const auto& entry) { return entry.status.state == JobState::RUNNING; });
    };
    while (anyRuns()) {
        std::this_thread::yield();
    }
    isOver = true;
    clock.join();
    thread.join();
    // Every third job of each client was deleted, whatever its state; of the others, those completed that nobody killed
    // in time.
    constexpr int KEPT = 3 * (ROUNDS - (ROUNDS + 2) / 3);
    const auto jobs = table.jobs();
    const auto count = [&jobs](JobState state) {
        return std::count_if(jobs.begin(), jobs.end(),
                             [state](const auto& entry) { return entry.status.state == state; });
    };
    EXPECT_EQ(jobs.size(), static_cast<std::size_t>(KEPT));
    EXPECT_EQ(count(JobState::KILLED), killed);
    EXPECT_EQ(count(JobState::COMPLETED), KEPT - killed);
}

}  // namespace
