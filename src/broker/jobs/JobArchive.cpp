#include "broker/jobs/JobArchive.h"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

#include "Utils/Log.h"
#include "Utils/Utils.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobArchive";
constexpr const char* JOBS = "Jobs";
constexpr const char* RESULTS = "Results";

// An identifier may hold no separator of keys; it never does, but it comes from outside when something is dropped.
std::string keyOf(const char* parent, const std::string& id)
{
    return std::string(parent) + "\\" + id;
}

bool isStorable(const std::string& id)
{
    return !id.empty() && id.find('\\') == std::string::npos;
}

std::string text(std::uint64_t number)
{
    return utils::format("%llu", static_cast<unsigned long long>(number));
}

std::string joined(const std::vector<std::uint32_t>& numbers)
{
    std::string result;
    for (const std::uint32_t number : numbers) {
        result += (result.empty() ? "" : ",") + text(number);
    }
    return result;
}

// Texts are sentences of this library and hold no line break.
std::string joined(const std::vector<std::string>& lines)
{
    std::string result;
    for (const std::string& line : lines) {
        result += (result.empty() ? "" : "\n") + line;
    }
    return result;
}

std::vector<std::string> pieces(const std::string& text, char separator)
{
    std::vector<std::string> result;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        result.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return result;
}

// One stored entry. Reading notes what does not fit.
class Entry
{
public:
    explicit Entry(std::map<std::string, StoredValue> values) : m_values(std::move(values)) {}

    bool isComplete() const noexcept { return m_isComplete; }

    std::string text(const char* name)
    {
        const auto value = m_values.find(name);
        if (value == m_values.end() || !value->second.isText) {
            m_isComplete = false;
            return {};
        }
        return value->second.text;
    }

    std::uint64_t number(const char* name, std::uint64_t most = UINT64_MAX)
    {
        const std::string digits = text(name);
        const std::uint64_t value = utils::toUint64(digits);
        // Whatever is no plain number reads back as another text.
        m_isComplete = m_isComplete && value <= most && broker::text(value) == digits;
        return value;
    }

    std::vector<std::uint32_t> numbers(const char* name)
    {
        std::vector<std::uint32_t> result;
        for (const std::string& digits : pieces(text(name), ',')) {
            const std::uint64_t value = utils::toUint64(digits);
            m_isComplete = m_isComplete && value <= UINT32_MAX && broker::text(value) == digits;
            result.push_back(static_cast<std::uint32_t>(value));
        }
        return result;
    }

    // Only ended jobs are ever stored.
    JobState state(const char* name)
    {
        const std::uint64_t value = number(name);
        m_isComplete = m_isComplete && value >= static_cast<std::uint64_t>(JobState::COMPLETED) &&
                       value <= static_cast<std::uint64_t>(JobState::EXCEPTION);
        return static_cast<JobState>(value);
    }

private:
    std::map<std::string, StoredValue> m_values;
    bool m_isComplete = true;
};

}  // namespace

void JobArchive::keep(const EndedJob& job) noexcept
{
    store(JOBS, job.status.id, [&job] {
        const JobStatus& status = job.status;
        return Values{{"AdapterName", status.adapterName},
                      {"Owner", status.owner},
                      {"JobState", text(static_cast<std::uint64_t>(status.state))},
                      {"PercentComplete", text(status.percentComplete)},
                      {"Error", status.error},
                      {"StartTime", text(status.startTime)},
                      {"EndTime", text(job.endTime)},
                      {"Retention", text(status.retention)}};
    });
}

void JobArchive::keep(const DiagnosticResult& result) noexcept
{
    store(RESULTS, result.id, [&result] {
        return Values{{"Job", result.jobId},
                      {"Adapter", result.adapterGuid},
                      {"JobState", text(static_cast<std::uint64_t>(result.jobState))},
                      {"IsPassed", text(result.isPassed ? 1 : 0)},
                      {"PassedPercent", text(result.passedPercent)},
                      {"StartTime", text(result.startTime)},
                      {"Duration", text(result.duration)},
                      {"BytesReceived", joined(result.bytesReceived)},
                      {"BytesTransmitted", joined(result.bytesTransmitted)},
                      {"Errors", joined(result.errors)}};
    });
}

void JobArchive::dropJob(const std::string& id) noexcept
{
    drop(JOBS, id);
}

void JobArchive::dropResult(const std::string& id) noexcept
{
    drop(RESULTS, id);
}

std::vector<JobArchive::EndedJob> JobArchive::jobs() noexcept
{
    std::vector<EndedJob> result;
    load(JOBS, [&result](const std::string& id, Entry& entry) {
        EndedJob job;
        job.status.id = id;
        job.status.adapterName = entry.text("AdapterName");
        job.status.owner = entry.text("Owner");
        job.status.state = entry.state("JobState");
        job.status.percentComplete = static_cast<std::uint16_t>(entry.number("PercentComplete", 100));
        job.status.error = entry.text("Error");
        job.status.startTime = entry.number("StartTime");
        job.endTime = entry.number("EndTime");
        job.status.retention = entry.number("Retention");
        if (entry.isComplete()) {
            result.push_back(std::move(job));
        }
    });
    std::stable_sort(result.begin(), result.end(), [](const EndedJob& left, const EndedJob& right) {
        return left.status.startTime < right.status.startTime;
    });
    return result;
}

std::vector<std::shared_ptr<const DiagnosticResult>> JobArchive::results() noexcept
{
    std::vector<std::shared_ptr<const DiagnosticResult>> results;
    load(RESULTS, [&results](const std::string& id, Entry& entry) {
        auto result = std::make_shared<DiagnosticResult>();
        result->id = id;
        result->jobId = entry.text("Job");
        result->adapterGuid = entry.text("Adapter");
        result->jobState = entry.state("JobState");
        result->isPassed = entry.number("IsPassed", 1) == 1;
        result->passedPercent = static_cast<std::uint8_t>(entry.number("PassedPercent", 100));
        result->startTime = entry.number("StartTime");
        result->duration = entry.number("Duration");
        result->bytesReceived = entry.numbers("BytesReceived");
        result->bytesTransmitted = entry.numbers("BytesTransmitted");
        result->errors = pieces(entry.text("Errors"), '\n');
        if (entry.isComplete()) {
            results.push_back(std::move(result));
        }
    });
    std::stable_sort(results.begin(), results.end(),
                     [](const auto& left, const auto& right) { return left->startTime < right->startTime; });
    return results;
}

template <class MakeValues>
void JobArchive::store(const char* parent, const std::string& id, MakeValues makeValues) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobArchive::store"};
    try {
        if (!isStorable(id) || !m_storage.canWrite(parent)) {
            here.debug("%s is kept in memory only", id.c_str());
            return;
        }
        const std::string key = keyOf(parent, id);
        for (const auto& [name, value] : makeValues()) {
            if (m_storage.write(key, name, value) != StoreResult::DONE) {
                // Half an entry is none.
                m_storage.erase(key);
                return;
            }
        }
    } catch (const std::exception& exception) {
        here.error("%s is kept in memory only: %s", id.c_str(), exception.what());
    }
}

void JobArchive::drop(const char* parent, const std::string& id) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobArchive::drop"};
    try {
        if (isStorable(id)) {
            m_storage.erase(keyOf(parent, id));
        }
    } catch (const std::exception& exception) {
        here.error("%s stays stored: %s", id.c_str(), exception.what());
    }
}

template <class Take>
void JobArchive::load(const char* parent, Take take) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobArchive::load"};
    try {
        for (const std::string& id : m_storage.children(parent)) {
            Entry entry(m_storage.read(keyOf(parent, id)));
            take(id, entry);
            if (!entry.isComplete()) {
                here.error("Stored entry %s ignored: it cannot be understood", id.c_str());
            }
        }
    } catch (const std::exception& exception) {
        here.error("Stored entries ignored: %s", exception.what());
    }
}

}  // namespace broker
