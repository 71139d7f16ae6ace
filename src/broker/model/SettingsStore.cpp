#include "broker/model/SettingsStore.h"

#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "broker/model/Fields.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "SettingsStore";

void expectDone(StoreResult result, const std::string& key)
{
    const std::string message = "Setting " + key + " could not be stored";
    if (result == StoreResult::ACCESS_DENIED) {
        throw utils::EForbidden(message + ": access denied");
    }
    if (result != StoreResult::DONE) {
        throw utils::EFailed(message);
    }
}

// Keeps other processes from changing settings while it lives.
class ChangeLock
{
public:
    ChangeLock(SettingsStorage& storage, const std::string& key) : m_storage(storage)
    {
        expectDone(storage.lock(), key);
    }
    ~ChangeLock() { m_storage.unlock(); }
    ChangeLock(const ChangeLock&) = delete;
    ChangeLock& operator=(const ChangeLock&) = delete;

private:
    SettingsStorage& m_storage;
};

}  // namespace

// Reads the fields of a setting. A value that is out of range is ignored, so that the default stays.
class SettingsStore::Reader
{
public:
    Reader(SettingsStore& store, const std::string& key) : m_store(store), m_key(key), m_fields(store.fields(key)) {}

    void read(const char* name, Lengths lengths, std::optional<std::string>& result) const
    {
        const auto field = m_fields.find(name);
        if (field == m_fields.end()) {
            return;
        }
        if (lengths.contain(field->second.size()) && field->second.find('\0') == std::string::npos) {
            result = field->second;
        } else {
            ignore(name, field->second);
        }
    }

    void read(const char* name, Lengths lengths, std::string& result) const
    {
        std::optional<std::string> text;
        read(name, lengths, text);
        result = text.value_or(result);
    }

    // Of a number, or of a duration, whose unit is that of the stored number.
    template <class Value>
    void read(const char* name, Range range, Value& result) const
    {
        const auto field = m_fields.find(name);
        if (field == m_fields.end()) {
            return;
        }
        const std::optional<std::uint64_t> number = numberIn(field->second);
        if (number && range.contains(*number)) {
            result = static_cast<Value>(*number);
        } else {
            ignore(name, field->second);
        }
    }

private:
    void ignore(const char* name, const std::string& text) const
    {
        static constexpr utils::LogSite here{FILE_NAME, "broker::SettingsStore::Reader::ignore"};
        if (m_store.isNew(m_key + "\\" + name + "=" + text)) {
            here.error("Value '%s' of %s in %s is out of range and is ignored", text.c_str(), name, m_key.c_str());
        }
    }

    SettingsStore& m_store;
    const std::string& m_key;
    const Fields& m_fields;
};

AdapterSetting SettingsStore::adapterSetting(const std::string& adapterGuid)
{
    const utils::MutexGuard guard(m_mutex);
    const std::string key = AdapterSetting::key(adapterGuid);
    const Reader reader(*this, key);
    AdapterSetting setting;
    reader.read("ElementName", AdapterSetting::LABEL_LENGTHS, setting.elementName);
    reader.read("Tag", AdapterSetting::TAG_LENGTHS, setting.tag);
    return setting;
}

DiagnosticSetting SettingsStore::diagnosticSetting()
{
    const utils::MutexGuard guard(m_mutex);
    const std::string key = DiagnosticSetting::KEY;
    const Reader reader(*this, key);
    DiagnosticSetting setting;
    reader.read("SampleCount", DiagnosticSetting::SAMPLE_COUNTS, setting.sampleCount);
    reader.read("SamplePeriodMilliseconds", DiagnosticSetting::SAMPLE_PERIODS, setting.samplePeriod);
    reader.read("PassThresholdPercent", DiagnosticSetting::PASS_THRESHOLDS, setting.passThresholdPercent);
    reader.read("JobRetentionSeconds", DiagnosticSetting::RETENTIONS, setting.jobRetention);
    reader.read("ElementName", DiagnosticSetting::NAME_LENGTHS, setting.elementName);
    return setting;
}

std::vector<std::string> SettingsStore::adaptersWithSetting()
{
    const utils::MutexGuard guard(m_mutex);
    Group& group = current(m_adapters.key);
    if (!group.children) {
        group.children = m_storage.children(group.key);
        if (!group.children) {
            throw utils::EFailed("Settings of adapters could not be read");
        }
    }
    return *group.children;
}

void SettingsStore::write(const std::string& key, const std::vector<std::pair<std::string, std::string>>& changes)
{
    for (const auto& [name, text] : changes) {
        if (text.find('\0') != std::string::npos) {
            throw utils::EInvalidParameter("Value of " + name + " property has a zero in it");
        }
    }
    const utils::MutexGuard guard(m_mutex);
    const ChangeLock lock(m_storage, key);
    Fields changed = fieldsReadAgain(key);
    for (const auto& [name, text] : changes) {
        changed[name] = text;
    }
    store(key, changed);
}

void SettingsStore::restoreDefaults(const std::string& key, const std::vector<std::string>& names)
{
    const utils::MutexGuard guard(m_mutex);
    const ChangeLock lock(m_storage, key);
    if (names.empty()) {
        current(key).known.clear();
        expectDone(m_storage.erase(key), key);
        return;
    }
    Fields left = fieldsReadAgain(key);
    for (const std::string& name : names) {
        left.erase(name);
    }
    store(key, left);
}

SettingsStore::Group& SettingsStore::current(const std::string& key)
{
    Group& group = key == m_diagnostics.key ? m_diagnostics : m_adapters;
    if (group.watch == nullptr) {
        group.watch = m_storage.watch(group.key);
    }
    if (group.watch->hasChanged()) {
        group.known.clear();
        group.children.reset();
    }
    return group;
}

const SettingsStore::Fields& SettingsStore::fields(const std::string& key)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::SettingsStore::fields"};
    std::map<std::string, Fields>& known = current(key).known;
    const auto found = known.find(key);
    if (found != known.end()) {
        return found->second;
    }
    const std::optional<StoredValues> values = m_storage.read(key);
    if (!values) {
        throw utils::EFailed("Setting " + key + " could not be read");
    }
    const auto value = values->find(VALUE);
    std::optional<Fields> fields = Fields();
    if (value != values->end()) {
        fields = value->second.isText ? splitFields(value->second.text) : std::nullopt;
    }
    if (!fields && isNew(key + "=" + value->second.text)) {
        here.error("Setting %s cannot be understood and is ignored", key.c_str());
    }
    return known[key] = std::move(fields).value_or(Fields());
}

const SettingsStore::Fields& SettingsStore::fieldsReadAgain(const std::string& key)
{
    current(key).known.erase(key);
    return fields(key);
}

void SettingsStore::store(const std::string& key, const Fields& fields)
{
    // From here on the known values may be out of date, even if storing fails.
    current(key).known.clear();
    expectDone(m_storage.write(key, VALUE, joinFields({fields.begin(), fields.end()})), key);
}

bool SettingsStore::isNew(const std::string& misfit)
{
    return m_reported.insert(misfit).second;
}

}  // namespace broker
