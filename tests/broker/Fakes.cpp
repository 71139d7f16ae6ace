#include "broker/Fakes.h"

#include <algorithm>
#include <future>
#include <utility>

#include "Utils/Utils.h"

namespace fakes {

broker::Adapter adapter(unsigned number)
{
    broker::Adapter result;
    result.guid = utils::format("{%08X-0000-0000-0000-000000000000}", number);
    result.luid = 0x6000000000000ULL + number;
    result.index = number;
    result.name = utils::format("eth%d", number);
    result.description = utils::format("Adapter %d", number);
    result.hardwareAddress = utils::format("02FC%08X", number);
    result.permanentAddress = result.hardwareAddress;
    result.transmitSpeed = 1'000'000'000;
    result.receiveSpeed = 1'000'000'000;
    result.mtu = 1500;
    result.type = 6;
    result.physicalMedium = 14;
    result.isHardware = true;
    result.hasConnector = true;
    result.operational = broker::OperationalState::UP;
    result.media = broker::MediaState::CONNECTED;
    result.counters.bytesReceived = 1000ULL * number;
    result.counters.bytesTransmitted = 10ULL * number;
    return result;
}

broker::Address address(unsigned adapterNumber, const std::string& text, broker::AddressFamily family)
{
    broker::Address result;
    result.adapterGuid = adapter(adapterNumber).guid;
    result.family = family;
    result.text = text;
    result.prefixLength = family == broker::AddressFamily::IPV4 ? 24 : 64;
    result.origin = broker::AddressOrigin::MANUAL;
    return result;
}

broker::IpConfiguration ipConfiguration(unsigned adapterNumber)
{
    broker::IpConfiguration result;
    result.adapterGuid = adapter(adapterNumber).guid;
    result.gateways = {"192.0.2.1", "fe80::1"};
    result.dnsServers = {"192.0.2.53", "2001:db8::53"};
    result.dnsSuffix = "example.org";
    result.isDhcpOn = true;
    result.dhcpServer = "192.0.2.67";
    result.leaseObtained = broker::WallTime{std::chrono::seconds{1'700'000'000}};
    result.leaseExpires = broker::WallTime{std::chrono::seconds{1'700'086'400}};
    result.ipv4 = {25, 1500};
    result.ipv6 = {35, 1280};
    return result;
}

std::optional<broker::Adapter> Adapters::readAdapter(std::uint64_t luid)
{
    const std::vector<broker::Adapter> adapters = readAdapters();
    const auto found = std::find_if(adapters.begin(), adapters.end(),
                                    [luid](const broker::Adapter& candidate) { return candidate.luid == luid; });
    return found == adapters.end() ? std::nullopt : std::make_optional(*found);
}

broker::StateChange Adapters::setAdministrativeState(const broker::Adapter& adapter, broker::AdministrativeState state)
{
    const std::lock_guard guard(m_mutex);
    stateChanges.emplace_back(adapter.guid, state);
    return stateChange;
}

namespace {

thread_local bool isJobThread = false;

// While it lives, the calling thread is a job thread.
class AsJobThread
{
public:
    AsJobThread() noexcept : m_before(std::exchange(isJobThread, true)) {}
    ~AsJobThread() { isJobThread = m_before; }
    AsJobThread(const AsJobThread&) = delete;
    AsJobThread& operator=(const AsJobThread&) = delete;

private:
    bool m_before;
};

bool belongsToJobs(const std::string& key)
{
    return key == "Jobs" || key == "Results";
}

// A signal for real threads.
class RealFlag final : public broker::Signal
{
public:
    void raise() noexcept override { m_raise.set_value(); }

    bool wait(std::chrono::milliseconds limit) noexcept override
    {
        const auto longest = std::chrono::milliseconds{std::chrono::hours{1}};
        return m_isRaised.wait_for(std::min(limit, longest)) == std::future_status::ready;
    }

private:
    std::promise<void> m_raise;
    std::future<void> m_isRaised = m_raise.get_future();
};

}  // namespace

class Storage::Watch final : public broker::ChangeWatch
{
public:
    Watch(std::shared_ptr<StoredKeys> stored, std::string key) : m_stored(std::move(stored)), m_key(std::move(key)) {}

    bool hasChanged() override
    {
        const std::lock_guard guard(m_stored->mutex);
        int now = 0;
        for (const auto& [name, changes] : m_stored->changes) {
            if (name == m_key || name.starts_with(m_key + "\\")) {
                now += changes;
            }
        }
        return std::exchange(m_seen, now) != now;
    }

private:
    std::shared_ptr<StoredKeys> m_stored;
    std::string m_key;
    int m_seen = -1;
};

broker::StoreResult Storage::change(const std::string& key, const std::function<void(StoredKeys::Keys&)>& change)
{
    const int number = ++changes;
    if (number > lifetime) {
        return broker::StoreResult::DONE;
    }
    if (!isWritable || (belongsToJobs(key) && !isJobThread)) {
        return broker::StoreResult::ACCESS_DENIED;
    }
    if (number >= firstFailing && number <= lastFailing) {
        return failure;
    }
    const std::lock_guard guard(m_stored->mutex);
    change(m_stored->keys);
    ++m_stored->changes[key];
    return broker::StoreResult::DONE;
}

std::optional<broker::StoredValues> Storage::read(const std::string& key)
{
    ++reads;
    if (!isReadable) {
        return std::nullopt;
    }
    const std::lock_guard guard(m_stored->mutex);
    const auto found = m_stored->keys.find(key);
    return found == m_stored->keys.end() ? broker::StoredValues() : found->second;
}

std::optional<std::vector<std::string>> Storage::children(const std::string& key)
{
    if (!isReadable) {
        return std::nullopt;
    }
    std::vector<std::string> result;
    const std::string prefix = key + "\\";
    for (const auto& [name, values] : m_stored->copy()) {
        if (name.starts_with(prefix)) {
            result.push_back(name.substr(prefix.size()));
        }
    }
    return result;
}

broker::StoreResult Storage::write(const std::string& key, const std::string& name, const std::string& text)
{
    if (beforeWrite) {
        std::exchange(beforeWrite, nullptr)();
    }
    return change(key, [&](StoredKeys::Keys& keys) { keys[key][name] = {true, text}; });
}

broker::StoreResult Storage::erase(const std::string& key)
{
    return change(key, [&](StoredKeys::Keys& keys) { keys.erase(key); });
}

broker::StoreResult Storage::eraseValue(const std::string& key, const std::string& name)
{
    return change(key, [&](StoredKeys::Keys& keys) { keys[key].erase(name); });
}

broker::StoreResult Storage::lock()
{
    ++lockRequests;
    if (lockResult == broker::StoreResult::DONE) {
        m_stored->settings.lock();
    }
    return lockResult;
}

std::unique_ptr<broker::ChangeWatch> Storage::watch(const std::string& key)
{
    return std::make_unique<Watch>(m_stored, key);
}

void Storage::set(const std::string& key, const std::string& name, const std::string& text, bool isText)
{
    const std::lock_guard guard(m_stored->mutex);
    m_stored->keys[key][name] = {isText, text};
    ++m_stored->changes[key];
}

std::vector<std::string> Storage::values(const std::string& key)
{
    std::vector<std::string> result;
    StoredKeys::Keys keys = m_stored->copy();
    for (const auto& [name, value] : keys[key]) {
        result.push_back(name + "=" + value.text);
    }
    return result;
}

bool Hosts::announce() noexcept
{
    if (canAnnounce) {
        setAlive(true);
    }
    return canAnnounce;
}

bool Hosts::isAlive(const std::string& host)
{
    const std::lock_guard guard(m_table->mutex);
    const auto found = m_table->alive.find(host);
    return found != m_table->alive.end() && found->second;
}

void Hosts::setAlive(bool isAlive) noexcept
{
    const std::lock_guard guard(m_table->mutex);
    m_table->alive.find(m_name)->second = isAlive;
}

class ManualThread::Flag final : public broker::Signal
{
public:
    explicit Flag(ManualThread& thread) : m_thread(thread) {}

    void raise() noexcept override { m_isRaised = true; }

    bool wait(std::chrono::milliseconds limit) noexcept override
    {
        m_thread.limits.push_back(limit);
        if (!m_isRaised && (m_thread.worksWhileWaited || limit == std::chrono::milliseconds::max())) {
            m_thread.play();
        }
        return m_isRaised;
    }

private:
    ManualThread& m_thread;
    bool m_isRaised = false;
};

bool ManualThread::start(broker::JobWork& jobWork) noexcept
{
    ++starts;
    if (canStart) {
        m_work = &jobWork;
    }
    return canStart;
}

std::unique_ptr<broker::Signal> ManualThread::makeSignal()
{
    return std::make_unique<Flag>(*this);
}

std::optional<std::chrono::milliseconds> ManualThread::play()
{
    if (m_work == nullptr) {
        return std::nullopt;
    }
    const AsJobThread as;
    const auto pause = m_work->work();
    if (!pause) {
        m_work = nullptr;
    }
    return pause;
}

void RealThread::join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool RealThread::start(broker::JobWork& work) noexcept
{
    const std::lock_guard guard(m_mutex);
    // The broker starts a thread only when the previous one has no work left, so the previous one takes no lock now.
    join();
    m_thread = std::thread([this, &work] { run(work); });
    return true;
}

void RealThread::wake() noexcept
{
    const std::lock_guard guard(m_mutex);
    m_isAwake = true;
    m_wakeUp.notify_all();
}

std::unique_ptr<broker::Signal> RealThread::makeSignal()
{
    return std::make_unique<RealFlag>();
}

void RealThread::run(broker::JobWork& work)
{
    const AsJobThread as;
    while (const auto pause = work.work()) {
        std::unique_lock lock(m_mutex);
        m_wakeUp.wait_for(lock, *pause, [this] { return m_isAwake; });
        m_isAwake = false;
    }
}

void World::work(int seconds)
{
    for (int second = 0; second < seconds; ++second) {
        machine.pass(std::chrono::seconds{1});
        thread.play();
    }
}

}  // namespace fakes
