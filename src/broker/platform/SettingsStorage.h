#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace broker {

// A stored value. This product writes texts only.
struct StoredValue
{
    bool isText = false;
    std::string text;

    friend bool operator==(const StoredValue&, const StoredValue&) = default;
};

using StoredValues = std::map<std::string, StoredValue>;

enum class StoreResult
{
    DONE,
    ACCESS_DENIED,
    FAILED
};

// Reports changes of a key by any process. CONTRACT: one thread at a time. Never fails: if the platform does not know,
// the answer is "changed".
class ChangeWatch
{
public:
    ChangeWatch() = default;
    virtual ~ChangeWatch() = default;
    ChangeWatch(const ChangeWatch&) = delete;
    ChangeWatch& operator=(const ChangeWatch&) = delete;

    // Whether the key, its values or a key below it may have changed since the previous call. True at the first call.
    // The next call reports changes that come after this one, so call this before reading.
    virtual bool hasChanged() = 0;
};

// Platform boundary: values that survive the process, as texts by name, grouped under keys. A key is a relative path of
// parts separated by backslashes. CONTRACT: acts under the identity of the calling thread. Failures are return values;
// each writes one error line unless the operation says otherwise. Any thread.
class SettingsStorage
{
public:
    SettingsStorage() = default;
    virtual ~SettingsStorage() = default;
    SettingsStorage(const SettingsStorage&) = delete;
    SettingsStorage& operator=(const SettingsStorage&) = delete;

    // All values of the key as they were at one moment. No values if the key does not exist; an empty optional if they
    // cannot be read.
    virtual std::optional<StoredValues> read(const std::string& key) = 0;

    // The names of the keys below the key. No names if the key does not exist; an empty optional if they cannot be
    // read.
    virtual std::optional<std::vector<std::string>> children(const std::string& key) = 0;

    // Whether the calling thread may write the key or, if it does not exist, create it. Logs nothing.
    virtual bool canWrite(const std::string& key) = 0;

    // Sets one value: readers see the old text or the whole new one. Creates the key if necessary.
    virtual StoreResult write(const std::string& key, const std::string& name, const std::string& text) = 0;

    // Removes the key with its values. DONE if the key does not exist.
    virtual StoreResult erase(const std::string& key) = 0;

    // Removes one value. DONE if the value or the key does not exist.
    virtual StoreResult eraseValue(const std::string& key, const std::string& name) = 0;

    // Keeps other processes from changing any setting until unlock(), for a change that depends on the stored values.
    // Everyone who changes a key must lock. Waits at most two seconds. Nothing is locked unless the result is DONE. One
    // thread at a time.
    virtual StoreResult lock() = 0;

    // Only the thread that has locked may call this.
    virtual void unlock() noexcept = 0;

    // A watch of the key, which need not exist. The storage must outlive it.
    virtual std::unique_ptr<ChangeWatch> watch(const std::string& key) = 0;
};

}  // namespace broker
