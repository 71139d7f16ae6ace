#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/model/Limits.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// The names of the stored values are those of the properties.

// What an administrator notes about an adapter; null until somebody does.
struct AdapterSetting
{
    static constexpr Lengths LABEL_LENGTHS{1, 64};
    static constexpr Lengths TAG_LENGTHS{0, 32};

    // The storage key of an adapter's setting.
    static std::string key(const std::string& adapterGuid) { return "Adapters\\" + adapterGuid; }

    std::optional<std::string> elementName;
    std::optional<std::string> tag;
};

// How link diagnostics run. The values here are those after installation.
struct DiagnosticSetting
{
    static constexpr Range SAMPLE_COUNTS{1, 600};
    static constexpr Range SAMPLE_PERIODS{10, 60000};
    static constexpr Range PASS_THRESHOLDS{0, 100};

    // The storage key of the one setting.
    static constexpr char KEY[] = "Diagnostics";

    std::uint16_t sampleCount = 10;
    std::uint16_t samplePeriodMilliseconds = 1000;
    std::uint8_t passThresholdPercent = 90;
    std::uint64_t jobRetentionSeconds = 300;
    std::string elementName = "Link Diagnostics";
};

// The product's settings. Read from the storage on every call; what is missing there has its default, and what does
// not fit is ignored with one error line. Any thread; acts under the identity of the calling thread.
class SettingsStore
{
public:
    // The storage must outlive the store. Throws utils::Exception when the platform refuses a mutex.
    explicit SettingsStore(SettingsStorage& storage) : m_storage(storage) {}

    AdapterSetting adapterSetting(const std::string& adapterGuid);
    DiagnosticSetting diagnosticSetting();

    // Stores the values, named, under the key: all of them or, when it throws, none. Throws utils::EForbidden when the
    // platform denies access and utils::EFailed when it fails otherwise.
    void write(const std::string& key, const std::vector<std::pair<std::string, std::string>>& values);

    // Back to the defaults. False when the platform refuses; the reason is logged.
    bool erase(const std::string& key);

private:
    void restore(const std::string& key, const std::map<std::string, StoredValue>& values);

    SettingsStorage& m_storage;
    // One change at a time: a change that fails halfway puts back what stood there before it.
    utils::Mutex m_changes;
};

}  // namespace broker
