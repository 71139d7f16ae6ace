#include "broker/jobs/JobRegistry.h"

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Utils/Log.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobRegistry";

using std::chrono::microseconds;

// Adds the names that are new, and returns their number.
std::size_t addNames(std::map<std::string, bool>& names, const std::vector<std::string>& added)
{
    std::size_t count = 0;
    for (const std::string& name : added) {
        count += names.emplace(name, false).second ? 1 : 0;
    }
    return count;
}

void keepOnly(std::map<std::string, bool>& names, const std::unordered_set<std::string>& kept)
{
    std::erase_if(names, [&kept](const auto& name) { return !kept.contains(name.first); });
}

std::vector<std::string> namesIn(const std::map<std::string, bool>& names)
{
    std::vector<std::string> result;
    result.reserve(names.size());
    for (const auto& [name, wasTried] : names) {
        result.push_back(name);
    }
    return result;
}

void markTried(std::map<std::string, bool>& names) noexcept
{
    for (auto& [name, wasTried] : names) {
        wasTried = true;
    }
}

bool holdsUntried(const std::map<std::string, bool>& names)
{
    return std::any_of(names.begin(), names.end(), [](const auto& name) { return !name.second; });
}

}  // namespace

struct JobRegistry::Job
{
    StoredJob stored;
    // The start of a running job.
    SteadyTime start;
    // The end of an ended job's retention.
    SteadyTime expiry;
    // Whether this process runs it. False for an ended job.
    bool isOwn = false;
    // Whether an entry of it exists, which may be older than this.
    bool isStored = false;
    // Whether its entry is older than this.
    bool isBehind = false;
    // Whether its entry is still to be removed.
    bool isDropped = false;
    // Whether writing or removing the entry was tried.
    bool wasTried = false;
    // The entry by which another process has ended it while it runs here.
    std::optional<StoredJob> elsewhere;
    // Whether another process has removed its entry while it runs here.
    bool isGone = false;

    bool isRunning() const noexcept { return stored.status.isRunning(); }

    // Whether clients see it.
    bool isShown() const noexcept { return !isGone && !isDropped; }

    bool isLeftToBeWritten() const noexcept { return isBehind && isShown(); }

    void drop() noexcept
    {
        isDropped = true;
        wasTried = false;
    }

    // If the clock was set since the job ended, or started, the remaining time stays between zero and the whole
    // retention.
    void resume(const Moment& now) noexcept
    {
        const microseconds zero{0};
        start = now.steady - std::max(zero, now.wall - stored.status.startTime);
        const microseconds left = stored.endTime + stored.status.retention - now.wall;
        expiry = now.steady + std::clamp(left, zero, stored.status.retention);
    }

    // Marks it as ended; the status is already set.
    void end(SteadyTime now) noexcept
    {
        expiry = now + stored.status.retention;
        isOwn = false;
        elsewhere.reset();
        wasTried = false;
    }
};

JobRegistry::JobRegistry() = default;
JobRegistry::~JobRegistry() = default;

void JobRegistry::merge(const JobArchive::Contents& contents, const Moment& now)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobRegistry::merge"};
    std::size_t unreadable = 0;
    {
        const utils::MutexGuard guard(m_mutex);
        mergeJobs(contents.jobs, now);
        mergeResults(contents);
        keepOnly(m_unreadableJobs, {contents.unreadableJobs.begin(), contents.unreadableJobs.end()});
        unreadable = addNames(m_unreadableJobs, contents.unreadableJobs) +
                     addNames(m_droppedResults, contents.unreadableResults);
    }
    if (unreadable != 0) {
        here.error("%d stored entries of jobs and results cannot be understood and are removed",
                   static_cast<int>(unreadable));
    }
}

void JobRegistry::mergeJobs(const std::vector<StoredJob>& stored, const Moment& now)
{
    std::unordered_map<std::string, Job*> known;
    for (const std::unique_ptr<Job>& job : m_jobs) {
        known.emplace(job->stored.status.id, job.get());
    }
    std::unordered_set<std::string> seen;
    for (const StoredJob& entry : stored) {
        const std::string& id = entry.status.id;
        seen.insert(id);
        const auto found = known.find(id);
        if (found == known.end()) {
            auto added = std::make_unique<Job>();
            added->stored = entry;
            added->isStored = true;
            added->resume(now);
            m_jobs.push_back(std::move(added));
            continue;
        }
        Job& job = *found->second;
        job.isStored = true;
        job.isGone = false;
        if (entry.status.isRunning() || job.isDropped) {
            continue;
        }
        if (job.isOwn) {
            job.elsewhere = entry;
        } else if (job.isRunning() || job.isBehind || job.stored.endTime != entry.endTime) {
            // The copy comes first, so that the entry is taken over as a whole or not at all.
            StoredJob copy = entry;
            job.stored = std::move(copy);
            job.isBehind = false;
            job.resume(now);
        }
    }
    std::erase_if(m_jobs, [&seen](const std::unique_ptr<Job>& job) {
        if (!job->isStored || seen.contains(job->stored.status.id)) {
            return false;
        }
        job->isGone = true;
        return !job->isOwn;
    });
    sortByStart();
}

void JobRegistry::mergeResults(const JobArchive::Contents& contents)
{
    const std::vector<std::shared_ptr<const DiagnosticResult>>& stored = contents.results;
    std::unordered_set<std::string> seen(contents.unreadableResults.begin(), contents.unreadableResults.end());
    std::vector<Result> merged;
    // After this, nothing throws once a known result is moved.
    merged.reserve(stored.size() + m_results.size());
    for (const std::shared_ptr<const DiagnosticResult>& result : stored) {
        seen.insert(result->id);
        if (!m_droppedResults.contains(result->id)) {
            merged.push_back({result, true, false});
        }
    }
    for (Result& result : m_results) {
        if (!result.isStored && !seen.contains(result.value->id)) {
            merged.push_back(std::move(result));
        }
    }
    m_results = std::move(merged);
    keepOnly(m_droppedResults, seen);
    sortByStart();
}

std::set<std::string> JobRegistry::otherHosts()
{
    const utils::MutexGuard guard(m_mutex);
    std::set<std::string> result;
    for (const std::unique_ptr<Job>& job : m_jobs) {
        if (job->isRunning() && !job->isOwn && job->isShown()) {
            result.insert(job->stored.host);
        }
    }
    return result;
}

void JobRegistry::endJobsOf(const std::set<std::string>& hosts, const Moment& now)
{
    const utils::MutexGuard guard(m_mutex);
    for (const std::unique_ptr<Job>& job : m_jobs) {
        if (!job->isRunning() || job->isOwn || !job->isShown() || !hosts.contains(job->stored.host)) {
            continue;
        }
        JobStatus& status = job->stored.status;
        const auto found = std::find_if(m_results.begin(), m_results.end(),
                                        [&status](const Result& result) { return result.value->jobId == status.id; });
        std::string error;
        if (found == m_results.end()) {
            error = HOST_ENDED;
        } else if (found->value->jobState == JobState::EXCEPTION && !found->value->errors.empty()) {
            error = found->value->errors.back();
        }
        // Nothing below throws, so the job ends completely or not at all.
        status.error = std::move(error);
        status.state = found == m_results.end() ? JobState::EXCEPTION : found->value->jobState;
        status.elapsed = found == m_results.end() ? now.steady - job->start : found->value->duration;
        job->stored.endTime = now.wall;
        job->isBehind = true;
        job->end(now.steady);
    }
}

void JobRegistry::expire(SteadyTime now)
{
    const utils::MutexGuard guard(m_mutex);
    const auto shown = static_cast<std::size_t>(
        std::count_if(m_jobs.begin(), m_jobs.end(), [](const std::unique_ptr<Job>& job) { return job->isShown(); }));
    std::size_t tooMany = shown - std::min(shown, MAX_JOBS);
    for (const std::unique_ptr<Job>& job : m_jobs) {
        if (job->isRunning() || !job->isShown() || (now < job->expiry && tooMany == 0)) {
            continue;
        }
        job->drop();
        tooMany -= std::min<std::size_t>(tooMany, 1);
    }
    std::erase_if(
        m_jobs, [](const std::unique_ptr<Job>& job) { return job->isDropped && !job->isStored && !job->isRunning(); });
    while (m_results.size() > MAX_RESULTS) {
        if (m_results.front().isStored) {
            m_droppedResults.emplace(m_results.front().value->id, false);
        }
        m_results.erase(m_results.begin());
    }
}

std::vector<JobStatus> JobRegistry::jobs(SteadyTime now)
{
    const utils::MutexGuard guard(m_mutex);
    std::vector<JobStatus> result;
    result.reserve(m_jobs.size());
    for (const std::unique_ptr<Job>& job : m_jobs) {
        if (!job->isShown()) {
            continue;
        }
        result.push_back(job->stored.status);
        if (job->isRunning()) {
            result.back().elapsed = now - job->start;
        }
    }
    return result;
}

std::vector<std::shared_ptr<const DiagnosticResult>> JobRegistry::results()
{
    const utils::MutexGuard guard(m_mutex);
    std::vector<std::shared_ptr<const DiagnosticResult>> values;
    values.reserve(m_results.size());
    for (const Result& result : m_results) {
        values.push_back(result.value);
    }
    return values;
}

std::optional<StoredJob> JobRegistry::find(const std::string& id)
{
    const utils::MutexGuard guard(m_mutex);
    const Job* found = job(id);
    return found == nullptr || !found->isShown() ? std::nullopt : std::make_optional(found->stored);
}

bool JobRegistry::isKnown(const std::string& id)
{
    const utils::MutexGuard guard(m_mutex);
    return job(id) != nullptr || m_unreadableJobs.contains(id) ||
           std::any_of(m_results.begin(), m_results.end(),
                       [&id](const Result& result) { return result.value->jobId == id; });
}

bool JobRegistry::isAdapterBusy(const std::string& adapterGuid)
{
    const utils::MutexGuard guard(m_mutex);
    return std::any_of(m_jobs.begin(), m_jobs.end(), [&adapterGuid](const std::unique_ptr<Job>& job) {
        return job->isRunning() && job->isShown() && job->stored.status.adapterGuid == adapterGuid;
    });
}

std::size_t JobRegistry::running()
{
    const utils::MutexGuard guard(m_mutex);
    return static_cast<std::size_t>(std::count_if(m_jobs.begin(), m_jobs.end(), [](const std::unique_ptr<Job>& job) {
        return job->isRunning() && job->isShown();
    }));
}

void JobRegistry::add(const StoredJob& job, SteadyTime start)
{
    auto added = std::make_unique<Job>();
    added->stored = job;
    added->start = start;
    added->isOwn = true;
    const utils::MutexGuard guard(m_mutex);
    m_jobs.push_back(std::move(added));
    sortByStart();
}

void JobRegistry::setPercentComplete(const std::string& id, std::uint16_t percent) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    if (Job* found = job(id)) {
        found->stored.status.percentComplete = percent;
    }
}

std::optional<StoredJob> JobRegistry::fate(const std::string& id)
{
    const utils::MutexGuard guard(m_mutex);
    const Job* found = job(id);
    if (found == nullptr || !found->isShown()) {
        return std::nullopt;
    }
    return found->elsewhere ? found->elsewhere : found->stored;
}

void JobRegistry::finish(const StoredJob& ended, SteadyTime now, bool isStored)
{
    StoredJob copy = ended;
    const utils::MutexGuard guard(m_mutex);
    if (Job* found = job(ended.status.id)) {
        found->stored = std::move(copy);
        found->isStored = found->isStored || isStored;
        found->isBehind = !isStored;
        found->end(now);
    }
}

void JobRegistry::publish(std::shared_ptr<const DiagnosticResult> result, bool isStored)
{
    const utils::MutexGuard guard(m_mutex);
    std::erase_if(m_results, [&result](const Result& known) { return known.value->id == result->id; });
    m_results.push_back({std::move(result), isStored, false});
    sortByStart();
}

void JobRegistry::abandon(const std::string& id, const char* error, const Moment& now) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    if (Job* found = job(id)) {
        found->stored.status.state = JobState::EXCEPTION;
        found->stored.status.elapsed = now.steady - found->start;
        found->stored.endTime = now.wall;
        found->isBehind = true;
        found->end(now.steady);
        try {
            found->stored.status.error = error;
        } catch (const std::bad_alloc&) {
            // Without memory for the text, the state must do.
        }
    }
}

void JobRegistry::forget(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    Job* const found = job(id);
    if (found != nullptr && found->isDropped) {
        found->isOwn = false;
        return;
    }
    std::erase_if(m_jobs, [found](const std::unique_ptr<Job>& job) { return job.get() == found; });
}

void JobRegistry::drop(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    if (Job* found = job(id)) {
        found->drop();
    }
}

bool JobRegistry::hasChores()
{
    const utils::MutexGuard guard(m_mutex);
    return holdsUntried(m_unreadableJobs) || holdsUntried(m_droppedResults) ||
           std::any_of(m_jobs.begin(), m_jobs.end(),
                       [](const std::unique_ptr<Job>& job) {
                           return (job->isDropped || job->isLeftToBeWritten()) && !job->wasTried;
                       }) ||
           std::any_of(m_results.begin(), m_results.end(),
                       [](const Result& result) { return !result.isStored && !result.wasTried; });
}

JobRegistry::Chores JobRegistry::chores()
{
    const utils::MutexGuard guard(m_mutex);
    Chores result{namesIn(m_unreadableJobs), namesIn(m_droppedResults), {}, {}};
    for (const std::unique_ptr<Job>& job : m_jobs) {
        if (job->isDropped) {
            result.droppedJobs.push_back(job->stored.status.id);
        } else if (job->isLeftToBeWritten()) {
            result.jobs.push_back(job->stored);
        }
    }
    for (const Result& known : m_results) {
        if (!known.isStored) {
            result.results.push_back(known.value);
        }
    }
    // Nothing throws from here on, so the caller gets all of them.
    markTried(m_unreadableJobs);
    markTried(m_droppedResults);
    for (const std::unique_ptr<Job>& job : m_jobs) {
        job->wasTried = true;
    }
    for (Result& known : m_results) {
        known.wasTried = true;
    }
    return result;
}

void JobRegistry::jobDropped(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    m_unreadableJobs.erase(id);
    std::erase_if(m_jobs,
                  [&id](const std::unique_ptr<Job>& job) { return job->isDropped && job->stored.status.id == id; });
}

void JobRegistry::resultDropped(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    m_droppedResults.erase(id);
}

void JobRegistry::jobStored(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    if (Job* found = job(id)) {
        found->isStored = true;
        found->isBehind = false;
    }
}

void JobRegistry::resultStored(const std::string& id) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    for (Result& known : m_results) {
        if (known.value->id == id) {
            known.isStored = true;
        }
    }
}

JobRegistry::Job* JobRegistry::job(const std::string& id) const noexcept
{
    const auto found = std::find_if(m_jobs.begin(), m_jobs.end(), [&id](const std::unique_ptr<Job>& candidate) {
        return candidate->stored.status.id == id;
    });
    return found == m_jobs.end() ? nullptr : found->get();
}

void JobRegistry::sortByStart()
{
    // Only newly added elements are out of order, so sorting is quick.
    std::sort(m_jobs.begin(), m_jobs.end(), [](const std::unique_ptr<Job>& left, const std::unique_ptr<Job>& right) {
        const JobStatus& a = left->stored.status;
        const JobStatus& b = right->stored.status;
        return std::tie(a.startTime, a.id) < std::tie(b.startTime, b.id);
    });
    std::sort(m_results.begin(), m_results.end(), [](const Result& left, const Result& right) {
        return std::tie(left.value->startTime, left.value->id) < std::tie(right.value->startTime, right.value->id);
    });
}

}  // namespace broker
