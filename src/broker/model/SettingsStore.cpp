#include "broker/model/SettingsStore.h"

#include <charconv>

#include "Utils/Exception.h"
#include "Utils/Log.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "SettingsStore";

// The stored values of a key. What does not fit is left out, so that the default holds.
class StoredValues
{
public:
    StoredValues(const std::string& key, SettingsStorage& storage) : m_key(key), m_values(storage.read(key)) {}

    void read(const char* name, Lengths lengths, std::optional<std::string>& result) const
    {
        if (const StoredValue* value = find(name)) {
            if (value->isText && lengths.contain(value->text.size())) {
                result = value->text;
            } else {
                ignore(name, *value);
            }
        }
    }

    void read(const char* name, std::string& result) const
    {
        std::optional<std::string> text;
        read(name, Lengths{0, 0}, text);
        if (text) {
            result = *text;
        }
    }

    template <class Number>
    void read(const char* name, Range range, Number& result) const
    {
        if (const StoredValue* value = find(name)) {
            const std::optional<std::uint64_t> number = numberIn(*value);
            if (number && range.contains(*number)) {
                result = static_cast<Number>(*number);
            } else {
                ignore(name, *value);
            }
        }
    }

private:
    const StoredValue* find(const char* name) const
    {
        const auto value = m_values.find(name);
        return value == m_values.end() ? nullptr : &value->second;
    }

    static std::optional<std::uint64_t> numberIn(const StoredValue& value)
    {
        std::uint64_t number = 0;
        const char* end = value.text.data() + value.text.size();
        const auto [stop, error] = std::from_chars(value.text.data(), end, number);
        return value.isText && error == std::errc() && stop == end ? std::make_optional(number) : std::nullopt;
    }

    void ignore(const char* name, const StoredValue& value) const
    {
        static constexpr utils::LogSite here{FILE_NAME, "broker::StoredValues::ignore"};
        if (value.isText) {
            here.error("Value '%s' of %s\\%s is out of range and is ignored", value.text.c_str(), m_key.c_str(), name);
        } else {
            here.error("Value of %s\\%s is no text and is ignored", m_key.c_str(), name);
        }
    }

    std::string m_key;
    std::map<std::string, StoredValue> m_values;
};

}  // namespace

AdapterSetting SettingsStore::adapterSetting(const std::string& adapterGuid)
{
    const std::string key = AdapterSetting::key(adapterGuid);
    const StoredValues values(key, m_storage);
    AdapterSetting setting;
    values.read("ElementName", AdapterSetting::LABEL_LENGTHS, setting.elementName);
    values.read("Tag", AdapterSetting::TAG_LENGTHS, setting.tag);
    return setting;
}

DiagnosticSetting SettingsStore::diagnosticSetting()
{
    const StoredValues values(DiagnosticSetting::KEY, m_storage);
    DiagnosticSetting setting;
    values.read("SampleCount", DiagnosticSetting::SAMPLE_COUNTS, setting.sampleCount);
    values.read("SamplePeriodMilliseconds", DiagnosticSetting::SAMPLE_PERIODS, setting.samplePeriodMilliseconds);
    values.read("PassThresholdPercent", DiagnosticSetting::PASS_THRESHOLDS, setting.passThresholdPercent);
    values.read("JobRetentionSeconds", Range{0, UINT64_MAX}, setting.jobRetentionSeconds);
    values.read("ElementName", setting.elementName);
    return setting;
}

void SettingsStore::write(const std::string& key, const std::vector<std::pair<std::string, std::string>>& values)
{
    const utils::MutexGuard guard(m_changes);
    const std::map<std::string, StoredValue> before = m_storage.read(key);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StoreResult result = m_storage.write(key, values[i].first, values[i].second);
        if (result == StoreResult::DONE) {
            continue;
        }
        if (i != 0) {
            restore(key, before);
        }
        const std::string message = "Setting " + key + " could not be stored";
        if (result == StoreResult::ACCESS_DENIED) {
            throw utils::EForbidden(message + ": access denied");
        }
        throw utils::EFailed(message);
    }
}

bool SettingsStore::erase(const std::string& key)
{
    const utils::MutexGuard guard(m_changes);
    return m_storage.erase(key) == StoreResult::DONE;
}

void SettingsStore::restore(const std::string& key, const std::map<std::string, StoredValue>& values)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::SettingsStore::restore"};
    // The storage takes back no single value, and one that was not there before must go.
    bool isRestored = m_storage.erase(key) == StoreResult::DONE;
    for (const auto& [name, value] : values) {
        // What was no text was ignored before and stays out.
        if (value.isText) {
            isRestored = m_storage.write(key, name, value.text) == StoreResult::DONE && isRestored;
        }
    }
    if (!isRestored) {
        here.error("Setting %s could not be put back as it was", key.c_str());
    }
}

}  // namespace broker
