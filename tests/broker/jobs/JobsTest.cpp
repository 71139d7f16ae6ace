#include "broker/jobs/Jobs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "Utils/Exception.h"
#include "broker/JobRequests.h"
#include "broker/jobs/JobWorld.h"
#include "support/LogCapture.h"
#include "support/Together.h"

namespace {

using broker::EndOutcome;
using broker::JobState;
using broker::StartOutcome;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

class Jobs : public testing::Test, protected fakes::JobMachine
{
protected:
    std::string start(std::uint16_t samples = 2) { return m_process.start(adapter, setting, samples); }

    std::string startOn(unsigned adapterNumber) { return m_process.start(fakes::adapter(adapterNumber), setting, 2); }

    std::string complete()
    {
        const std::string id = start(1);
        sampleOnce();
        return id;
    }

    void sampleOnce()
    {
        machine.pass(milliseconds{100});
        work();
    }

    std::optional<milliseconds> work() { return m_process.thread.play(); }

    broker::JobStatus status(std::size_t index = 0) { return m_process.jobs.jobs().at(index); }

    std::vector<std::string> storedJobs() { return m_process.storage.values("Jobs"); }

    fakes::JobProcess m_process{stored, table, machine, adapters, "10-1"};
};

TEST_F(Jobs, StartedJob_isShownAndStored)
{
    const std::string id = start();
    EXPECT_EQ(m_process.thread.starts, 1);
    EXPECT_EQ(status().id, id);
    EXPECT_THAT(storedJobs(),
                ElementsAre(id + "=JobState=4;AdapterName=eth1;AdapterGuid=" + adapter.guid +
                            ";Owner=HOST\\admin;Host=10-1;PercentComplete=0;Error=;StartTime=1700000000000000;"
                            "EndTime=0;Elapsed=0;Retention=60000000"));
}

TEST_F(Jobs, Ids_differAlsoFromThoseOfAnotherProcess)
{
    EXPECT_EQ(start(), "Vexal:Job:1700000000000000-1");
    EXPECT_EQ(startOn(2), "Vexal:Job:1700000000000000-2");
    // Both were made in the same microsecond.
    fakes::JobProcess twin(stored, table, machine, adapters, "11-1");
    machine.setClock(-machine.now().time_since_epoch());
    fakes::JobProcess other(stored, table, machine, adapters, "12-1");
    EXPECT_EQ(twin.start(fakes::adapter(7), setting, 1), "Vexal:Job:1700000000000000-3");
    EXPECT_EQ(other.start(fakes::adapter(8), setting, 1), "Vexal:Job:0-1");
}

TEST_F(Jobs, Job_countsUpAndCompletesWithAResult)
{
    const std::string id = start(2);
    EXPECT_EQ(work(), milliseconds{100});
    machine.pass(milliseconds{100});
    adapter.counters.bytesReceived += 7;
    adapters.set({adapter});
    EXPECT_EQ(work(), milliseconds{100});
    EXPECT_EQ(status().percentComplete, 50);
    EXPECT_EQ(status().elapsed, milliseconds{100});
    EXPECT_THAT(m_process.jobs.results(), IsEmpty());
    machine.pass(milliseconds{100});
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_EQ(status().state, JobState::COMPLETED);
    EXPECT_EQ(status().percentComplete, 100);
    machine.pass(seconds{1});
    EXPECT_EQ(status().elapsed, milliseconds{200});
    ASSERT_THAT(m_process.jobs.results(), SizeIs(1));
    const broker::DiagnosticResult result = *m_process.jobs.results()[0];
    EXPECT_EQ(result.jobId, id);
    EXPECT_EQ(result.duration, milliseconds{200});
    EXPECT_THAT(result.bytesReceived, ElementsAre(7, 0));
}

// Time

TEST_F(Jobs, Clock_setWhileAJobRuns_changesNoDuration)
{
    for (const hours change : {hours{-1}, hours{2}}) {
        start(2);
        machine.setClock(change);
        EXPECT_EQ(work(), milliseconds{100});
        machine.pass(milliseconds{50});
        EXPECT_EQ(work(), milliseconds{50});
        EXPECT_EQ(status().elapsed, milliseconds{50});
        machine.pass(milliseconds{50});
        EXPECT_EQ(work(), milliseconds{100});
        machine.setClock(change);
        machine.pass(milliseconds{100});
        EXPECT_EQ(work(), std::nullopt);
        const broker::JobStatus ended = status();
        EXPECT_EQ(ended.state, JobState::COMPLETED);
        EXPECT_EQ(ended.elapsed, milliseconds{200});
        EXPECT_EQ(m_process.jobs.results().at(0)->duration, milliseconds{200});
        m_process.mark(ended.id);
    }
}

TEST_F(Jobs, Retention_clockSet_staysTrue)
{
    complete();
    for (const hours change : {hours{1}, hours{-2}}) {
        machine.setClock(change);
        machine.pass(seconds{29});
        EXPECT_THAT(m_process.jobs.jobs(), SizeIs(1));
    }
    machine.pass(seconds{2});
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
}

// The retention is a minute. A clock that was set back does not make it longer.
TEST_F(Jobs, Retention_afterRestart_goesByTheClock)
{
    for (const auto& [change, left] : {std::pair{seconds{50}, seconds{10}}, {hours{-24}, seconds{60}}}) {
        complete();
        machine.setClock(change);
        fakes::JobProcess later(stored, table, machine, adapters, "11-1");
        EXPECT_THAT(later.jobs.jobs(), SizeIs(1));
        machine.pass(left - seconds{1});
        EXPECT_THAT(later.jobs.jobs(), SizeIs(1));
        machine.pass(seconds{1});
        EXPECT_THAT(later.jobs.jobs(), IsEmpty());
        later.thread.play();
        EXPECT_THAT(storedJobs(), IsEmpty());
    }
}

TEST_F(Jobs, Clock_outsideTheCalendar_isShownAtItsEnd)
{
    machine.setClock(hours{24 * 366 * 2000});
    start();
    EXPECT_EQ(status().startTime.time_since_epoch(),
              std::chrono::seconds{32'535'244'800} - std::chrono::microseconds{1});
}

// Deletion

TEST_F(Jobs, Mark_thatIsTakenBack_deletesNothing)
{
    m_process.jobs.makeInstance(start(), "Zerix_ConcreteJob")->markForDeletion(false);
    EXPECT_THAT(m_process.jobs.jobs(), SizeIs(1));
}

TEST_F(Jobs, Deletion_isFinishedWhenTheMarkReturns)
{
    const std::string id = start();
    m_process.mark(id);
    EXPECT_THAT(m_process.thread.limits, ElementsAre(milliseconds{2000}, milliseconds{2000}));
    EXPECT_THAT(storedJobs(), IsEmpty());
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
    EXPECT_EQ(work(), std::nullopt);
    EXPECT_THAT(m_process.jobs.results(), IsEmpty());
    EXPECT_EQ(m_process.jobs.end(id, JobState::KILLED), EndOutcome::NOT_RUNNING);
    EXPECT_NE(start(), "") << "its port is not in use";
}

TEST_F(Jobs, Deletion_ofABusyWorker_isSeenAtOnce)
{
    const support::LogCapture log(1);
    const std::string id = start();
    m_process.thread.worksWhileWaited = false;
    m_process.mark(id);
    EXPECT_THAT(log.events(),
                ElementsAre(EndsWith("broker::Jobs::remove: error: Deletion of " + id + " is not finished yet\n")));
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
    machine.pass(seconds{1});
    work();
    EXPECT_THAT(storedJobs(), IsEmpty());
    EXPECT_THAT(m_process.storage.values("Results"), IsEmpty());
}

TEST_F(Jobs, Deletion_refusedByTheStorage_isTriedAgain)
{
    const support::LogCapture log(1);
    const std::string id = complete();
    m_process.storage.firstFailing = m_process.storage.changes + 1;
    m_process.storage.lastFailing = m_process.storage.firstFailing;
    m_process.mark(id);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::JobArchive::drop: error: " + id + " stays stored\n")));
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
    EXPECT_THAT(storedJobs(), SizeIs(1));
    EXPECT_FALSE(m_process.thread.isRunning());
    start();
    m_process.mark("another");
    EXPECT_THAT(storedJobs(), SizeIs(1)) << "the running one";
    EXPECT_THAT(m_process.jobs.jobs(), SizeIs(1));
}

TEST_F(Jobs, Deletion_refusedByTheStorage_freesThePort)
{
    const std::string id = start(600);
    m_process.storage.firstFailing = m_process.storage.changes + 1;
    m_process.storage.lastFailing = m_process.storage.firstFailing;
    m_process.mark(id);
    EXPECT_THAT(storedJobs(), SizeIs(1));
    EXPECT_NE(start(), "");
}

TEST_F(Jobs, Deletion_withoutAThread_neverThrows)
{
    const std::string id = complete();
    m_process.thread.canStart = false;
    m_process.mark(id);
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
    m_process.thread.canStart = true;
    m_process.mark("another");
    EXPECT_THAT(storedJobs(), IsEmpty());
}

// Limits

TEST_F(Jobs, SecondJobOfAPort_isInUse)
{
    start();
    EXPECT_EQ(m_process.jobs.startDiagnostic(adapter, setting, 1).outcome, StartOutcome::IN_USE);
    fakes::JobProcess other(stored, table, machine, adapters, "11-1");
    EXPECT_EQ(other.jobs.startDiagnostic(adapter, setting, 1).outcome, StartOutcome::IN_USE);
    EXPECT_EQ(other.jobs.startDiagnostic(fakes::adapter(2), setting, 1).outcome, StartOutcome::STARTED);
}

TEST_F(Jobs, MoreThan64Running_areRefused)
{
    for (unsigned number = 1; number <= broker::JobRegistry::MAX_RUNNING; ++number) {
        EXPECT_NE(startOn(1 + number), "");
    }
    EXPECT_EQ(m_process.jobs.startDiagnostic(adapter, setting, 1).outcome, StartOutcome::FAILED);
}

TEST_F(Jobs, OldestEndedOnes_makeRoom)
{
    const std::string running = start(600);
    machine.pass(seconds{1});
    fakes::storeEndedJobs(m_process.storage, machine, broker::JobRegistry::MAX_JOBS - 1);
    EXPECT_THAT(m_process.jobs.jobs(), SizeIs(broker::JobRegistry::MAX_JOBS));
    machine.pass(seconds{1});
    adapters.set({adapter, fakes::adapter(2)});
    m_process.start(fakes::adapter(2), setting, 1);
    EXPECT_EQ(m_process.jobs.jobs().front().id, running) << "a running one does not end for another";
    EXPECT_EQ(status(1).id, "stored 1") << "the oldest ended one is gone";
    for (int i = 0; i < 3; ++i) {
        sampleOnce();
    }
    EXPECT_THAT(m_process.jobs.jobs(), SizeIs(broker::JobRegistry::MAX_JOBS));
    EXPECT_THAT(storedJobs(), SizeIs(broker::JobRegistry::MAX_JOBS));
    EXPECT_THAT(m_process.jobs.results(), SizeIs(broker::JobRegistry::MAX_RESULTS));
    m_process.jobs.end(running, JobState::KILLED);
    work();
    EXPECT_THAT(m_process.jobs.results(), SizeIs(broker::JobRegistry::MAX_RESULTS));
    EXPECT_THAT(m_process.storage.values("Results"), SizeIs(broker::JobRegistry::MAX_RESULTS));
}

// Failure

TEST_F(Jobs, ExceptionOfThePlatform_endsTheJobWithItsText)
{
    const support::LogCapture log(1);
    start(3);
    adapters.onRead = [] { throw std::runtime_error("out of order"); };
    sampleOnce();
    EXPECT_EQ(status().state, JobState::EXCEPTION);
    EXPECT_EQ(status().error, "out of order");
    EXPECT_THAT(m_process.jobs.results()[0]->errors, ElementsAre("out of order"));
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: Job failed: out of order\n")));
    EXPECT_THAT(storedJobs(), ElementsAre(testing::HasSubstr("JobState=10;")));
    adapters.onRead = nullptr;
    EXPECT_NE(complete(), "");
    EXPECT_EQ(status(1).state, JobState::COMPLETED);
}

TEST_F(Jobs, Start_withoutAFreeThread_isWithdrawn)
{
    m_process.thread.canStart = false;
    EXPECT_EQ(m_process.jobs.startDiagnostic(adapter, setting, 1).outcome, StartOutcome::FAILED);
    m_process.thread.canStart = true;
    EXPECT_NE(startOn(2), "");
    m_process.thread.worksWhileWaited = false;
    EXPECT_EQ(m_process.jobs.startDiagnostic(adapter, setting, 1).outcome, StartOutcome::FAILED);
    work();
    EXPECT_THAT(m_process.jobs.jobs(), SizeIs(1));
    EXPECT_THAT(storedJobs(), SizeIs(1));
}

TEST_F(Jobs, StartThatCannotBeStored_runsAndSaysSo)
{
    const support::LogCapture log(1);
    m_process.storage.isWritable = false;
    const std::string id = start(1);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith(id + " could not be stored and will not survive this process\n")));
    sampleOnce();
    EXPECT_EQ(status().state, JobState::COMPLETED);
    EXPECT_THAT(m_process.jobs.results(), SizeIs(1));
    m_process.mark(id);
    EXPECT_THAT(m_process.jobs.jobs(), IsEmpty());
}

TEST_F(Jobs, HostThatCannotBeAnnounced_storesNoRunningJob)
{
    m_process.hosts.canAnnounce = false;
    start(1);
    EXPECT_THAT(storedJobs(), IsEmpty());
    sampleOnce();
    EXPECT_THAT(storedJobs(), SizeIs(1));
}

TEST_F(Jobs, ArchiveThatCannotBeRead_isAFailure)
{
    const support::LogCapture log(1);
    m_process.storage.isReadable = false;
    EXPECT_THROW(m_process.jobs.jobs(), utils::EFailed);
    EXPECT_THROW(m_process.jobs.results(), utils::EFailed);
    EXPECT_THROW(m_process.jobs.startDiagnostic(adapter, setting, 1), utils::EFailed);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("Jobs could not be read\n"), EndsWith("Jobs could not be read\n"),
                                          EndsWith("Jobs could not be read\n")));
    m_process.storage.isReadable = true;
    EXPECT_NE(start(), "");
}

// What is stored

TEST_F(Jobs, UnreadableEntries_areRemovedWithOneLine)
{
    const support::LogCapture log(1);
    const std::string id = complete();
    const std::string entry = stored->copy()["Jobs"][id].text;
    m_process.storage.set("Jobs", "torn", entry.substr(0, entry.size() / 2));
    m_process.storage.set("Jobs", "binary", "", false);
    m_process.storage.set("Results", "empty", "");
    std::string absurd = entry;
    absurd.replace(absurd.find("StartTime=") + 10, 16, "99999999999999999");
    m_process.storage.set("Jobs", "absurd", absurd);
    fakes::JobProcess later(stored, table, machine, adapters, "11-1");
    EXPECT_THAT(later.states(), ElementsAre("7 " + id));
    later.states();
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::JobRegistry::merge: error: 4 stored entries of jobs and "
                                                   "results cannot be understood and are removed\n")));
    later.thread.play();
    EXPECT_THAT(storedJobs(), SizeIs(1));
    EXPECT_THAT(m_process.storage.values("Results"), SizeIs(1));
}

TEST_F(Jobs, Requests_withoutChanges_readNothing)
{
    complete();
    EXPECT_FALSE(m_process.thread.isRunning());
    m_process.jobs.jobs();
    const int reads = m_process.storage.reads;
    const int starts = m_process.thread.starts;
    m_process.jobs.jobs();
    m_process.jobs.results();
    EXPECT_EQ(m_process.storage.reads, reads);
    EXPECT_EQ(m_process.thread.starts, starts);
}

// Many clients at once and a real thread. ThreadSanitizer would report data that is shared without a lock.
TEST_F(Jobs, ManyClients_shareOneThread)
{
    fakes::RealThread thread;
    fakes::Storage storage(stored);
    fakes::Hosts hosts(table, "20-1");
    broker::Jobs jobs({adapters, machine, storage, thread, hosts});
    setting.samplePeriod = milliseconds{10};
    constexpr int CLIENTS = 3;
    constexpr int ROUNDS = 30;
    adapters.set({fakes::adapter(1), fakes::adapter(2), fakes::adapter(3)});
    std::atomic<int> wrong{0};
    support::runTogether(CLIENTS, [&](int client) {
        for (int i = 0; i < ROUNDS; ++i) {
            const std::string id =
                jobs.startDiagnostic(fakes::adapter(static_cast<unsigned>(client + 1)), setting, 1).id;
            const auto isShown = [&jobs, &id] {
                const auto all = jobs.jobs();
                return std::any_of(all.begin(), all.end(), [&id](const auto& job) { return job.id == id; });
            };
            wrong += id.empty() || !isShown() ? 1 : 0;
            if (i % 3 == 0) {
                wrong += jobs.end(id, JobState::KILLED) == EndOutcome::FAILED ? 1 : 0;
            }
            machine.pass(milliseconds{10});
            jobs.remove(id);
            wrong += isShown() ? 1 : 0;
        }
    });
    thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(storedJobs(), IsEmpty());
}

}  // namespace
