#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "broker/jobs/JobArchive.h"
#include "broker/jobs/JobReader.h"
#include "broker/jobs/JobRegistry.h"
#include "broker/jobs/JobRunner.h"
#include "broker/jobs/JobScheduler.h"
#include "core/CimInstance.h"

namespace broker {

// What jobs stand on. All must outlive them.
struct JobPlatform
{
    AdapterSource& adapters;
    Machine& machine;
    SettingsStorage& storage;
    JobThread& thread;
    JobHosts& hosts;
};

// What requests do with jobs. A request reads for itself; what it wants to be changed is done on the job thread, by the
// process's own identity. Any thread but the job thread. No request waits longer than PATIENCE for a task that is not
// begun.
class Jobs
{
public:
    static constexpr std::chrono::milliseconds PATIENCE{2000};

    explicit Jobs(const JobPlatform& platform);
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    // Throws utils::EFailed when it cannot be read what is stored. The id is empty unless the job was started, and then
    // its entry is written: where that failed, an error line says that the job will not survive this process.
    struct Start
    {
        StartOutcome outcome = StartOutcome::FAILED;
        std::string id;
    };
    Start startDiagnostic(const Adapter& adapter, const DiagnosticSetting& setting, std::uint16_t sampleCount);

    // Whether the calling thread's identity has started the job.
    bool isOwned(const std::string& id);

    // Ends a running job, also one of another process, in the state TERMINATED or KILLED.
    EndOutcome end(const std::string& id, JobState state);

    // The work of the job is stopped and its entry gone when this returns, or two seconds are over; then they will be.
    // No request of this process sees the job from here on. A job that does not exist is fine.
    void remove(const std::string& id) noexcept;

    // These throw utils::EFailed when it cannot be read what is stored.

    // In the order of their start.
    std::vector<JobStatus> jobs();
    std::vector<std::shared_ptr<const DiagnosticResult>> results();

    // An instance that shows the job, and removes it when it is marked for deletion.
    std::unique_ptr<core::CimInstance> makeInstance(const std::string& id, const char* className);

private:
    void refresh();

    Machine& m_machine;
    JobArchive m_archive;
    JobRegistry m_registry;
    JobReader m_reader;
    JobRunner m_runner;
    JobScheduler m_scheduler;
};

}  // namespace broker
