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

// The jobs and the results that clients see: those of this process and, as they were read last, all that are stored.
// Knows what differs between the two, and so what is left to be written. Any thread; its lock is a leaf: nothing else
// is locked and no platform is asked while it is held.
class JobRegistry
{
public:
    static constexpr std::size_t MAX_RUNNING = 64;
    static constexpr std::size_t MAX_JOBS = 200;
    static constexpr std::size_t MAX_RESULTS = 200;

    // What a process does that ends without ending its jobs.
    static constexpr char HOST_ENDED[] = "The host process ended";

    // What is left to be written.
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

    // Takes over what is stored. What was known as stored and is so no longer was dropped by another process. An own
    // job that runs keeps running until the scheduler asks what became of it.
    void merge(const JobArchive::Contents& contents, const Moment& now);

    // The hosts of the running jobs that this process does not carry on.
    std::set<std::string> otherHosts();

    // The running jobs of the hosts that this process does not carry on end: as their result says if there is one, by
    // an exception otherwise.
    void endJobsOf(const std::set<std::string>& hosts, const Moment& now);

    // Drops what is past its time, and the oldest beyond the limits.
    void expire(SteadyTime now);

    // In the order of their start.
    std::vector<JobStatus> jobs(SteadyTime now);
    std::vector<std::shared_ptr<const DiagnosticResult>> results();

    std::optional<StoredJob> find(const std::string& id);
    bool isKnown(const std::string& id);
    bool isAdapterBusy(const std::string& adapterGuid);
    std::size_t running();

    // Adds a job that this process carries on and that is not stored yet.
    void add(const StoredJob& job, SteadyTime start);

    void setPercentComplete(const std::string& id, std::uint16_t percent) noexcept;

    // What has become of a job that this process carries on: as it is stored when another process has ended it, and
    // nothing when somebody has dropped it.
    std::optional<StoredJob> fate(const std::string& id);

    void finish(const StoredJob& ended, SteadyTime now, bool isStored);
    void publish(std::shared_ptr<const DiagnosticResult> result, bool isStored);

    // Ends, by an exception and without a result, the job for which there is no memory. That it is stored is a chore.
    void abandon(const std::string& id, const char* error, const Moment& now) noexcept;

    // This process does not carry on the job any more, whose entry another one has removed or will be removed here.
    void forget(const std::string& id) noexcept;

    // The job is gone for clients; that its entry is left to be removed is a chore. Needs no memory. A job that does
    // not exist is fine.
    void drop(const std::string& id) noexcept;

    // True while there is a chore that was not tried yet.
    bool hasChores();

    // All that is left to be written, which then counts as tried.
    Chores chores();

    // The chore is done.
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

    // All of these need the lock.
    Job* job(const std::string& id) const noexcept;
    void mergeJobs(const std::vector<StoredJob>& stored, const Moment& now);
    void mergeResults(const JobArchive::Contents& contents);
    void sortByStart();

    utils::Mutex m_mutex;
    // Both in the order of their start.
    std::vector<std::unique_ptr<Job>> m_jobs;
    std::vector<Result> m_results;
    // Entries that are to be removed besides those of dropped jobs, and whether that was tried.
    std::map<std::string, bool> m_unreadableJobs;
    std::map<std::string, bool> m_droppedResults;
};

}  // namespace broker
