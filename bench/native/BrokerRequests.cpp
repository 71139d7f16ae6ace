#include <atomic>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/native/Counted.h"
#include "broker/BrokerWorld.h"
#include "broker/JobRequests.h"
#include "support/LockCount.h"

// broker_requests REQUEST ELEMENTS [changed|first|threads=N]: makes one request of the broker, for a program that
// counts instructions. Makes it first to warm up and then once in `counted`, and prints the lock pairs of the latter.
//
// "changed": another process has changed a job in between. "first": another class was requested in between, so that the
// instances are made again. "threads=N": N other threads keep instances of the same class.
namespace {

using fakes::JobRequests;

std::size_t readAll(core::CimInstance& instance)
{
    std::size_t count = 0;
    auto properties = instance.propertyIterator();
    while (properties.next() != nullptr) {
        ++count;
    }
    return count;
}

std::size_t readAll(core::CimBroker& broker, const char* className)
{
    std::size_t count = 0;
    auto found = broker.getInstances(className);
    auto iterator = found.getIterator();
    while (core::CimInstance* instance = iterator.next()) {
        count += readAll(*instance);
    }
    return count;
}

// A broker of this many adapters, each with one address.
class AdapterRequests : fakes::BrokerWorld
{
public:
    explicit AdapterRequests(std::size_t adapters)
    {
        std::vector<broker::Adapter> all;
        std::vector<broker::Address> addresses;
        for (unsigned i = 1; i <= adapters; ++i) {
            all.push_back(fakes::adapter(i));
            addresses.push_back(fakes::address(i, "192.0.2." + std::to_string(i)));
        }
        m_adapters.set(std::move(all));
        m_adapters.set(std::move(addresses));
    }

    std::size_t list(const char* className) { return readAll(m_broker, className); }

    // Reads the last port. Its path is rendered once, before anything is counted.
    std::size_t getPort()
    {
        if (!m_port) {
            auto ports = m_broker.getInstances("Zerix_EthernetPort");
            auto iterator = ports.getIterator();
            while (core::CimInstance* port = iterator.next()) {
                m_port.emplace(port->toPathString());
            }
        }
        return readAll(*m_broker.getInstanceByPath(*m_port));
    }

private:
    std::optional<core::CimPath> m_port;
};

// The class that is listed; null for a get of a port.
const std::map<std::string_view, const char*> CLASSES{{"port", nullptr},
                                                      {"ports", "Zerix_EthernetPort"},
                                                      {"endpoints", "Zerix_IPProtocolEndpoint"},
                                                      {"statistics", "Zerix_EthernetPortStatistics"},
                                                      {"associations", "Zerix_PortImplementsEndpoint"}};
const std::map<std::string_view, std::size_t (JobRequests::*)()> jobRequests{
    {"jobs", &JobRequests::listJobs}, {"results", &JobRequests::listResults}, {"get", &JobRequests::getJob}};

int count(const std::function<std::size_t()>& request)
{
    std::size_t values = 0;
    const std::uint32_t pairs = support::locksTakenBy([&] { counted([&] { values = request(); }); });
    std::printf("%u lock pairs\n", pairs);
    return values == 0 ? 1 : 0;
}

// Threads that have made the request and stay alive.
class OtherThreads
{
public:
    OtherThreads(std::size_t count, const std::function<std::size_t()>& request)
    {
        for (std::size_t i = 0; i < count; ++i) {
            m_threads.emplace_back([this, &request] {
                request();
                ++m_ready;
                m_mayEnd.wait(false);
            });
        }
        while (m_ready != count) {
            std::this_thread::yield();
        }
    }
    OtherThreads(const OtherThreads&) = delete;
    OtherThreads& operator=(const OtherThreads&) = delete;
    ~OtherThreads()
    {
        m_mayEnd = true;
        m_mayEnd.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

private:
    std::atomic<std::size_t> m_ready{0};
    std::atomic<bool> m_mayEnd{false};
    std::vector<std::thread> m_threads;
};

int countJobs(std::size_t (JobRequests::*request)(), std::size_t jobs, std::string_view mode)
{
    JobRequests broker(jobs);
    (broker.*request)();
    if (mode == "changed") {
        broker.changeOne();
    }
    return count([&] { return (broker.*request)(); });
}

int countAdapters(const char* className, std::size_t adapters, std::string_view mode)
{
    constexpr std::string_view THREADS = "threads=";
    AdapterRequests broker(adapters);
    const std::function<std::size_t()> request = [&] {
        return className == nullptr ? broker.getPort() : broker.list(className);
    };
    const std::size_t others = mode.starts_with(THREADS) ? std::stoul(std::string(mode.substr(THREADS.size()))) : 0;
    const OtherThreads threads(others, request);
    request();
    if (mode == "first") {
        broker.list("Zerix_SoftwareIdentity");
    }
    return count(request);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc >= 3) {
        const std::size_t elements = std::stoul(argv[2]);
        const std::string_view mode = argc > 3 ? argv[3] : "";
        if (const auto found = CLASSES.find(argv[1]); found != CLASSES.end()) {
            return countAdapters(found->second, elements, mode);
        }
        if (const auto found = jobRequests.find(argv[1]); found != jobRequests.end()) {
            return countJobs(found->second, elements, mode);
        }
    }
    std::fprintf(stderr, "usage: broker_requests REQUEST ELEMENTS [changed|first|threads=N]\n");
    return 2;
}
