#include "broker/windows/RegistryStorage.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "Os/Windows/WindowsRegistry.h"
#include "Utils/Log.h"
#include "broker/windows/NamedMutex.h"
#include "broker/windows/RegistryWatch.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "RegistryStorage";
constexpr const char* LOCK_NAME = "Global\\Vexal-DRAVEv2-Settings";
constexpr std::chrono::milliseconds LOCK_PATIENCE{2000};

utils::WindowsRegistry& registry()
{
    return *utils::WindowsRegistry::getInstance();
}

std::string fullPath(const std::string& key)
{
    return "Software\\Vexal\\DRAVEv2\\" + key;
}

utils::ScopedKey openKey(const std::string& path, REGSAM access)
{
    return {registry(), HKEY_LOCAL_MACHINE, path, access};
}

// Splits a key's path at its last backslash. Without a backslash, the whole path is the child and the parent is empty.
struct SplitPath
{
    explicit SplitPath(const std::string& path)
    {
        const std::size_t cut = path.rfind('\\');
        parent = cut == std::string::npos ? std::string() : path.substr(0, cut);
        child = cut == std::string::npos ? path : path.substr(cut + 1);
    }

    std::string parent;
    std::string child;
};

// The status of opening the key for writing. If it does not exist, the nearest existing key above it is opened instead.
LSTATUS writeStatus(std::string path)
{
    for (;;) {
        const LSTATUS status = openKey(path, KEY_WRITE).status();
        if (status != ERROR_FILE_NOT_FOUND) {
            return status;
        }
        path = SplitPath(path).parent;
        if (path.empty()) {
            return status;
        }
    }
}

// Returns false if the client is denied access: the key exists then, and the client must get an error, not "not found".
bool isMissing(const std::string& path)
{
    return openKey(path, KEY_READ).status() == ERROR_FILE_NOT_FOUND;
}

// Finds out why the key could not be written, since the registry object only reports success.
StoreResult failureOf(const std::string& path)
{
    return writeStatus(path) == ERROR_ACCESS_DENIED ? StoreResult::ACCESS_DENIED : StoreResult::FAILED;
}

// The state of a key: its time of change, and the sizes of its values.
struct KeyState
{
    explicit KeyState(HKEY key)
        : status(registry().queryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                         &maxNameLength, &maxDataLength, nullptr, &lastWrite))
    {
    }

    bool operator!=(const KeyState& other) const noexcept
    {
        return status != other.status || values != other.values || maxNameLength != other.maxNameLength ||
               maxDataLength != other.maxDataLength || CompareFileTime(&lastWrite, &other.lastWrite) != 0;
    }

    DWORD values = 0;
    DWORD maxNameLength = 0;
    DWORD maxDataLength = 0;
    FILETIME lastWrite{};
    // The last member, since its initialisation fills in the others.
    LSTATUS status;
};

// Returns ERROR_NO_MORE_ITEMS if all values were read.
LSTATUS readValues(HKEY key, const KeyState& state, StoredValues& values)
{
    // The lengths are those of the longest wide texts; in the code page a character may take more than one byte.
    constexpr DWORD BYTES_PER_CHARACTER = 4;
    std::string name(std::size_t{state.maxNameLength} * BYTES_PER_CHARACTER + 1, '\0');
    std::string data(std::size_t{state.maxDataLength} * BYTES_PER_CHARACTER, '\0');
    for (DWORD index = 0;; ++index) {
        auto nameLength = static_cast<DWORD>(name.size());
        auto dataLength = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        const LSTATUS status = registry().enumValue(key, index, name.data(), &nameLength, nullptr, &type,
                                                    reinterpret_cast<LPBYTE>(data.data()), &dataLength);
        if (status != ERROR_SUCCESS) {
            return status;
        }
        StoredValue& value = values[name.substr(0, nameLength)];
        value.isText = type == REG_SZ;
        if (value.isText) {
            // A stored text may lack its terminator, or continue behind it.
            value.text = data.substr(0, std::min<std::size_t>(data.find('\0'), dataLength));
        }
    }
}

}  // namespace

std::optional<StoredValues> RegistryStorage::read(const std::string& key)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::RegistryStorage::read"};
    const std::string path = fullPath(key);
    const utils::ScopedKey opened = openKey(path, KEY_READ);
    LSTATUS status = opened.status();
    if (status == ERROR_FILE_NOT_FOUND) {
        return StoredValues();
    }
    // Other processes may write meanwhile. The values count only if nothing has changed from the first call to the
    // last.
    constexpr int MAX_ATTEMPTS = 10;
    for (int attempt = 0; status == ERROR_SUCCESS && attempt < MAX_ATTEMPTS; ++attempt) {
        const KeyState before(opened.get());
        status = before.status;
        if (status != ERROR_SUCCESS) {
            break;
        }
        StoredValues values;
        const LSTATUS readStatus = readValues(opened.get(), before, values);
        if (KeyState(opened.get()) != before) {
            continue;
        }
        if (readStatus == ERROR_NO_MORE_ITEMS) {
            return values;
        }
        status = readStatus;
    }
    here.error("Could not read registry key %s. Error %d", path.c_str(), static_cast<int>(status));
    return std::nullopt;
}

std::optional<std::vector<std::string>> RegistryStorage::children(const std::string& key)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::RegistryStorage::children"};
    std::vector<std::string> result;
    const std::string path = fullPath(key);
    const utils::ScopedKey opened = openKey(path, KEY_READ);
    LSTATUS status = opened.status();
    if (status == ERROR_FILE_NOT_FOUND) {
        return result;
    }
    // The platform's limit for the name of a key is 255 characters, each of four bytes at most.
    std::array<char, 255 * 4 + 1> name{};
    for (DWORD index = 0; status == ERROR_SUCCESS; ++index) {
        auto length = static_cast<DWORD>(name.size());
        status = registry().enumKey(opened.get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) {
            return result;
        }
        if (status == ERROR_SUCCESS) {
            result.emplace_back(name.data(), length);
        }
    }
    here.error("Could not read registry key %s. Error %d", path.c_str(), static_cast<int>(status));
    return std::nullopt;
}

bool RegistryStorage::canWrite(const std::string& key)
{
    return writeStatus(fullPath(key)) == ERROR_SUCCESS;
}

StoreResult RegistryStorage::write(const std::string& key, const std::string& name, const std::string& text)
{
    const std::string path = fullPath(key);
    return registry().setKey(HKEY_LOCAL_MACHINE, path, name, text) ? StoreResult::DONE : failureOf(path);
}

StoreResult RegistryStorage::erase(const std::string& key)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::RegistryStorage::erase"};
    const std::string path = fullPath(key);
    if (isMissing(path)) {
        return StoreResult::DONE;
    }
    const SplitPath split(path);
    registry().deleteKey(HKEY_LOCAL_MACHINE, split.parent, split.child);
    // The registry object does not report whether it deleted the child.
    if (isMissing(path)) {
        return StoreResult::DONE;
    }
    here.error("Could not delete registry key %s", path.c_str());
    return failureOf(path);
}

StoreResult RegistryStorage::eraseValue(const std::string& key, const std::string& name)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::RegistryStorage::eraseValue"};
    const std::string path = fullPath(key);
    LSTATUS status = ERROR_SUCCESS;
    {
        const utils::ScopedKey opened = openKey(path, KEY_SET_VALUE);
        status = opened.status();
        if (status == ERROR_SUCCESS) {
            status = RegDeleteValueA(opened.get(), name.c_str());
        }
    }
    if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) {
        return StoreResult::DONE;
    }
    here.error("Could not delete registry value %s of %s. Error %d", name.c_str(), path.c_str(),
               static_cast<int>(status));
    return status == ERROR_ACCESS_DENIED ? StoreResult::ACCESS_DENIED : StoreResult::FAILED;
}

StoreResult RegistryStorage::lock()
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::RegistryStorage::lock"};
    m_lock = openNamedMutex(LOCK_NAME, ADMINISTRATORS_ACCESS);
    if (m_lock == nullptr) {
        const DWORD error = GetLastError();
        here.error("Settings could not be locked. Error %d", static_cast<int>(error));
        return error == ERROR_ACCESS_DENIED ? StoreResult::ACCESS_DENIED : StoreResult::FAILED;
    }
    const DWORD result = WaitForSingleObject(m_lock, static_cast<DWORD>(LOCK_PATIENCE.count()));
    // A process that ended while it held the lock has written a whole value or none.
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) {
        return StoreResult::DONE;
    }
    here.error("Settings are locked by another process. Result %d", static_cast<int>(result));
    CloseHandle(std::exchange(m_lock, nullptr));
    return StoreResult::FAILED;
}

void RegistryStorage::unlock() noexcept
{
    ReleaseMutex(m_lock);
    CloseHandle(std::exchange(m_lock, nullptr));
}

std::unique_ptr<ChangeWatch> RegistryStorage::watch(const std::string& key)
{
    return std::make_unique<RegistryWatch>(fullPath(key));
}

}  // namespace broker
