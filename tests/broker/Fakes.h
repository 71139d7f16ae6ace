#pragma once

#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
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

// An adapter of type Ethernet that is up, with a GUID, a hardware address and counters made from the number.
broker::Adapter adapter(unsigned number);

// An address of the adapter.
broker::Address address(unsigned adapterNumber, const std::string& text,
                        broker::AddressFamily family = broker::AddressFamily::IPV4);

// A configuration of the adapter with all that there is.
broker::IpConfiguration ipConfiguration(unsigned adapterNumber);

// Adapters as the test sets them. Any thread.
class Adapters : public broker::AdapterSource
{
public:
    std::vector<broker::Adapter> readAdapters() override
    {
        ++adapterReads;
        const std::lock_guard guard(m_mutex);
        return m_adapters;
    }

    std::vector<broker::Address> readAddresses() override
    {
        ++addressReads;
        const std::lock_guard guard(m_mutex);
        return m_addresses;
    }

    std::vector<broker::IpConfiguration> readIpConfigurations() override
    {
        ++ipConfigurationReads;
        const std::lock_guard guard(m_mutex);
        return m_ipConfigurations;
    }

    std::optional<broker::Adapter> readAdapter(std::uint64_t luid) override;

    broker::LinkDetails readLinkDetails(const broker::Adapter& /*adapter*/) override
    {
        ++linkReads;
        return link;
    }

    broker::StateChange setAdministrativeState(const broker::Adapter& adapter,
                                               broker::AdministrativeState state) override;

    void set(std::vector<broker::Adapter> adapters)
    {
        const std::lock_guard guard(m_mutex);
        m_adapters = std::move(adapters);
    }

    void set(std::vector<broker::Address> addresses)
    {
        const std::lock_guard guard(m_mutex);
        m_addresses = std::move(addresses);
    }

    void set(std::vector<broker::IpConfiguration> configurations)
    {
        const std::lock_guard guard(m_mutex);
        m_ipConfigurations = std::move(configurations);
    }

    // Of every adapter.
    broker::LinkDetails link{10'000'000'000, true};

    // What setAdministrativeState answers, and what it was asked for.
    std::atomic<broker::StateChange> stateChange{broker::StateChange::DONE};
    std::vector<std::pair<std::string, broker::AdministrativeState>> stateChanges;

    std::atomic<int> adapterReads{0};
    std::atomic<int> addressReads{0};
    std::atomic<int> ipConfigurationReads{0};
    std::atomic<int> linkReads{0};

private:
    std::mutex m_mutex;
    std::vector<broker::Adapter> m_adapters;
    std::vector<broker::Address> m_addresses;
    std::vector<broker::IpConfiguration> m_ipConfigurations;
};

// Two clocks that stand still until the test moves them.
class Machine : public broker::Machine
{
public:
    std::string computerName() override { return "HOST"; }
    std::string userName() override
    {
        const std::lock_guard guard(m_mutex);
        return m_user;
    }
    broker::WallTime now() noexcept override { return broker::WallTime{std::chrono::microseconds{wall}}; }
    broker::SteadyTime steadyNow() noexcept override { return broker::SteadyTime{std::chrono::microseconds{steady}}; }

    // Time goes by.
    void pass(std::chrono::microseconds time)
    {
        wall += time.count();
        steady += time.count();
    }

    // Somebody sets the clock.
    void setClock(std::chrono::microseconds change) { wall += change.count(); }

    void setUser(const std::string& user)
    {
        const std::lock_guard guard(m_mutex);
        m_user = user;
    }

    std::atomic<std::int64_t> wall{1'700'000'000'000'000};
    std::atomic<std::int64_t> steady{5'000'000'000};

private:
    std::mutex m_mutex;
    std::string m_user = "HOST\\admin";
};

// What one machine has stored, for all of its processes. Any thread.
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
    // How often each key was changed.
    std::map<std::string, int> changes;
    // Held by who changes settings.
    std::mutex settings;
};

// The storage as one process sees it. Jobs and results may be written by the job thread alone: a client's identity has
// no right to. Any thread.
class Storage : public broker::SettingsStorage
{
public:
    // A storage that is empty, or one that other processes use too.
    explicit Storage(std::shared_ptr<StoredKeys> stored = std::make_shared<StoredKeys>()) : m_stored(std::move(stored))
    {
    }

    std::optional<broker::StoredValues> read(const std::string& key) override;
    std::optional<std::vector<std::string>> children(const std::string& key) override;
    bool canWrite(const std::string& key) override;
    broker::StoreResult write(const std::string& key, const std::string& name, const std::string& text) override;
    broker::StoreResult erase(const std::string& key) override;
    broker::StoreResult eraseValue(const std::string& key, const std::string& name) override;
    broker::StoreResult lock() override;
    void unlock() noexcept override;
    std::unique_ptr<broker::ChangeWatch> watch(const std::string& key) override;

    const std::shared_ptr<StoredKeys>& stored() const noexcept { return m_stored; }

    void set(const std::string& key, const std::string& name, const std::string& text, bool isText = true);

    // "name=text" of each value of the key.
    std::vector<std::string> values(const std::string& key);

    // How many changes were asked for, those that failed included.
    std::atomic<int> changes{0};
    // Changes from this one to the last one fail; 0 is none.
    int firstFailing = 0;
    int lastFailing = 0;
    broker::StoreResult failure = broker::StoreResult::FAILED;
    // The process ends before the change after these; what it does then reaches nobody.
    int lifetime = INT_MAX;
    std::atomic<bool> isWritable{true};
    std::atomic<bool> isReadable{true};
    // What lock() answers, and how often it was asked.
    std::atomic<broker::StoreResult> lockResult{broker::StoreResult::DONE};
    std::atomic<int> lockRequests{0};
    std::atomic<int> reads{0};

private:
    class Watch;

    // What is to be answered at once, if anything.
    std::optional<broker::StoreResult> refusal(const std::string& key);

    std::shared_ptr<StoredKeys> m_stored;
};

// While it lives, the calling thread is a job thread.
class AsJobThread
{
public:
    AsJobThread() noexcept;
    ~AsJobThread();
    AsJobThread(const AsJobThread&) = delete;
    AsJobThread& operator=(const AsJobThread&) = delete;

private:
    bool m_before;
};

// The processes of a machine.
class HostTable
{
public:
    std::mutex mutex;
    std::set<std::string> alive;
    // Held by the host that changes what is stored.
    std::recursive_mutex jobs;
};

// One of them, alive from its announcement to its end.
class Hosts : public broker::JobHosts
{
public:
    explicit Hosts(std::shared_ptr<HostTable> table = std::make_shared<HostTable>(), std::string name = "10-1")
        : m_table(std::move(table)), m_name(std::move(name))
    {
    }
    ~Hosts() override { end(); }
    Hosts(const Hosts&) = delete;
    Hosts& operator=(const Hosts&) = delete;

    std::string own() override { return m_name; }
    bool announce() noexcept override;
    bool isAlive(const std::string& host) override;
    void lock() noexcept override;
    void unlock() noexcept override;

    void end();

    bool canAnnounce = true;

private:
    std::shared_ptr<HostTable> m_table;
    std::string m_name;
};

// A thread that the test plays: while a request waits for it, or when the test says so.
class ManualThread : public broker::JobThread
{
public:
    bool start(broker::JobWork& jobWork) noexcept override;
    void wake() noexcept override { ++wakes; }
    std::unique_ptr<broker::Signal> makeSignal() override;

    // What the thread would do now; how long it would wait then.
    std::optional<std::chrono::milliseconds> play();

    bool isRunning() const noexcept { return m_work != nullptr; }

    bool canStart = true;
    // Whether the thread works while somebody waits; otherwise it is busy elsewhere until play().
    bool worksWhileWaited = true;
    int starts = 0;
    int wakes = 0;
    // How long the waits were at most.
    std::vector<std::chrono::milliseconds> limits;

private:
    class Flag;

    broker::JobWork* m_work = nullptr;
};

// A real thread.
class RealThread : public broker::JobThread
{
public:
    ~RealThread() override { join(); }

    // Waits until nothing is left to do. Call before what the thread works on ends.
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

// Everything that a workspace stands on.
class World
{
public:
    broker::Sources sources() { return {adapters, machine, settings, jobs}; }

    Adapters adapters;
    Machine machine;
    Storage storage;
    ManualThread thread;
    Hosts hosts;
    broker::SettingsStore settings{storage};
    broker::Jobs jobs{{adapters, machine, storage, thread, hosts}};
};

}  // namespace fakes
