#include "broker/jobs/JobEntry.h"

#include <algorithm>
#include <utility>

#include "Utils/Utils.h"
#include "broker/model/Fields.h"
#include "broker/model/SettingsStore.h"

namespace broker {

namespace {

// The first second that the platform cannot break down into calendar fields: 3001-01-01.
constexpr std::chrono::microseconds CALENDAR_END = std::chrono::seconds{32'535'244'800};
constexpr std::chrono::microseconds MAX_RETENTION = std::chrono::seconds{DiagnosticSetting::RETENTIONS.max};
constexpr WallTime LAST_MOMENT{CALENDAR_END - std::chrono::microseconds{1}};
constexpr std::uint64_t HIGHEST_PERCENT = 100;

std::string text(std::uint64_t number)
{
    return std::to_string(number);
}

std::string text(std::chrono::microseconds time)
{
    return std::to_string(time.count());
}

std::string text(WallTime time)
{
    return text(time.time_since_epoch());
}

std::string text(JobState state)
{
    return text(static_cast<std::uint64_t>(state));
}

std::string joined(const std::vector<std::uint32_t>& numbers)
{
    std::string result;
    for (const std::uint32_t number : numbers) {
        result += result.empty() ? "" : ",";
        result += text(number);
    }
    return result;
}

// Each text ends with a line break, so that an empty list and a list of one empty text differ.
std::string joined(const std::vector<std::string>& lines)
{
    std::string result;
    for (const std::string& line : lines) {
        result += line + "\n";
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

// Reads the fields of an entry and remembers whether one was malformed.
class Reader
{
public:
    explicit Reader(const std::string& entry) : m_fields(splitFields(entry)), m_fits(m_fields.has_value()) {}

    bool fits() const noexcept { return m_fits; }

    std::string text(const char* name)
    {
        if (!m_fits) {
            return {};
        }
        const auto field = m_fields->find(name);
        m_fits = field != m_fields->end();
        return m_fits ? field->second : std::string();
    }

    std::uint64_t number(const char* name, std::uint64_t most) { return bounded(text(name), most); }

    std::chrono::microseconds duration(const char* name, std::chrono::microseconds most = CALENDAR_END)
    {
        return std::chrono::microseconds{number(name, static_cast<std::uint64_t>(most.count()))};
    }

    WallTime time(const char* name) { return WallTime{duration(name, LAST_MOMENT.time_since_epoch())}; }

    std::vector<std::uint32_t> numbers(const char* name)
    {
        std::vector<std::uint32_t> result;
        for (const std::string& digits : pieces(text(name), ',')) {
            result.push_back(static_cast<std::uint32_t>(bounded(digits, UINT32_MAX)));
        }
        return result;
    }

    JobState state(const char* name)
    {
        const auto state = static_cast<JobState>(number(name, UINT16_MAX));
        m_fits = m_fits && (state == JobState::RUNNING || state == JobState::COMPLETED ||
                            state == JobState::TERMINATED || state == JobState::KILLED || state == JobState::EXCEPTION);
        return state;
    }

    // A process id and a start time.
    std::string host(const char* name)
    {
        std::string host = text(name);
        m_fits = m_fits && host.size() <= MAX_HOST_LENGTH && !host.empty() &&
                 host.find_first_not_of("0123456789-") == std::string::npos;
        return host;
    }

private:
    static constexpr std::size_t MAX_HOST_LENGTH = 64;

    std::uint64_t bounded(const std::string& digits, std::uint64_t most)
    {
        const std::optional<std::uint64_t> value = numberIn(digits);
        m_fits = m_fits && value && *value <= most;
        return m_fits ? *value : 0;
    }

    std::optional<std::map<std::string, std::string>> m_fields;
    bool m_fits;
};

}  // namespace

WallTime inCalendar(WallTime time) noexcept
{
    return std::clamp(time, WallTime{}, LAST_MOMENT);
}

std::string entryOf(const StoredJob& job)
{
    const JobStatus& status = job.status;
    return joinFields({{"JobState", text(status.state)},
                       {"AdapterName", status.adapterName},
                       {"AdapterGuid", status.adapterGuid},
                       {"Owner", status.owner},
                       {"Host", job.host},
                       {"PercentComplete", text(status.percentComplete)},
                       {"Error", status.error},
                       {"StartTime", text(status.startTime)},
                       {"EndTime", text(job.endTime)},
                       {"Elapsed", text(status.elapsed)},
                       {"Retention", text(status.retention)}});
}

std::optional<StoredJob> jobOf(const std::string& id, const std::string& entry)
{
    Reader reader(entry);
    StoredJob job;
    job.status.id = id;
    job.status.state = reader.state("JobState");
    job.status.adapterName = reader.text("AdapterName");
    job.status.adapterGuid = reader.text("AdapterGuid");
    job.status.owner = reader.text("Owner");
    job.host = reader.host("Host");
    job.status.percentComplete = static_cast<std::uint16_t>(reader.number("PercentComplete", HIGHEST_PERCENT));
    job.status.error = reader.text("Error");
    job.status.startTime = reader.time("StartTime");
    job.endTime = reader.time("EndTime");
    job.status.elapsed = reader.duration("Elapsed");
    job.status.retention = reader.duration("Retention", MAX_RETENTION);
    return reader.fits() ? std::make_optional(std::move(job)) : std::nullopt;
}

std::string entryOf(const DiagnosticResult& result)
{
    return joinFields({{"Job", result.jobId},
                       {"AdapterGuid", result.adapterGuid},
                       {"JobState", text(result.jobState)},
                       {"IsPassed", text(std::uint64_t{result.isPassed})},
                       {"PassedPercent", text(std::uint64_t{result.passedPercent})},
                       {"StartTime", text(result.startTime)},
                       {"Duration", text(result.duration)},
                       {"BytesReceived", joined(result.bytesReceived)},
                       {"BytesTransmitted", joined(result.bytesTransmitted)},
                       {"Errors", joined(result.errors)}});
}

std::optional<DiagnosticResult> resultOf(const std::string& id, const std::string& entry)
{
    Reader reader(entry);
    DiagnosticResult result;
    result.id = id;
    result.jobId = reader.text("Job");
    result.adapterGuid = reader.text("AdapterGuid");
    result.jobState = reader.state("JobState");
    result.isPassed = reader.number("IsPassed", 1) == 1;
    result.passedPercent = static_cast<std::uint8_t>(reader.number("PassedPercent", HIGHEST_PERCENT));
    result.startTime = reader.time("StartTime");
    result.duration = reader.duration("Duration");
    result.bytesReceived = reader.numbers("BytesReceived");
    result.bytesTransmitted = reader.numbers("BytesTransmitted");
    result.errors = pieces(reader.text("Errors"), '\n');
    return reader.fits() ? std::make_optional(std::move(result)) : std::nullopt;
}

}  // namespace broker
