#include "broker/jobs/JobRunner.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobRunner";
constexpr int MAX_FAILURES = 3;
constexpr std::chrono::seconds RETRY_PAUSE{1};

// Keeps other processes from changing what is stored.
class HostGuard
{
public:
    explicit HostGuard(JobHosts& hosts) noexcept : m_hosts(hosts) { m_hosts.lock(); }
    ~HostGuard() { m_hosts.unlock(); }
    HostGuard(const HostGuard&) = delete;
    HostGuard& operator=(const HostGuard&) = delete;

private:
    JobHosts& m_hosts;
};

std::string jobId(const std::string& number)
{
    return "Vexal:Job:" + number;
}

std::string resultId(const std::string& jobId)
{
    return "Vexal:DiagnosticResult:" + jobId.substr(jobId.rfind(':') + 1);
}

// The result of the ended job's diagnostic.
std::shared_ptr<const DiagnosticResult> resultOf(const LinkDiagnostic& diagnostic, const JobStatus& ended)
{
    auto result = std::make_shared<DiagnosticResult>();
    result->id = resultId(ended.id);
    result->jobId = ended.id;
    result->adapterGuid = ended.adapterGuid;
    result->jobState = ended.state;
    result->isPassed = ended.state == JobState::COMPLETED && diagnostic.isPassed();
    result->passedPercent = diagnostic.passedPercent();
    result->startTime = ended.startTime;
    result->duration = ended.elapsed;
    result->bytesReceived = diagnostic.bytesReceived();
    result->bytesTransmitted = diagnostic.bytesTransmitted();
    result->errors = diagnostic.problems();
    if (ended.state == JobState::TERMINATED) {
        result->errors.emplace_back("The job was terminated");
    } else if (ended.state == JobState::KILLED) {
        result->errors.emplace_back("The job was killed");
    } else if (!ended.error.empty()) {
        result->errors.push_back(ended.error);
    }
    return result;
}

}  // namespace

JobRunner::JobRunner(AdapterSource& adapters, JobHosts& hosts, JobArchive& archive, JobRegistry& registry,
                     JobReader& reader)
    : m_adapters(adapters),
      m_hosts(hosts),
      m_archive(archive),
      m_registry(registry),
      m_reader(reader),
      m_made(reader.now().wall)
{
}

StartOutcome JobRunner::start(const DiagnosticRequest& request, std::string& id)
{
    {
        const HostGuard others(m_hosts);
        const utils::MutexGuard guard(m_archive.mutex());
        tryRefresh();
        if (m_registry.isAdapterBusy(request.adapter.guid)) {
            return StartOutcome::IN_USE;
        }
        if (m_registry.running() >= JobRegistry::MAX_RUNNING) {
            return StartOutcome::FAILED;
        }
        StoredJob job;
        job.host = m_hosts.own();
        job.status.id = jobId(newNumber());
        job.status.adapterName = request.adapter.name;
        job.status.adapterGuid = request.adapter.guid;
        job.status.owner = request.owner;
        job.status.startTime = request.start.wall;
        job.status.retention = request.setting.jobRetention;
        Running running{job.status.id, request.start.steady,
                        LinkDiagnostic(request.setting, request.sampleCount, request.adapter, request.start.steady),
                        std::nullopt, SteadyTime{}};
        id = job.status.id;
        m_running.reserve(m_running.size() + 1);
        m_registry.add(job, request.start.steady);
        // Nothing throws from here on; the job runs.
        m_running.push_back(std::move(running));
        if (m_hosts.announce() && m_archive.store(job)) {
            m_registry.jobStored(job.status.id);
        }
    }
    return StartOutcome::STARTED;
}

EndOutcome JobRunner::end(const std::string& id, JobState state)
{
    if (Running* running = find(id)) {
        const bool hasEnded = running->ending && running->ending->state != JobState::RUNNING;
        if (!hasEnded) {
            running->ending = Ending{state, ""};
        }
        return finish(*running) && !hasEnded ? EndOutcome::ENDED : EndOutcome::NOT_RUNNING;
    }
    return endElsewhere(id, state);
}

EndOutcome JobRunner::endElsewhere(const std::string& id, JobState state)
{
    const HostGuard others(m_hosts);
    const utils::MutexGuard guard(m_archive.mutex());
    m_archive.readAgain();
    if (!tryRefresh()) {
        return EndOutcome::FAILED;
    }
    std::optional<StoredJob> job = m_registry.find(id);
    if (!job || !job->status.isRunning()) {
        return EndOutcome::NOT_RUNNING;
    }
    const Moment now = m_reader.now();
    job->status.state = state;
    job->status.elapsed = std::max(std::chrono::microseconds{0}, now.wall - job->status.startTime);
    job->endTime = now.wall;
    if (!m_archive.store(*job)) {
        return EndOutcome::FAILED;
    }
    m_registry.finish(*job, now.steady, true);
    return EndOutcome::ENDED;
}

void JobRunner::drop(const std::string& id)
{
    // The registry may not have the latest entries of other processes.
    tryRefresh();
    m_registry.drop(id);
    doChores();
}

void JobRunner::doChores()
{
    const HostGuard others(m_hosts);
    const utils::MutexGuard guard(m_archive.mutex());
    const bool isUpToDate = tryRefresh();
    const JobRegistry::Chores chores = m_registry.chores();
    for (const std::string& id : chores.droppedJobs) {
        stop(id);
        m_registry.forget(id);
        if (m_archive.dropJob(id)) {
            m_registry.jobDropped(id);
        }
    }
    for (const std::string& id : chores.droppedResults) {
        if (m_archive.dropResult(id)) {
            m_registry.resultDropped(id);
        }
    }
    for (const std::shared_ptr<const DiagnosticResult>& result : chores.results) {
        if (m_archive.store(*result)) {
            m_registry.resultStored(result->id);
        }
    }
    for (const StoredJob& job : chores.jobs) {
        // Without an up-to-date reading, this could restore an entry that another process has removed.
        if (isUpToDate && m_archive.store(job)) {
            m_registry.jobStored(job.status.id);
        }
    }
}

std::optional<SteadyTime> JobRunner::step() noexcept
{
    const auto isEarlier = [](const Running& left, const Running& right) { return left.nextDue() < right.nextDue(); };
    try {
        noteFates();
        if (m_registry.hasChores()) {
            doChores();
        }
    } catch (const std::exception&) {
        // Memory ran out; the next step looks again.
    }
    if (m_running.empty()) {
        return std::nullopt;
    }
    Running& job = *std::min_element(m_running.begin(), m_running.end(), isEarlier);
    const SteadyTime due = job.nextDue();
    if (m_reader.now().steady < due) {
        return due;
    }
    try {
        if (!job.ending) {
            sample(job);
        }
        if (job.ending) {
            finish(job);
        }
    } catch (const std::bad_alloc&) {
        fail(job, "Memory ran out");
    } catch (const std::exception& exception) {
        fail(job, exception.what());
    }
    // A task that was handed over meanwhile comes first.
    return due;
}

void JobRunner::sample(Running& job)
{
    const std::optional<Adapter> reading = m_adapters.readAdapter(job.diagnostic.adapter().luid);
    const SteadyTime now = m_reader.now().steady;
    if (!job.diagnostic.takeSample(reading, now)) {
        job.ending = Ending{JobState::EXCEPTION, "The adapter is gone or cannot be read"};
        return;
    }
    m_registry.setPercentComplete(job.id, job.diagnostic.percentComplete());
    if (job.diagnostic.isComplete()) {
        job.ending = Ending{JobState::COMPLETED, ""};
    }
}

// Ends the job, and tries again if that fails. After several failures the job ends without its result.
void JobRunner::fail(Running& job, const char* reason) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobRunner::fail"};
    here.error("Job failed: %s", reason);
    const Moment now = m_reader.now();
    job.retry = now.steady + RETRY_PAUSE;
    if (++job.failures > MAX_FAILURES) {
        m_registry.abandon(job.id, reason, now);
        stop(job.id);
        return;
    }
    if (job.ending) {
        return;
    }
    job.ending = Ending{JobState::EXCEPTION, ""};
    try {
        job.ending->error = reason;
    } catch (const std::bad_alloc&) {
        // Without memory for the text, the state must do.
    }
    job.retry = now.steady;
}

bool JobRunner::finish(Running& job)
{
    const HostGuard others(m_hosts);
    const utils::MutexGuard guard(m_archive.mutex());
    // A change of the entry by another process must not be overwritten.
    m_archive.readAgain();
    tryRefresh();
    const std::optional<StoredJob> found = m_registry.fate(job.id);
    if (!found) {
        m_registry.forget(job.id);
        stop(job.id);
        return false;
    }
    const bool isEndedElsewhere = !found->status.isRunning();
    if (!isEndedElsewhere && job.ending->state == JobState::RUNNING) {
        job.ending.reset();
        return false;
    }
    StoredJob ended = *found;
    const Moment now = m_reader.now();
    ended.status.percentComplete = job.diagnostic.percentComplete();
    if (!isEndedElsewhere) {
        ended.status.state = job.ending->state;
        ended.status.error = job.ending->error;
        ended.status.elapsed = now.steady - job.start;
        ended.endTime = now.wall;
    }
    const std::shared_ptr<const DiagnosticResult> result = resultOf(job.diagnostic, ended.status);
    // The result is stored first. If a job has a result, it has ended even if its entry says that it runs.
    const bool isResultStored = m_archive.store(*result);
    const bool isJobStored = m_archive.store(ended);
    m_registry.publish(result, isResultStored);
    m_registry.finish(ended, now.steady, isJobStored);
    stop(job.id);
    return !isEndedElsewhere;
}

std::string JobRunner::newNumber()
{
    std::string number;
    do {
        number = utils::format("%llu-%llu", static_cast<unsigned long long>(m_made.time_since_epoch().count()),
                               static_cast<unsigned long long>(++m_started));
    } while (m_registry.isKnown(jobId(number)));
    return number;
}

bool JobRunner::tryRefresh() noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobRunner::tryRefresh"};
    try {
        m_reader.refresh();
        return true;
    } catch (const std::exception& exception) {
        here.error("Jobs go on without what other processes did: %s", exception.what());
        return false;
    }
}

// Jobs that another process has dropped or ended stop here.
void JobRunner::noteFates()
{
    tryRefresh();
    for (Running& job : m_running) {
        const std::optional<StoredJob> fate = m_registry.fate(job.id);
        const bool isOver = !fate || !fate->status.isRunning();
        if (isOver && !job.ending) {
            job.ending = Ending{JobState::RUNNING, ""};
            job.retry = SteadyTime{};
        }
    }
}

void JobRunner::stop(const std::string& id) noexcept
{
    // Looked up first: the id may be that of the very entry.
    if (const Running* found = find(id)) {
        m_running.erase(m_running.begin() + (found - m_running.data()));
    }
}

JobRunner::Running* JobRunner::find(const std::string& id) noexcept
{
    const auto found =
        std::find_if(m_running.begin(), m_running.end(), [&id](const Running& job) { return job.id == id; });
    return found == m_running.end() ? nullptr : &*found;
}

}  // namespace broker
