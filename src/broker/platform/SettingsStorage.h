#pragma once

#include <map>
#include <string>
#include <vector>

namespace broker {

// A stored value. What is not a text was not written by this product.
struct StoredValue
{
    bool isText = false;
    std::string text;
};

enum class StoreResult
{
    DONE,
    ACCESS_DENIED,
    FAILED
};

// Platform boundary: values that survive the process, as texts by name, grouped under keys. A key is a relative path
// of parts separated by backslashes.
// CONTRACT: acts under the identity of the calling thread. Failures are results and are logged. Any thread.
class SettingsStorage
{
public:
    SettingsStorage() = default;
    virtual ~SettingsStorage() = default;
    SettingsStorage(const SettingsStorage&) = delete;
    SettingsStorage& operator=(const SettingsStorage&) = delete;

    // All values of the key; none when it does not exist or cannot be read.
    virtual std::map<std::string, StoredValue> read(const std::string& key) = 0;

    // The names of the keys below the key; none when it does not exist or cannot be read.
    virtual std::vector<std::string> children(const std::string& key) = 0;

    // Whether the key, or what is missing of it, could be written. Logs nothing.
    virtual bool canWrite(const std::string& key) = 0;

    // Creates the key where it is missing.
    virtual StoreResult write(const std::string& key, const std::string& name, const std::string& text) = 0;

    // Removes the key with its values. A key that does not exist is done.
    virtual StoreResult erase(const std::string& key) = 0;
};

}  // namespace broker
