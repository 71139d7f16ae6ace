#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "broker/jobs/JobStatus.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// Ended jobs and the results of diagnostics in the storage, so that a client still finds them when the host has
// unloaded the module in between. What cannot be stored is kept in memory only: a host whose identity may not write is
// no failure of the job. Any thread; never throws.
class JobArchive
{
public:
    struct EndedJob
    {
        JobStatus status;
        std::uint64_t endTime = 0;
    };

    // The storage must outlive the archive.
    explicit JobArchive(SettingsStorage& storage) noexcept : m_storage(storage) {}

    void keep(const EndedJob& job) noexcept;
    void keep(const DiagnosticResult& result) noexcept;

    // What is not there is dropped all the same.
    void dropJob(const std::string& id) noexcept;
    void dropResult(const std::string& id) noexcept;

    // What earlier processes kept, the oldest first. An entry that cannot be understood is ignored with one error line.
    std::vector<EndedJob> jobs() noexcept;
    std::vector<std::shared_ptr<const DiagnosticResult>> results() noexcept;

private:
    using Values = std::vector<std::pair<const char*, std::string>>;

    template <class MakeValues>
    void store(const char* parent, const std::string& id, MakeValues makeValues) noexcept;
    template <class Take>
    void load(const char* parent, Take take) noexcept;
    void drop(const char* parent, const std::string& id) noexcept;

    SettingsStorage& m_storage;
};

}  // namespace broker
