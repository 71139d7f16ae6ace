#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/jobs/JobArchive.h"
#include "broker/jobs/JobStatus.h"

namespace broker {

// One moment on both clocks.
struct Moment
{
    WallTime wall;
    SteadyTime steady;
};

// The jobs and results that clients see: those of this process and all stored ones, as of the last reading. Knows where
// the two differ, and so which entries are still to be written. Any thread; its lock is a leaf: nothing else is locked
// and no platform is asked while it is held.
class JobRegistry
{
public:
    static constexpr std::size_t MAX_RUNNING = 64;
    static constexpr std::size_t MAX_JOBS = 200;
    static constexpr std::size_t MAX_RESULTS = 200;

    // The error of a job whose process ended before the job did.
    static constexpr char HOST_ENDED[] = "The host process ended";

    // The entries that are still to be written or removed.
    struct Chores
    {
        std::vector<std::string> droppedJobs;
        std::vector<std::string> droppedResults;
        std::vector<StoredJob> jobs;
        std::vector<std::shared_ptr<const DiagnosticResult>> results;
    };

    JobRegistry();
    ~JobRegistry();
    JobRegistry(const JobRegistry&) = delete;
    JobRegistry& operator=(const JobRegistry&) = delete;

    // Takes over the stored entries. An entry that was stored before and no longer exists was removed by another
    // process. A running job of this process stays until the runner asks for its fate.
    void merge(const JobArchive::Contents& contents, const Moment& now);

    // The hosts of the running jobs of other processes.
    std::set<std::string> otherHosts();

    // Ends the running jobs of those hosts, except those that this process runs. A job with a result ends as the result
    // says, another one by an exception.
    void endJobsOf(const std::set<std::string>& hosts, const Moment& now);

    // Drops the entries whose retention is over, and the oldest ones beyond the limits.
    void expire(SteadyTime now);

    // In the order of their start.
    std::vector<JobStatus> jobs(SteadyTime now);
    std::vector<std::shared_ptr<const DiagnosticResult>> results();

    std::optional<StoredJob> find(const std::string& id);
    bool isKnown(const std::string& id);
    bool isAdapterBusy(const std::string& adapterGuid);
    std::size_t running();

    // Adds a job that this process runs and that is not stored yet.
    void add(const StoredJob& job, SteadyTime start);

    void setPercentComplete(const std::string& id, std::uint16_t percent) noexcept;

    // The fate of a job that this process runs: its stored entry if another process has ended it, and nothing if
    // somebody has dropped it.
    std::optional<StoredJob> fate(const std::string& id);

    void finish(const StoredJob& ended, SteadyTime now, bool isStored);
    void publish(std::shared_ptr<const DiagnosticResult> result, bool isStored);

    // Ends a job by an exception and without a result, since memory ran out. Storing its end becomes a chore.
    void abandon(const std::string& id, const char* error, const Moment& now) noexcept;

    // Notes that this process no longer runs the job. Its entry has been removed by another process, or will be removed
    // here.
    void forget(const std::string& id) noexcept;

    // Hides the job from clients; removing its entry becomes a chore. Needs no memory. Ignores a job that does not
    // exist.
    void drop(const std::string& id) noexcept;

    // Whether there is a chore that has not been tried yet.
    bool hasChores();

    // All chores. From then on they count as tried.
    Chores chores();

    // These report that a chore is done.
    void jobDropped(const std::string& id) noexcept;
    void resultDropped(const std::string& id) noexcept;
    void jobStored(const std::string& id) noexcept;
    void resultStored(const std::string& id) noexcept;

private:
    struct Job;
    struct Result
    {
        std::shared_ptr<const DiagnosticResult> value;
        bool isStored = false;
        bool wasTried = false;
    };

    // The caller of these holds the lock.
    Job* job(const std::string& id) const noexcept;
    void mergeJobs(const std::vector<StoredJob>& stored, const Moment& now);
    void mergeResults(const JobArchive::Contents& contents);
    void sortByStart();

    utils::Mutex m_mutex;
    // Both in the order of their start.
    std::vector<std::unique_ptr<Job>> m_jobs;
    std::vector<Result> m_results;
    // Other entries that are to be removed, and whether that has been tried.
    std::map<std::string, bool> m_unreadableJobs;
    std::map<std::string, bool> m_droppedResults;
};

}  // namespace broker
