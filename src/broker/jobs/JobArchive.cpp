#include "broker/jobs/JobArchive.h"

#include <exception>
#include <utility>

#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "broker/jobs/JobEntry.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobArchive";

}  // namespace

std::optional<JobArchive::Contents> JobArchive::readIfChanged()
{
    const utils::MutexGuard guard(m_mutex);
    // The watches are asked before the reading, so that the next call notices a change in between.
    noteChanges();
    if (m_isRead) {
        return std::nullopt;
    }
    Contents contents;
    for (const auto& [id, value] : read(JOBS)) {
        if (std::optional<StoredJob> job = value.isText ? jobOf(id, value.text) : std::nullopt) {
            contents.jobs.push_back(std::move(*job));
        } else {
            contents.unreadableJobs.push_back(id);
        }
    }
    for (const auto& [id, value] : read(RESULTS)) {
        if (std::optional<DiagnosticResult> result = value.isText ? resultOf(id, value.text) : std::nullopt) {
            contents.results.push_back(std::make_shared<const DiagnosticResult>(std::move(*result)));
        } else {
            contents.unreadableResults.push_back(id);
        }
    }
    m_isRead = true;
    return contents;
}

void JobArchive::readAgain()
{
    const utils::MutexGuard guard(m_mutex);
    m_isRead = false;
}

bool JobArchive::store(const StoredJob& job) noexcept
{
    return store(JOBS, job, job.status.id);
}

bool JobArchive::store(const DiagnosticResult& result) noexcept
{
    return store(RESULTS, result, result.id);
}

bool JobArchive::dropJob(const std::string& id) noexcept
{
    return drop(JOBS, id);
}

bool JobArchive::dropResult(const std::string& id) noexcept
{
    return drop(RESULTS, id);
}

template <class Entry>
bool JobArchive::store(const char* key, const Entry& entry, const std::string& id) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobArchive::store"};
    const utils::MutexGuard guard(m_mutex);
    try {
        if (m_storage.write(key, id, entryOf(entry)) == StoreResult::DONE) {
            return true;
        }
        here.error("%s could not be stored and will not survive this process", id.c_str());
    } catch (const std::exception& exception) {
        here.error("%s could not be stored and will not survive this process: %s", id.c_str(), exception.what());
    }
    return false;
}

bool JobArchive::drop(const char* key, const std::string& id) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobArchive::drop"};
    const utils::MutexGuard guard(m_mutex);
    try {
        if (m_storage.eraseValue(key, id) == StoreResult::DONE) {
            return true;
        }
        here.error("%s stays stored", id.c_str());
    } catch (const std::exception& exception) {
        here.error("%s stays stored: %s", id.c_str(), exception.what());
    }
    return false;
}

StoredValues JobArchive::read(const char* key)
{
    std::optional<StoredValues> values = m_storage.read(key);
    if (!values) {
        throw utils::EFailed(std::string(key) + " could not be read");
    }
    return std::move(*values);
}

void JobArchive::noteChanges()
{
    if (m_resultsWatch == nullptr) {
        m_jobsWatch = m_storage.watch(JOBS);
        m_resultsWatch = m_storage.watch(RESULTS);
    }
    // Both are asked each time, since each answers for the time since its last question.
    const bool haveJobs = m_jobsWatch->hasChanged();
    const bool haveResults = m_resultsWatch->hasChanged();
    m_isRead = m_isRead && !haveJobs && !haveResults;
}

}  // namespace broker
