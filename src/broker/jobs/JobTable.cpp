#include "broker/jobs/JobTable.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobTable";
constexpr std::uint64_t MICROSECONDS_PER_SECOND = 1'000'000;
constexpr std::uint64_t MICROSECONDS_PER_MILLISECOND = 1000;

std::uint64_t sumOrMost(std::uint64_t left, std::uint64_t right) noexcept
{
    return left > UINT64_MAX - right ? UINT64_MAX : left + right;
}

std::uint64_t microseconds(std::uint64_t seconds) noexcept
{
    return seconds > UINT64_MAX / MICROSECONDS_PER_SECOND ? UINT64_MAX : seconds * MICROSECONDS_PER_SECOND;
}

// A clock that was set back must not make a time of billions of years.
std::uint64_t since(std::uint64_t start, std::uint64_t now) noexcept
{
    return now > start ? now - start : 0;
}

// What the diagnostic of the ended job leaves.
std::shared_ptr<const DiagnosticResult> resultOf(const LinkDiagnostic& diagnostic, const JobArchive::EndedJob& ended)
{
    const JobStatus& status = ended.status;
    auto result = std::make_shared<DiagnosticResult>();
    result->id = "Vexal:DiagnosticResult:" + status.id.substr(status.id.rfind(':') + 1);
    result->jobId = status.id;
    result->adapterGuid = diagnostic.adapter().guid;
    result->jobState = status.state;
    result->isPassed = diagnostic.isPassed();
    result->passedPercent = diagnostic.passedPercent();
    result->startTime = status.startTime;
    result->duration = since(status.startTime, ended.endTime);
    result->bytesReceived = diagnostic.bytesReceived();
    result->bytesTransmitted = diagnostic.bytesTransmitted();
    result->errors = diagnostic.problems();
    if (!status.error.empty()) {
        result->errors.push_back(status.error);
    }
    return result;
}

}  // namespace

// Guarded by the table's lock, but for what is set once.
class JobTable::Job
{
public:
    Job(LinkDiagnostic work, JobStatus start) : diagnostic(std::move(work)), status(std::move(start)) {}
    explicit Job(const JobArchive::EndedJob& kept) : status(kept.status), endTime(kept.endTime) {}

    // None in a job that an earlier process has ended.
    std::optional<LinkDiagnostic> diagnostic;
    JobStatus status;
    // When the next step is due is the diagnostic's affair; when the job ended, this one's.
    std::uint64_t endTime = 0;
    // The instances that show it, in whichever workspaces.
    std::vector<const core::CimInstance*> instances;

    // An instance that showed it was marked for deletion and is gone.
    bool wasMarkedForDeletion = false;

    bool isRunning() const noexcept { return status.state == JobState::RUNNING; }

    bool isMarkedForDeletion() const
    {
        return wasMarkedForDeletion ||
               std::any_of(instances.begin(), instances.end(),
                           [](const core::CimInstance* instance) { return instance->isMarkedForDeletion(); });
    }
};

class JobTable::JobInstance : public core::CimInstance
{
public:
    JobInstance(JobTable& table, std::shared_ptr<Job> job, const char* className)
        : CimInstance(className), m_table(table), m_job(std::move(job))
    {
        const utils::MutexGuard guard(m_table.m_mutex);
        m_job->instances.push_back(this);
    }

    ~JobInstance() override
    {
        const utils::MutexGuard guard(m_table.m_mutex);
        std::erase(m_job->instances, this);
        m_job->wasMarkedForDeletion = m_job->wasMarkedForDeletion || isMarkedForDeletion();
    }

    JobInstance(const JobInstance&) = delete;
    JobInstance& operator=(const JobInstance&) = delete;

private:
    JobTable& m_table;
    std::shared_ptr<Job> m_job;
};

JobTable::JobTable(AdapterSource& adapters, Machine& machine, JobThread& thread, SettingsStorage& storage)
    : m_adapters(adapters), m_machine(machine), m_thread(thread), m_archive(storage), m_firstId(machine.now())
{
    for (const JobArchive::EndedJob& kept : m_archive.jobs()) {
        m_jobs.push_back(std::make_shared<Job>(kept));
    }
    m_count = m_jobs.size();
    for (std::shared_ptr<const DiagnosticResult>& kept : m_archive.results()) {
        m_results.push_back(std::move(kept));
    }
}

JobTable::~JobTable() = default;

std::optional<std::string> JobTable::startDiagnostic(const Adapter& adapter, const DiagnosticSetting& setting,
                                                     std::uint16_t sampleCount)
{
    const std::uint64_t now = m_machine.now();
    JobStatus status;
    status.adapterName = adapter.name;
    status.owner = m_machine.userName();
    status.startTime = now;
    status.retention = microseconds(setting.jobRetentionSeconds);
    const auto job = std::make_shared<Job>(LinkDiagnostic(setting, sampleCount, adapter, now), std::move(status));
    bool startsThread = false;
    std::string id;
    {
        const utils::MutexGuard guard(m_mutex);
        id = utils::format("Vexal:Job:%llu-%llu", static_cast<unsigned long long>(m_firstId),
                           static_cast<unsigned long long>(++m_started));
        job->status.id = id;
        m_jobs.push_back(job);
        m_count = m_jobs.size();
        startsThread = !std::exchange(m_threadRuns, true);
    }
    if (!startsThread) {
        // The thread may be waiting for a job that is due later than this one.
        m_thread.wake();
        return id;
    }
    if (m_thread.start(*this)) {
        return id;
    }
    failWithoutThread(job, now);
    return std::nullopt;
}

void JobTable::failWithoutThread(const std::shared_ptr<Job>& job, std::uint64_t now)
{
    for (;;) {
        std::shared_ptr<Job> other;
        {
            const utils::MutexGuard guard(m_mutex);
            std::erase(m_jobs, job);
            m_count = m_jobs.size();
            other = nextDue();
            if (other == nullptr) {
                // Said under the lock, as by the thread that ends.
                m_threadRuns = false;
                return;
            }
        }
        // Started meanwhile, and counted on the thread.
        archiveAndFinish(*other, JobState::EXCEPTION, "There is no thread to carry on the job", now);
    }
}

bool JobTable::end(const std::string& id, JobState state)
{
    JobArchive::EndedJob ended;
    {
        const utils::MutexGuard guard(m_mutex);
        Job* job = find(id);
        if (job == nullptr || !job->isRunning()) {
            return false;
        }
        finish(*job, state, m_machine.now());
        ended = {job->status, job->endTime};
    }
    keep(ended);
    // The thread has one job less to wait for, perhaps none.
    m_thread.wake();
    return true;
}

std::optional<std::string> JobTable::error(const std::string& id)
{
    const utils::MutexGuard guard(m_mutex);
    const Job* job = find(id);
    return job == nullptr || job->status.error.empty() ? std::nullopt : std::make_optional(job->status.error);
}

void JobTable::sweep()
{
    if (m_count == 0) {
        return;
    }
    const std::uint64_t now = m_machine.now();
    bool hasEndedOne = false;
    std::vector<std::string> dropped;
    {
        const utils::MutexGuard guard(m_mutex);
        std::erase_if(m_jobs, [now, &hasEndedOne, &dropped](const std::shared_ptr<Job>& job) {
            if (!job->isMarkedForDeletion() && !isPastItsTime(*job, now)) {
                return false;
            }
            if (job->isRunning()) {
                finish(*job, JobState::TERMINATED, now);
                hasEndedOne = true;
            }
            dropped.push_back(job->status.id);
            return true;
        });
        m_count = m_jobs.size();
    }
    for (const std::string& id : dropped) {
        m_archive.dropJob(id);
    }
    if (hasEndedOne) {
        m_thread.wake();
    }
}

std::vector<JobTable::Entry> JobTable::jobs()
{
    std::vector<Entry> result;
    if (m_count == 0) {
        return result;
    }
    const std::uint64_t now = m_machine.now();
    const utils::MutexGuard guard(m_mutex);
    for (const std::shared_ptr<Job>& job : m_jobs) {
        result.push_back({job, job->status});
        JobStatus& status = result.back().status;
        status.elapsed = since(status.startTime, job->isRunning() ? now : job->endTime);
    }
    return result;
}

std::vector<std::shared_ptr<const DiagnosticResult>> JobTable::results()
{
    const utils::MutexGuard guard(m_mutex);
    return {m_results.begin(), m_results.end()};
}

std::unique_ptr<core::CimInstance> JobTable::makeInstance(const std::shared_ptr<Job>& job, const char* className)
{
    return std::make_unique<JobInstance>(*this, job, className);
}

std::optional<std::uint32_t> JobTable::work() noexcept
{
    for (;;) {
        std::shared_ptr<Job> job;
        {
            const utils::MutexGuard guard(m_mutex);
            job = nextDue();
            if (job == nullptr) {
                // Said under the lock: a job that is started from here on starts a thread of its own.
                m_threadRuns = false;
                return std::nullopt;
            }
            const std::uint64_t now = m_machine.now();
            if (job->diagnostic->nextDue() > now) {
                const std::uint64_t wait = (job->diagnostic->nextDue() - now) / MICROSECONDS_PER_MILLISECOND + 1;
                return static_cast<std::uint32_t>(std::min<std::uint64_t>(wait, DiagnosticSetting::SAMPLE_PERIODS.max));
            }
        }
        sample(*job);
    }
}

void JobTable::sample(Job& job) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobTable::sample"};
    try {
        // The LUID never changes while the job lives, so it may be read without the lock.
        const std::optional<Adapter> reading = m_adapters.readAdapter(job.diagnostic->adapter().luid);
        const std::uint64_t now = m_machine.now();
        bool isGone = false;
        {
            const utils::MutexGuard guard(m_mutex);
            // Ended in the meantime: what was read comes too late.
            if (!job.isRunning()) {
                return;
            }
            isGone = !job.diagnostic->takeSample(reading, now);
            job.status.percentComplete = job.diagnostic->percentComplete();
        }
        if (isGone) {
            archiveAndFinish(job, JobState::EXCEPTION, "The adapter is gone or cannot be read", now);
        } else if (job.diagnostic->isComplete()) {
            archiveAndFinish(job, JobState::COMPLETED, "", now);
        }
    } catch (const std::exception& exception) {
        here.error("Job failed: %s", exception.what());
        const utils::MutexGuard guard(m_mutex);
        // A client may have ended it, and has been told so.
        if (job.isRunning()) {
            // Without a result and a text, for which there may be no memory.
            job.status.state = JobState::EXCEPTION;
            job.endTime = m_machine.now();
        }
    }
}

// Kept first, shown as ended only then: a client that sees the end may end the process at once.
void JobTable::archiveAndFinish(Job& job, JobState state, const char* error, std::uint64_t now)
{
    JobArchive::EndedJob ended;
    {
        const utils::MutexGuard guard(m_mutex);
        ended = {job.status, now};
    }
    ended.status.state = state;
    ended.status.error = error;
    const std::shared_ptr<const DiagnosticResult> result = resultOf(*job.diagnostic, ended);
    m_archive.keep(ended);
    m_archive.keep(*result);
    std::vector<std::shared_ptr<const DiagnosticResult>> dropped{result};
    bool isShown = false;
    {
        const utils::MutexGuard guard(m_mutex);
        isShown = job.isRunning();
        if (isShown) {
            job.status.error = error;
            finish(job, state, now);
            dropped = publish(result);
        } else {
            // A client has ended it meanwhile, and that is what counts.
            ended = {job.status, job.endTime};
        }
    }
    if (!isShown) {
        keep(ended);
    }
    for (const std::shared_ptr<const DiagnosticResult>& old : dropped) {
        m_archive.dropResult(old->id);
    }
}

void JobTable::keep(const JobArchive::EndedJob& ended)
{
    m_archive.keep(ended);
    bool isDeleted = false;
    {
        const utils::MutexGuard guard(m_mutex);
        isDeleted = find(ended.status.id) == nullptr;
    }
    // A sweep may have come between the job's end and its being kept; what it deleted must not come back.
    if (isDeleted) {
        m_archive.dropJob(ended.status.id);
    }
}

JobTable::Job* JobTable::find(const std::string& id) const
{
    const auto job = std::find_if(m_jobs.begin(), m_jobs.end(),
                                  [&id](const std::shared_ptr<Job>& candidate) { return candidate->status.id == id; });
    return job == m_jobs.end() ? nullptr : job->get();
}

std::shared_ptr<JobTable::Job> JobTable::nextDue()
{
    std::shared_ptr<Job> next;
    for (const std::shared_ptr<Job>& job : m_jobs) {
        if (job->isRunning() && (next == nullptr || job->diagnostic->nextDue() < next->diagnostic->nextDue())) {
            next = job;
        }
    }
    return next;
}

void JobTable::finish(Job& job, JobState state, std::uint64_t now)
{
    job.status.state = state;
    job.endTime = now;
}

std::vector<std::shared_ptr<const DiagnosticResult>> JobTable::publish(std::shared_ptr<const DiagnosticResult> result)
{
    std::vector<std::shared_ptr<const DiagnosticResult>> oldest;
    m_results.push_back(std::move(result));
    while (m_results.size() > MAX_RESULTS) {
        oldest.push_back(std::move(m_results.front()));
        m_results.pop_front();
    }
    return oldest;
}

bool JobTable::isPastItsTime(const Job& job, std::uint64_t now) noexcept
{
    return !job.isRunning() && now >= sumOrMost(job.endTime, job.status.retention);
}

}  // namespace broker
