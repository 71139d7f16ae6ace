#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace broker {

// A stored value. What is not a text was not written by this product.
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

// Tells whether a key has changed, whoever changed it.
// CONTRACT: one thread at a time. Never fails: where the platform cannot tell, the answer is "changed".
class ChangeWatch
{
public:
    ChangeWatch() = default;
    virtual ~ChangeWatch() = default;
    ChangeWatch(const ChangeWatch&) = delete;
    ChangeWatch& operator=(const ChangeWatch&) = delete;

    // Whether the key, its values or a key below it may have changed since the call before. True at the first call.
    // What changes after the call is seen by the next one, so ask first and read then.
    virtual bool hasChanged() = 0;
};

// Platform boundary: values that survive the process, as texts by name, grouped under keys. A key is a relative path
// of parts separated by backslashes.
// CONTRACT: acts under the identity of the calling thread. Failures are results, and each writes one error line unless
// it says otherwise. Any thread.
class SettingsStorage
{
public:
    SettingsStorage() = default;
    virtual ~SettingsStorage() = default;
    SettingsStorage(const SettingsStorage&) = delete;
    SettingsStorage& operator=(const SettingsStorage&) = delete;

    // All values of the key as they were at one moment, none when it does not exist; empty when they could not be read.
    virtual std::optional<StoredValues> read(const std::string& key) = 0;

    // The names of the keys below the key, none when it does not exist; empty when they could not be read.
    virtual std::optional<std::vector<std::string>> children(const std::string& key) = 0;

    // Whether the key, or what is missing of it, could be written. Logs nothing.
    virtual bool canWrite(const std::string& key) = 0;

    // Sets one value, which from then on is there as a whole. Creates the key where it is missing.
    virtual StoreResult write(const std::string& key, const std::string& name, const std::string& text) = 0;

    // Removes the key with its values. A key that does not exist is done.
    virtual StoreResult erase(const std::string& key) = 0;

    // Removes one value. A value or a key that does not exist is done.
    virtual StoreResult eraseValue(const std::string& key, const std::string& name) = 0;

    // Keeps other processes from changing what is stored until unlock(), for a change that depends on what is there.
    // All who change a key must lock. Waits for two seconds at most. Unless DONE, nothing is locked. One thread at a
    // time.
    virtual StoreResult lock() = 0;

    // By the thread that has locked.
    virtual void unlock() noexcept = 0;

    // A watch of the key, which may not exist yet. Ends before the storage.
    virtual std::unique_ptr<ChangeWatch> watch(const std::string& key) = 0;
};

}  // namespace broker
