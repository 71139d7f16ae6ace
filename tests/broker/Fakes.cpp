#include "broker/Fakes.h"

#include <algorithm>
#include <chrono>

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
    result.leaseObtained = 1'700'000'000'000'000;
    result.leaseExpires = 1'700'086'400'000'000;
    result.ipv4 = {25, 1500};
    result.ipv6 = {35, 1280};
    return result;
}

std::optional<broker::Adapter> Adapters::readAdapter(std::uint64_t luid)
{
    const std::lock_guard guard(m_mutex);
    const auto found = std::find_if(m_adapters.begin(), m_adapters.end(),
                                    [luid](const broker::Adapter& candidate) { return candidate.luid == luid; });
    return found == m_adapters.end() ? std::nullopt : std::make_optional(*found);
}

broker::StateChange Adapters::setAdministrativeState(const broker::Adapter& adapter, broker::AdministrativeState state)
{
    const std::lock_guard guard(m_mutex);
    stateChanges.emplace_back(adapter.guid, state);
    return stateChange;
}

std::map<std::string, broker::StoredValue> Storage::read(const std::string& key)
{
    const std::lock_guard guard(m_mutex);
    const auto found = m_keys.find(key);
    return found == m_keys.end() ? std::map<std::string, broker::StoredValue>() : found->second;
}

std::vector<std::string> Storage::children(const std::string& key)
{
    const std::lock_guard guard(m_mutex);
    std::vector<std::string> result;
    const std::string prefix = key + "\\";
    for (const auto& [name, values] : m_keys) {
        if (name.rfind(prefix, 0) == 0) {
            result.push_back(name.substr(prefix.size()));
        }
    }
    return result;
}

bool Storage::canWrite(const std::string& /*key*/)
{
    return isWritable;
}

broker::StoreResult Storage::write(const std::string& key, const std::string& name, const std::string& text)
{
    const std::lock_guard guard(m_mutex);
    ++writes;
    if (name == failingName) {
        return failure;
    }
    m_keys[key][name] = {true, text};
    return broker::StoreResult::DONE;
}

broker::StoreResult Storage::erase(const std::string& key)
{
    const std::lock_guard guard(m_mutex);
    if (eraseResult == broker::StoreResult::DONE) {
        m_keys.erase(key);
    }
    return eraseResult;
}

void Storage::set(const std::string& key, const std::string& name, const std::string& text, bool isText)
{
    const std::lock_guard guard(m_mutex);
    m_keys[key][name] = {isText, text};
}

std::vector<std::string> Storage::values(const std::string& key)
{
    std::vector<std::string> result;
    for (const auto& [name, value] : read(key)) {
        result.push_back(name + "=" + value.text);
    }
    return result;
}

void RealThread::join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool RealThread::start(broker::JobWork& work)
{
    const std::lock_guard guard(m_mutex);
    // The thread before has nothing left to do, or none would be started: it takes no lock any more.
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

void RealThread::run(broker::JobWork& work)
{
    while (const auto pause = work.work()) {
        std::unique_lock lock(m_mutex);
        m_wakeUp.wait_for(lock, std::chrono::milliseconds(*pause), [this] { return m_isAwake; });
        m_isAwake = false;
    }
}

}  // namespace fakes
