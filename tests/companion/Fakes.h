#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "companion/AdapterSource.h"
#include "companion/JobThread.h"
#include "companion/Machine.h"
#include "companion/SettingsStorage.h"
#include "companion/Workspace.h"

namespace fakes {

// An adapter of type Ethernet that is up, with a GUID, a hardware address and counters made from the number.
companion::Adapter adapter(unsigned number);

// An address of the adapter.
companion::Address address(unsigned adapterNumber, const std::string& text,
                           companion::AddressFamily family = companion::AddressFamily::IPV4);

// Adapters as the test sets them. Any thread.
class Adapters : public companion::AdapterSource
{
public:
    std::vector<companion::Adapter> readAdapters() override
    {
        ++adapterReads;
        const std::lock_guard guard(m_mutex);
        return m_adapters;
    }

    std::vector<companion::Address> readAddresses() override
    {
        ++addressReads;
        const std::lock_guard guard(m_mutex);
        return m_addresses;
    }

    std::optional<companion::Adapter> readAdapter(std::uint64_t luid) override;

    companion::StateChange setAdministrativeState(const companion::Adapter& adapter,
                                                  companion::AdministrativeState state) override;

    void set(std::vector<companion::Adapter> adapters)
    {
        const std::lock_guard guard(m_mutex);
        m_adapters = std::move(adapters);
    }

    void set(std::vector<companion::Address> addresses)
    {
        const std::lock_guard guard(m_mutex);
        m_addresses = std::move(addresses);
    }

    // What setAdministrativeState answers, and what it was asked for.
    std::atomic<companion::StateChange> stateChange{companion::StateChange::DONE};
    std::vector<std::pair<std::string, companion::AdministrativeState>> stateChanges;

    std::atomic<int> adapterReads{0};
    std::atomic<int> addressReads{0};

private:
    std::mutex m_mutex;
    std::vector<companion::Adapter> m_adapters;
    std::vector<companion::Address> m_addresses;
};

class Machine : public companion::Machine
{
public:
    std::string computerName() override { return "HOST"; }
    std::string userName() override { return "admin"; }
    std::uint64_t now() override { return time; }

    std::atomic<std::uint64_t> time{1'700'000'000'000'000};
};

// Settings in memory. Any thread.
class Storage : public companion::SettingsStorage
{
public:
    std::map<std::string, companion::StoredValue> read(const std::string& key) override;
    std::vector<std::string> children(const std::string& key) override;
    bool canWrite(const std::string& key) override;
    companion::StoreResult write(const std::string& key, const std::string& name, const std::string& text) override;
    companion::StoreResult erase(const std::string& key) override;

    void set(const std::string& key, const std::string& name, const std::string& text, bool isText = true);

    // "name=text" of each value of the key.
    std::vector<std::string> values(const std::string& key);

    // What a write of the value of this name answers; others succeed.
    std::string failingName;
    companion::StoreResult failure = companion::StoreResult::FAILED;
    companion::StoreResult eraseResult = companion::StoreResult::DONE;
    int writes = 0;
    bool isWritable = true;

private:
    std::mutex m_mutex;
    std::map<std::string, std::map<std::string, companion::StoredValue>> m_keys;
};

// A thread that the test plays: it runs when the test says so.
class ManualThread : public companion::JobThread
{
public:
    bool start(companion::JobWork& jobWork) override
    {
        ++starts;
        work = &jobWork;
        return canStart;
    }

    void wake() noexcept override { ++wakes; }

    companion::JobWork* work = nullptr;
    bool canStart = true;
    int starts = 0;
    int wakes = 0;
};

// A real thread.
class RealThread : public companion::JobThread
{
public:
    ~RealThread() override { join(); }

    // Waits until nothing is left to do. Call before what the thread works on ends.
    void join();

    bool start(companion::JobWork& work) override;
    void wake() noexcept override;

private:
    void run(companion::JobWork& work);

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_isAwake = false;
    std::thread m_thread;
};

// Everything that a workspace stands on.
class World
{
public:
    companion::Sources sources() { return {adapters, machine, settings, jobs}; }

    Adapters adapters;
    Machine machine;
    Storage storage;
    ManualThread thread;
    companion::SettingsStore settings{storage};
    companion::JobTable jobs{adapters, machine, thread, storage};
};

}  // namespace fakes
