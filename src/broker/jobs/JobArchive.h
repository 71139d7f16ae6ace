#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/jobs/JobStatus.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// What is stored of jobs and of the results of diagnostics: one value an entry, named like what it is an entry of. It
// is shared with the other processes that carry on jobs. Any thread; acts under the identity of the calling thread.
class JobArchive
{
public:
    static constexpr char JOBS[] = "Jobs";
    static constexpr char RESULTS[] = "Results";

    // All that is stored, in no order.
    struct Contents
    {
        std::vector<StoredJob> jobs;
        std::vector<std::shared_ptr<const DiagnosticResult>> results;
        // The names of entries that cannot be understood.
        std::vector<std::string> unreadableJobs;
        std::vector<std::string> unreadableResults;
    };

    // The storage must outlive the archive.
    explicit JobArchive(SettingsStorage& storage) : m_storage(storage) {}

    // To be held from reading or writing here until the registry of jobs says the same.
    utils::Mutex& mutex() noexcept { return m_mutex; }

    // What is stored, or nothing when no process has changed it since it was read last. Throws utils::EFailed when it
    // cannot be read; the next call then reads again.
    std::optional<Contents> readIfChanged();

    // Makes the next call of readIfChanged() read, even if the platform reports no change.
    void readAgain();

    // Each writes an error line and returns false when it fails; none throws.
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
