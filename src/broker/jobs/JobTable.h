#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/jobs/JobArchive.h"
#include "broker/jobs/JobStatus.h"
#include "broker/jobs/LinkDiagnostic.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/JobThread.h"
#include "broker/platform/Machine.h"
#include "core/CimInstance.h"

namespace broker {

// The jobs and the results they left, those that earlier processes kept among them. Any thread. The one lock is held
// neither while the platform is asked nor while an instance is built.
class JobTable final : private JobWork
{
public:
    class Job;

    // How many results are kept; the oldest go first.
    static constexpr std::size_t MAX_RESULTS = 64;

    // All four must outlive the table, and the table the thread that carries on the jobs.
    JobTable(AdapterSource& adapters, Machine& machine, JobThread& thread, SettingsStorage& storage);
    ~JobTable();
    JobTable(const JobTable&) = delete;
    JobTable& operator=(const JobTable&) = delete;

    // Starts a diagnostic of the adapter and returns the job's id; empty when there is no thread to carry it on.
    std::optional<std::string> startDiagnostic(const Adapter& adapter, const DiagnosticSetting& setting,
                                               std::uint16_t sampleCount);

    // Ends a running job, at once, in the state TERMINATED or KILLED; no result is published. False when it has ended
    // before or does not exist.
    bool end(const std::string& id, JobState state);

    // Why the job failed; empty when it did not, or does not exist.
    std::optional<std::string> error(const std::string& id);

    // Drops the jobs whose instances were marked for deletion, and those past their time. A running one is ended first.
    void sweep();

    struct Entry
    {
        std::shared_ptr<Job> job;
        JobStatus status;
    };

    // In the order of their start.
    std::vector<Entry> jobs();

    // The oldest first.
    std::vector<std::shared_ptr<const DiagnosticResult>> results();

    // An instance that shows the job; the table asks it for its delete flag as long as it lives.
    std::unique_ptr<core::CimInstance> makeInstance(const std::shared_ptr<Job>& job, const char* className);

private:
    class JobInstance;

    std::optional<std::uint32_t> work() noexcept override;
    void sample(Job& job) noexcept;
    void archiveAndFinish(Job& job, JobState state, const char* error, std::uint64_t now);
    void keep(const JobArchive::EndedJob& ended);
    // Takes away the job for which no thread could be started, and ends those that were started meanwhile.
    void failWithoutThread(const std::shared_ptr<Job>& job, std::uint64_t now);
    // All of these need the lock.
    Job* find(const std::string& id) const;
    std::shared_ptr<Job> nextDue();
    static void finish(Job& job, JobState state, std::uint64_t now);
    // Returns the results that had to make room.
    std::vector<std::shared_ptr<const DiagnosticResult>> publish(std::shared_ptr<const DiagnosticResult> result);
    static bool isPastItsTime(const Job& job, std::uint64_t now) noexcept;

    AdapterSource& m_adapters;
    Machine& m_machine;
    JobThread& m_thread;
    JobArchive m_archive;

    // How many jobs there are, to be read without the lock: most requests find none.
    std::atomic<std::size_t> m_count{0};
    utils::Mutex m_mutex;
    std::vector<std::shared_ptr<Job>> m_jobs;
    std::deque<std::shared_ptr<const DiagnosticResult>> m_results;
    bool m_threadRuns = false;
    // Ids of two processes, or of two lives of the module, must differ: a client may still hold the old one.
    std::uint64_t m_firstId;
    std::uint64_t m_started = 0;
};

}  // namespace broker
