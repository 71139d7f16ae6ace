#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/jobs/JobArchive.h"
#include "broker/jobs/JobReader.h"
#include "broker/jobs/JobRegistry.h"
#include "broker/jobs/JobScheduler.h"
#include "broker/jobs/LinkDiagnostic.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/JobHosts.h"

namespace broker {

// A client's request for a diagnostic.
struct DiagnosticRequest
{
    Adapter adapter;
    DiagnosticSetting setting;
    std::uint16_t sampleCount = 0;
    std::string owner;
    Moment start;
};

enum class StartOutcome
{
    STARTED,
    // A job of the adapter is already running, in this process or in another one.
    IN_USE,
    FAILED
};

enum class EndOutcome
{
    ENDED,
    // It had already ended, or does not exist.
    NOT_RUNNING,
    FAILED
};

// Runs the jobs of this process. It alone writes entries of jobs. It lives on the job thread only, so it needs no lock;
// other threads see its jobs in the registry.
class JobRunner final : public JobDuty
{
public:
    // All must outlive this.
    JobRunner(AdapterSource& adapters, JobHosts& hosts, JobArchive& archive, JobRegistry& registry, JobReader& reader);

    // Starts the job and stores it. Sets the id if the outcome is STARTED.
    StartOutcome start(const DiagnosticRequest& request, std::string& id);

    // Ends a running job in the state TERMINATED or KILLED.
    EndOutcome end(const std::string& id, JobState state);

    // Removes the job's entry, whichever process has stored it, and stops its work.
    void drop(const std::string& id);

    // Does the chores of the registry, and stops the work of jobs that are gone.
    void doChores();

    std::optional<SteadyTime> step() noexcept override;

private:
    struct Ending
    {
        // RUNNING: another process may have ended or dropped it, which finish() finds out.
        JobState state;
        std::string error;
    };

    struct Running
    {
        std::string id;
        SteadyTime start;
        LinkDiagnostic diagnostic;
        // Set once the work is over and only storing is left.
        std::optional<Ending> ending;
        SteadyTime retry;
        int failures = 0;

        SteadyTime nextDue() const noexcept { return ending ? retry : diagnostic.nextDue(); }
    };

    std::string newNumber();
    // Returns whether the registry is now up to date.
    bool tryRefresh() noexcept;
    void noteFates();
    void sample(Running& job);
    void fail(Running& job, const char* reason) noexcept;
    // Ends the job and removes it from m_running. Returns false if another process had already ended or dropped it.
    bool finish(Running& job);
    // Ends a job that another process runs. That process notices the change.
    EndOutcome endElsewhere(const std::string& id, JobState state);
    void stop(const std::string& id) noexcept;
    Running* find(const std::string& id) noexcept;

    AdapterSource& m_adapters;
    JobHosts& m_hosts;
    JobArchive& m_archive;
    JobRegistry& m_registry;
    JobReader& m_reader;
    std::vector<Running> m_running;
    // Part of the ids of this process's jobs, so that a client that kept the id of an earlier process's job never finds
    // another job under it.
    WallTime m_made;
    std::uint64_t m_started = 0;
};

}  // namespace broker
