#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "broker/model/Workspace.h"
#include "broker/platform/AdapterSource.h"
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

    // What setAdministrativeState answers, and what it was asked for.
    std::atomic<broker::StateChange> stateChange{broker::StateChange::DONE};
    std::vector<std::pair<std::string, broker::AdministrativeState>> stateChanges;

    std::atomic<int> adapterReads{0};
    std::atomic<int> addressReads{0};
    std::atomic<int> ipConfigurationReads{0};

private:
    std::mutex m_mutex;
    std::vector<broker::Adapter> m_adapters;
    std::vector<broker::Address> m_addresses;
    std::vector<broker::IpConfiguration> m_ipConfigurations;
};

class Machine : public broker::Machine
{
public:
    std::string computerName() override { return "HOST"; }
    std::string userName() override { return user; }
    std::uint64_t now() override { return time; }

    // Set before threads ask.
    std::string user = "admin";
    std::atomic<std::uint64_t> time{1'700'000'000'000'000};
};

// Settings in memory. Any thread.
class Storage : public broker::SettingsStorage
{
public:
    std::map<std::string, broker::StoredValue> read(const std::string& key) override;
    std::vector<std::string> children(const std::string& key) override;
    bool canWrite(const std::string& key) override;
    broker::StoreResult write(const std::string& key, const std::string& name, const std::string& text) override;
    broker::StoreResult erase(const std::string& key) override;

    void set(const std::string& key, const std::string& name, const std::string& text, bool isText = true);

    // "name=text" of each value of the key.
    std::vector<std::string> values(const std::string& key);

    // What a write of the value of this name answers; others succeed.
    std::string failingName;
    broker::StoreResult failure = broker::StoreResult::FAILED;
    broker::StoreResult eraseResult = broker::StoreResult::DONE;
    int writes = 0;
    bool isWritable = true;

private:
    std::mutex m_mutex;
    std::map<std::string, std::map<std::string, broker::StoredValue>> m_keys;
};

// A thread that the test plays: it runs when the test says so.
class ManualThread : public broker::JobThread
{
public:
    bool start(broker::JobWork& jobWork) override
    {
        ++starts;
        work = &jobWork;
        return canStart;
    }

    void wake() noexcept override { ++wakes; }

    broker::JobWork* work = nullptr;
    bool canStart = true;
    int starts = 0;
    int wakes = 0;
};

// A real thread.
class RealThread : public broker::JobThread
{
public:
    ~RealThread() override { join(); }

    // Waits until nothing is left to do. Call before what the thread works on ends.
    void join();

    bool start(broker::JobWork& work) override;
    void wake() noexcept override;

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
    broker::SettingsStore settings{storage};
    broker::JobTable jobs{adapters, machine, thread, storage};
};

}  // namespace fakes
