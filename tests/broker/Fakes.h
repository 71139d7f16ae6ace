#pragma once

#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "broker/model/Workspace.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/JobHosts.h"
#include "broker/platform/JobThread.h"
#include "broker/platform/Machine.h"
#include "broker/platform/SettingsStorage.h"

namespace fakes {

// Returns an Ethernet adapter that is up. Its GUID, hardware address and counters are derived from the number.
broker::Adapter adapter(unsigned number);

// An address of the adapter.
broker::Address address(unsigned adapterNumber, const std::string& text,
                        broker::AddressFamily family = broker::AddressFamily::IPV4);

// Returns a configuration of the adapter with every field set.
broker::IpConfiguration ipConfiguration(unsigned adapterNumber);

// Adapters that the test sets. Thread-safe.
class Adapters : public broker::AdapterSource
{
public:
    std::vector<broker::Adapter> readAdapters() override { return read(m_adapters, adapterReads); }
    std::vector<broker::Address> readAddresses() override { return read(m_addresses, addressReads); }
    std::vector<broker::IpConfiguration> readIpConfigurations() override
    {
        return read(m_ipConfigurations, ipConfigurationReads);
    }

    std::vector<std::string> readHiddenAdapters() override
    {
        ++hiddenReads;
        return hidden;
    }

    std::optional<broker::Adapter> readAdapter(std::uint64_t luid) override;

    broker::LinkDetails readLinkDetails(const broker::Adapter& /*adapter*/) override
    {
        ++linkReads;
        return link;
    }

    broker::StateChange setAdministrativeState(const broker::Adapter& adapter,
                                               broker::AdministrativeState state) override;

    void set(std::vector<broker::Adapter> adapters) { assign(m_adapters, std::move(adapters)); }
    void set(std::vector<broker::Address> addresses) { assign(m_addresses, std::move(addresses)); }
    void set(std::vector<broker::IpConfiguration> rows) { assign(m_ipConfigurations, std::move(rows)); }

    // If set, each read of adapters calls it first. It may throw. Set it while no other thread reads.
    std::function<void()> onRead;

    // The GUIDs of the adapters whose drivers are hidden.
    std::vector<std::string> hidden;

    // The link details of every adapter.
    broker::LinkDetails link{10'000'000'000, true};

    // The answer of setAdministrativeState, and the arguments of its last call.
    std::atomic<broker::StateChange> stateChange{broker::StateChange::DONE};
    std::vector<std::pair<std::string, broker::AdministrativeState>> stateChanges;

    std::atomic<int> adapterReads{0};
    std::atomic<int> addressReads{0};
    std::atomic<int> ipConfigurationReads{0};
    std::atomic<int> hiddenReads{0};
    std::atomic<int> linkReads{0};

private:
    template <class Rows>
    Rows read(const Rows& rows, std::atomic<int>& reads)
    {
        ++reads;
        if (onRead) {
            onRead();
        }
        const std::lock_guard guard(m_mutex);
        return rows;
    }

    template <class Rows>
    void assign(Rows& rows, Rows newRows)
    {
        const std::lock_guard guard(m_mutex);
        rows = std::move(newRows);
    }

    std::mutex m_mutex;
    std::vector<broker::Adapter> m_adapters;
    std::vector<broker::Address> m_addresses;
    std::vector<broker::IpConfiguration> m_ipConfigurations;
};

// Two clocks that change only when the test moves them.
class Machine : public broker::Machine
{
public:
    std::string computerName() override { return "HOST"; }
    std::string userName() override { return m_user; }
    broker::WallTime now() noexcept override { return broker::WallTime{std::chrono::microseconds{wall}}; }
    broker::SteadyTime steadyNow() noexcept override { return broker::SteadyTime{std::chrono::microseconds{steady}}; }

    // Advances both clocks.
    void pass(std::chrono::microseconds time)
    {
        wall += time.count();
        steady += time.count();
    }

    // Sets the wall clock alone, as an administrator does.
    void setClock(std::chrono::microseconds change) { wall += change.count(); }

    // Call it while no other thread uses the machine.
    void setUser(const std::string& user) { m_user = user; }

    std::atomic<std::int64_t> wall{1'700'000'000'000'000};
    std::atomic<std::int64_t> steady{5'000'000'000};

private:
    std::string m_user = "HOST\\admin";
};

// The stored entries of one machine, which all of its processes share. Thread-safe.
class StoredKeys
{
public:
    using Keys = std::map<std::string, broker::StoredValues>;

    Keys copy()
    {
        const std::lock_guard guard(mutex);
        return keys;
    }

    std::mutex mutex;
    Keys keys;
    // The number of changes of each key.
    std::map<std::string, int> changes;
    // The thread that changes settings holds this mutex.
    std::mutex settings;
};

// The storage as one process sees it. It can let only the job thread write jobs and results, because a client's
// identity lacks that right. Thread-safe.
class Storage : public broker::SettingsStorage
{
public:
    // Creates an empty storage, or one that shares its entries with other processes.
    explicit Storage(std::shared_ptr<StoredKeys> stored = std::make_shared<StoredKeys>()) : m_stored(std::move(stored))
    {
    }

    std::optional<broker::StoredValues> read(const std::string& key) override;
    std::optional<std::vector<std::string>> children(const std::string& key) override;
    bool canWrite(const std::string& /*key*/) override { return isWritable; }
    broker::StoreResult write(const std::string& key, const std::string& name, const std::string& text) override;
    broker::StoreResult erase(const std::string& key) override;
    broker::StoreResult eraseValue(const std::string& key, const std::string& name) override;
    broker::StoreResult lock() override;
    void unlock() noexcept override { m_stored->settings.unlock(); }
    std::unique_ptr<broker::ChangeWatch> watch(const std::string& key) override;

    const std::shared_ptr<StoredKeys>& stored() const noexcept { return m_stored; }

    void set(const std::string& key, const std::string& name, const std::string& text, bool isText = true);

    // Returns "name=text" for each value of the key.
    std::vector<std::string> values(const std::string& key);

    // If set, the next write calls it first, as if another process acted just before.
    std::function<void()> beforeWrite;
    // The number of attempted changes, failed ones included.
    std::atomic<int> changes{0};
    // The range of changes that fail, counted from 1. 0 means that none fails.
    int firstFailing = 0;
    int lastFailing = 0;
    broker::StoreResult failure = broker::StoreResult::FAILED;
    // The process ends after this many changes. Later changes are not stored.
    int lifetime = INT_MAX;
    std::atomic<bool> isWritable{true};
    std::atomic<bool> isReadable{true};
    // The answer of lock(), and the number of its calls.
    std::atomic<broker::StoreResult> lockResult{broker::StoreResult::DONE};
    std::atomic<int> lockRequests{0};
    std::atomic<int> reads{0};

private:
    class Watch;

    // Changes the stored entries unless the call is to be refused. Does nothing after the process's end.
    broker::StoreResult change(const std::string& key, const std::function<void(StoredKeys::Keys&)>& change);

    std::shared_ptr<StoredKeys> m_stored;
};

// The processes of a machine.
class HostTable
{
public:
    std::mutex mutex;
    // Whether the process of that name is alive.
    std::map<std::string, bool> alive;
    // The host that changes the stored entries holds this mutex.
    std::recursive_mutex jobs;
};

// One process of the machine. It is alive from its announcement to its end.
class Hosts : public broker::JobHosts
{
public:
    explicit Hosts(std::shared_ptr<HostTable> table = std::make_shared<HostTable>(), std::string name = "10-1")
        : m_table(std::move(table)), m_name(std::move(name))
    {
        const std::lock_guard guard(m_table->mutex);
        m_table->alive.emplace(m_name, false);
    }
    ~Hosts() override { end(); }
    Hosts(const Hosts&) = delete;
    Hosts& operator=(const Hosts&) = delete;

    std::string own() override { return m_name; }
    bool announce() noexcept override;
    bool isAlive(const std::string& host) override;
    void lock() noexcept override { m_table->jobs.lock(); }
    void unlock() noexcept override { m_table->jobs.unlock(); }

    void end() { setAlive(false); }

    bool canAnnounce = true;

private:
    void setAlive(bool isAlive) noexcept;

    std::shared_ptr<HostTable> m_table;
    std::string m_name;
};

// A job thread that the test runs. It works while a request waits for it, or when the test calls play().
class ManualThread : public broker::JobThread
{
public:
    ManualThread() { limits.reserve(100); }

    bool start(broker::JobWork& jobWork) noexcept override;
    void wake() noexcept override { ++wakes; }
    std::unique_ptr<broker::Signal> makeSignal() override;

    // Does the thread's pending work. Returns how long the thread would wait then.
    std::optional<std::chrono::milliseconds> play();

    bool isRunning() const noexcept { return m_work != nullptr; }

    bool canStart = true;
    // Whether the thread works while a request waits. Otherwise it is busy until play().
    bool worksWhileWaited = true;
    int starts = 0;
    int wakes = 0;
    // The longest waits that were requested. The first hundred take no memory, because a wait must not throw.
    std::vector<std::chrono::milliseconds> limits;

private:
    class Flag;

    broker::JobWork* m_work = nullptr;
};

// A job thread that is a real thread.
class RealThread : public broker::JobThread
{
public:
    ~RealThread() override { join(); }

    // Waits until no work is left. Call this before the objects that the thread uses end.
    void join();

    bool start(broker::JobWork& work) noexcept override;
    void wake() noexcept override;
    std::unique_ptr<broker::Signal> makeSignal() override;

private:
    void run(broker::JobWork& work);

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_isAwake = false;
    std::thread m_thread;
};

// All services that a workspace needs.
class World
{
public:
    broker::Sources sources() { return {adapters, machine, settings, jobs}; }

    // Lets as many seconds pass and the job thread work after each.
    void work(int seconds = 1);

    Adapters adapters;
    Machine machine;
    Storage storage;
    ManualThread thread;
    Hosts hosts;
    broker::SettingsStore settings{storage};
    broker::Jobs jobs{{adapters, machine, storage, thread, hosts}};
};

}  // namespace fakes
