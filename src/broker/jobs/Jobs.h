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

// What the jobs need of the platform. All must outlive them.
struct JobPlatform
{
    AdapterSource& adapters;
    Machine& machine;
    SettingsStorage& storage;
    JobThread& thread;
    JobHosts& hosts;
};

// The operations of requests on jobs. A request reads by itself; the job thread makes the changes under the process's
// own identity. Any thread except the job thread. A request waits at most PATIENCE for a task to begin.
class Jobs
{
public:
    static constexpr std::chrono::milliseconds PATIENCE{2000};

    explicit Jobs(const JobPlatform& platform);
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    // Throws utils::EFailed if the entries cannot be read. The id is empty unless the job was started. Its entry is
    // then written; if that failed, an error line says that the job will not survive this process.
    struct Start
    {
        StartOutcome outcome = StartOutcome::FAILED;
        std::string id;
    };
    Start startDiagnostic(const Adapter& adapter, const DiagnosticSetting& setting, std::uint16_t sampleCount);

    // Whether the calling thread's identity has started the job.
    bool isOwned(const std::string& id);

    // Ends a running job of this or another process in the state TERMINATED or KILLED.
    EndOutcome end(const std::string& id, JobState state);

    // Stops the work of the job and removes its entry. Returns when this is done or after two seconds, in which case it
    // is done later. No request of this process sees the job any more. Ignores a job that does not exist.
    void remove(const std::string& id) noexcept;

    // These throw utils::EFailed if the entries cannot be read.

    // In the order of their start.
    std::vector<JobStatus> jobs();
    std::vector<std::shared_ptr<const DiagnosticResult>> results();

    // An instance that shows the job. Marking it for deletion removes the job.
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
