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

// An administrator's notes about an adapter; null until somebody writes them.
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
// Settings are read again when the platform reports a change. A missing value has its default; a value that is out of
// range is ignored with one error line. Any thread; acts under the identity of the calling thread.
class SettingsStore
{
public:
    // The name of the value below each setting's key.
    static constexpr char VALUE[] = "Setting";

    // The storage must outlive the store. Throws utils::Exception when the platform refuses a mutex.
    explicit SettingsStore(SettingsStorage& storage) : m_storage(storage) {}

    // These three throw utils::EFailed if the platform refuses to read.
    AdapterSetting adapterSetting(const std::string& adapterGuid);
    DiagnosticSetting diagnosticSetting();

    // The GUIDs of all adapters for which a setting is stored, whether or not the adapter exists.
    std::vector<std::string> adaptersWithSetting();

    // Whether the calling thread may change the settings of diagnostics.
    bool mayWrite() { return m_storage.canWrite(DiagnosticSetting::KEY); }

    // Stores the named fields under the key: all of them or, if it throws, none. Throws utils::EInvalidParameter if a
    // text contains a zero, utils::EForbidden if the platform denies access and utils::EFailed if it fails otherwise.
    void write(const std::string& key, const std::vector<std::pair<std::string, std::string>>& changes);

    // The named fields go back to their defaults, or all when no names are given. Throws as write() does.
    void restoreDefaults(const std::string& key, const std::vector<std::string>& names);

private:
    using Fields = std::map<std::string, std::string>;

    // The known settings below one key of the storage.
    struct Group
    {
        const char* key;
        std::unique_ptr<ChangeWatch> watch;
        std::map<std::string, Fields> known;
        std::optional<std::vector<std::string>> children;
    };

    class Reader;

    // The caller of these holds the lock.
    Group& current(const std::string& key);
    const Fields& fields(const std::string& key);
    // Reads even if the platform reports no change.
    const Fields& fieldsReadAgain(const std::string& key);
    void store(const std::string& key, const Fields& fields);
    // Returns whether this is the first report of the misfit.
    bool isNew(const std::string& misfit);

    SettingsStorage& m_storage;
    // Held while the platform reads and writes, so that there is one change at a time and a reader never keeps what a
    // change has just made out of date.
    utils::Mutex m_mutex;
    Group m_adapters{"Adapters", nullptr, {}, std::nullopt};
    Group m_diagnostics{DiagnosticSetting::KEY, nullptr, {}, std::nullopt};
    // The misfits that were reported.
    std::set<std::string> m_reported;
};

}  // namespace broker
