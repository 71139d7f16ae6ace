#include "broker/jobs/Jobs.h"

#include <exception>
#include <utility>

#include "Utils/Log.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "Jobs";

class JobInstance final : public core::CimInstance, private core::DeletionListener
{
public:
    JobInstance(Jobs& jobs, std::string id, const char* className)
        : CimInstance(className), m_jobs(jobs), m_id(std::move(id))
    {
        setDeletionListener(this);
    }

private:
    void onMarked(bool marked) noexcept override
    {
        if (marked) {
            m_jobs.remove(m_id);
        }
    }

    Jobs& m_jobs;
    std::string m_id;
};

}  // namespace

Jobs::Jobs(const JobPlatform& platform)
    : m_machine(platform.machine),
      m_archive(platform.storage),
      m_reader(platform.machine, platform.hosts, m_archive, m_registry),
      m_runner(platform.adapters, platform.hosts, m_archive, m_registry, m_reader),
      m_scheduler(platform.thread, platform.machine, m_runner)
{
}

Jobs::Start Jobs::startDiagnostic(const Adapter& adapter, const DiagnosticSetting& setting, std::uint16_t sampleCount)
{
    refresh();
    // The task shares the ownership, since it may outlast this call.
    struct Order
    {
        DiagnosticRequest request;
        Start start;
    };
    const auto order = std::make_shared<Order>();
    order->request = {adapter, setting, sampleCount, m_machine.userName(), m_reader.now()};
    const bool isDone =
        m_scheduler.run([this, order] { order->start.outcome = m_runner.start(order->request, order->start.id); },
                        PATIENCE, JobScheduler::Late::IS_WITHDRAWN);
    return isDone ? std::move(order->start) : Start{};
}

bool Jobs::isOwned(const std::string& id)
{
    const std::optional<StoredJob> job = m_registry.find(id);
    const std::string user = m_machine.userName();
    return job && !user.empty() && job->status.owner == user;
}

EndOutcome Jobs::end(const std::string& id, JobState state)
{
    const auto outcome = std::make_shared<EndOutcome>(EndOutcome::FAILED);
    const bool isDone = m_scheduler.run([this, id, state, outcome] { *outcome = m_runner.end(id, state); }, PATIENCE,
                                        JobScheduler::Late::IS_WITHDRAWN);
    return isDone ? *outcome : EndOutcome::FAILED;
}

void Jobs::remove(const std::string& id) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::Jobs::remove"};
    m_registry.drop(id);
    try {
        if (!m_scheduler.run([this, id] { m_runner.drop(id); }, PATIENCE, JobScheduler::Late::STAYS)) {
            here.error("Deletion of %s is not finished yet", id.c_str());
        }
    } catch (const std::exception& exception) {
        here.error("Deletion of %s is not finished yet: %s", id.c_str(), exception.what());
        m_scheduler.nudge();
    }
}

std::vector<JobStatus> Jobs::jobs()
{
    refresh();
    return m_registry.jobs(m_machine.steadyNow());
}

std::vector<std::shared_ptr<const DiagnosticResult>> Jobs::results()
{
    refresh();
    return m_registry.results();
}

std::unique_ptr<core::CimInstance> Jobs::makeInstance(const std::string& id, const char* className)
{
    return std::make_unique<JobInstance>(*this, id, className);
}

void Jobs::refresh()
{
    m_reader.refresh();
    if (m_registry.hasChores()) {
        m_scheduler.nudge();
    }
}

}  // namespace broker
