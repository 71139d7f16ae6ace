#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/model/Limits.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// The names of the stored fields are those of the properties.

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
    // In milliseconds.
    static constexpr Range SAMPLE_PERIODS{10, 60000};
    static constexpr Range PASS_THRESHOLDS{0, 100};
    // In seconds; a year at most.
    static constexpr Range RETENTIONS{0, 31'536'000};
    static constexpr Lengths NAME_LENGTHS{0, 256};

    // The storage key of the one setting.
    static constexpr char KEY[] = "Diagnostics";

    std::uint16_t sampleCount = 10;
    std::chrono::milliseconds samplePeriod{1000};
    std::uint8_t passThresholdPercent = 90;
    std::chrono::seconds jobRetention{300};
    std::string elementName = "Link Diagnostics";
};

// The product's settings, each stored as one value, so that a reader in any process sees a change whole or not at all.
// A change of some fields keeps the others as any process has left them: it reads and writes under the storage's lock.
// Read again when the platform says that they have changed. What is missing has its default, and what does not fit is
// ignored with one error line. Any thread; acts under the identity of the calling thread.
class SettingsStore
{
public:
    // The name of the value below each setting's key.
    static constexpr char VALUE[] = "Setting";

    // The storage must outlive the store. Throws utils::Exception when the platform refuses a mutex.
    explicit SettingsStore(SettingsStorage& storage) : m_storage(storage) {}

    // These three throw utils::EFailed when the platform does not let it be read.
    AdapterSetting adapterSetting(const std::string& adapterGuid);
    DiagnosticSetting diagnosticSetting();

    // The GUIDs of the adapters for which a setting is stored, whether or not they are there.
    std::vector<std::string> adaptersWithSetting();

    // Whether the calling thread may change the settings of diagnostics.
    bool mayWrite() { return m_storage.canWrite(DiagnosticSetting::KEY); }

    // Stores the fields, named, under the key: all of them or, when it throws, none. Throws utils::EInvalidParameter
    // for a text with a zero in it, utils::EForbidden when the platform denies access and utils::EFailed when it fails
    // otherwise.
    void write(const std::string& key, const std::vector<std::pair<std::string, std::string>>& changes);

    // The named fields go back to their defaults, or all when no names are given. Throws as write() does.
    void restoreDefaults(const std::string& key, const std::vector<std::string>& names);

private:
    using Fields = std::map<std::string, std::string>;

    // What is known of the settings below one key of the storage.
    struct Group
    {
        const char* key;
        std::unique_ptr<ChangeWatch> watch;
        std::map<std::string, Fields> known;
        std::optional<std::vector<std::string>> children;
    };

    class Reader;

    // All of these need the lock.
    Group& current(const std::string& key);
    const Fields& fields(const std::string& key);
    // Whatever the platform says about changes.
    const Fields& fieldsReadAgain(const std::string& key);
    void store(const std::string& key, const Fields& fields);
    // Whether the misfit was not reported before.
    bool isNew(const std::string& misfit);

    SettingsStorage& m_storage;
    // Held while the platform reads and writes: one change at a time, and no reading of what a change has just made
    // old.
    utils::Mutex m_mutex;
    Group m_adapters{"Adapters", nullptr, {}, std::nullopt};
    Group m_diagnostics{DiagnosticSetting::KEY, nullptr, {}, std::nullopt};
    // The misfits that were reported.
    std::set<std::string> m_reported;
};

}  // namespace broker
