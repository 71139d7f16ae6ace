#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/jobs/JobStatus.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// The stored jobs and results of diagnostics. Each entry is one value, named by the id of its job or result. All
// processes that run jobs share the archive. Any thread; acts under the identity of the calling thread.
class JobArchive
{
public:
    static constexpr char JOBS[] = "Jobs";
    static constexpr char RESULTS[] = "Results";

    // All stored entries, in no particular order.
    struct Contents
    {
        std::vector<StoredJob> jobs;
        std::vector<std::shared_ptr<const DiagnosticResult>> results;
        // The names of entries that cannot be parsed.
        std::vector<std::string> unreadableJobs;
        std::vector<std::string> unreadableResults;
    };

    // The storage must outlive the archive.
    explicit JobArchive(SettingsStorage& storage) : m_storage(storage) {}

    // The caller holds it from a read or write here until the registry of jobs has the same content.
    utils::Mutex& mutex() noexcept { return m_mutex; }

    // The stored entries, or nothing if no process has changed them since the last reading. Throws utils::EFailed if
    // they cannot be read; the next call then reads again.
    std::optional<Contents> readIfChanged();

    // Makes the next call of readIfChanged() read, even if the platform reports no change.
    void readAgain();

    // Each writes an error line and returns false if it fails; none throws.
    bool store(const StoredJob& job) noexcept;
    bool store(const DiagnosticResult& result) noexcept;
    bool dropJob(const std::string& id) noexcept;
    bool dropResult(const std::string& id) noexcept;

private:
    template <class Entry>
    bool store(const char* key, const Entry& entry, const std::string& id) noexcept;
    bool drop(const char* key, const std::string& id) noexcept;
    StoredValues read(const char* key);
    void noteChanges();

    SettingsStorage& m_storage;
    utils::Mutex m_mutex;
    std::unique_ptr<ChangeWatch> m_jobsWatch;
    std::unique_ptr<ChangeWatch> m_resultsWatch;
    bool m_isRead = false;
};

}  // namespace broker
