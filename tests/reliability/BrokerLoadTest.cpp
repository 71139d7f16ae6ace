#include <gmock/gmock.h>

#include <atomic>
#include <exception>
#include <optional>

#include "Utils/Exception.h"
#include "broker/Fakes.h"
#include "broker/ObjectBroker.h"
#include "broker/Properties.h"
#include "core/MethodErrors.h"
#include "reliability/Clients.h"
#include "reliability/RunTime.h"
#include "support/LogCapture.h"

// The load test's requests, natively: eight clients share one broker and a thread that runs real jobs, while adapters'
// data changes, settings are written and debug lines are logged. ThreadSanitizer would report data that the threads
// share without a lock.
namespace {

using reliability::Work;

constexpr unsigned PORTS = 3;
constexpr const char* SETTING_PATH = "Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"";

// Reads every value of an instance, as a request does.
std::string read(core::CimInstance& instance)
{
    return instance.getClassName() + instance.toPathString() + testing::PrintToString(support::values(instance));
}

class BrokerLoadTest : public testing::Test
{
protected:
    BrokerLoadTest()
    {
        m_storage.set("Diagnostics", "Setting", "SampleCount=2;SamplePeriodMilliseconds=10");
        m_adapters.set(std::vector{fakes::address(1, "192.0.2.1"), fakes::address(2, "192.0.2.2")});
        changeAdapters();
        m_broker.emplace(broker::Platform{m_adapters, m_machine, m_storage, m_thread, m_hosts});
    }

    // The jobs must end before their broker.
    ~BrokerLoadTest() override
    {
        auto jobs = m_broker->getInstances("Zerix_ConcreteJob");
        auto iterator = jobs.getIterator();
        while (core::CimInstance* job = iterator.next()) {
            job->markForDeletion(true);
        }
        m_broker->getInstances("Zerix_ConcreteJob");
        m_thread.join();
    }
    BrokerLoadTest(const BrokerLoadTest&) = delete;
    BrokerLoadTest& operator=(const BrokerLoadTest&) = delete;

    // Time passes, and frames arrive.
    void changeAdapters()
    {
        m_machine.pass(std::chrono::milliseconds{10});
        const unsigned turn = ++m_turn;
        std::vector<broker::Adapter> adapters;
        for (unsigned number = 1; number <= PORTS; ++number) {
            adapters.push_back(fakes::adapter(number));
            adapters.back().counters.bytesReceived += turn;
            adapters.back().operational = turn % 2 == 0 ? broker::OperationalState::UP : broker::OperationalState::DOWN;
        }
        m_adapters.set(std::move(adapters));
        if (turn % 100 == 0) {
            m_log.clear();
        }
    }

    // The machine changes before every request. Any exception is a complaint.
    Work work(const char* name, std::function<std::string()> request)
    {
        return {name, [this, request = std::move(request)]() -> std::string {
                    try {
                        changeAdapters();
                        return request();
                    } catch (const std::exception& exception) {
                        return std::string("threw ") + exception.what();
                    }
                }};
    }

    Work listing(const char* name, const char* className, std::optional<std::size_t> expected)
    {
        return work(name, [this, className, expected]() -> std::string {
            auto found = m_broker->getInstances(className);
            auto iterator = found.getIterator();
            while (core::CimInstance* instance = iterator.next()) {
                if (instance->getClassName() != className || read(*instance).empty()) {
                    return "an object of another class";
                }
            }
            return found.size() == expected.value_or(found.size()) ? "" : std::to_string(found.size()) + " objects";
        });
    }

    Work getting(const char* name, const std::string& text, bool isThere)
    {
        return work(name, [this, text, isThere]() -> std::string {
            core::CimPath path(text);
            core::CimInstance* const found = m_broker->getInstanceByPath(path);
            if (found != nullptr && found->toPathString() != text) {
                return "another instance";
            }
            return (found != nullptr) == isThere ? "" : "found, or not, as it should not be";
        });
    }

    std::uint32_t invoke(const std::string& text, const char* method, core::CimInstance*& job)
    {
        core::CimPath path(text);
        core::CimPropertyList in;
        core::CimPropertyList out;
        return m_broker->invokeMethod(path, method, in, out, job);
    }

    std::string changeSetting()
    {
        core::CimPath path(SETTING_PATH);
        core::CimPropertyList values;
        core::CimPropertyUint16 period("SamplePeriodMilliseconds");
        period.setValue(static_cast<std::uint16_t>(10 + m_turn % 5));
        values.add(&period);
        m_broker->modifyInstance(path, values);
        return "";
    }

    std::string restoreDefaults()
    {
        core::CimInstance* job = nullptr;
        return invoke(SETTING_PATH, "RestoreDefaults", job) == 0 ? "" : "another return value";
    }

    std::string callUnknownMethod()
    {
        core::CimInstance* job = nullptr;
        try {
            invoke(SETTING_PATH, "Explode", job);
        } catch (const wa::EMethodNotSupported&) {
            return "";
        }
        return "no exception";
    }

    std::string startJob(const std::string& port)
    {
        // Stays null if another client deletes the job at once.
        core::CimInstance* job = nullptr;
        // 6 is the answer while another client's job runs on the port.
        const std::uint32_t answer = invoke(port, "RunLinkDiagnostic", job);
        if (answer != 4096 && answer != 6) {
            return "no job";
        }
        return job != nullptr && read(*job).empty() ? "nothing to read" : "";
    }

    core::CimInstance* firstJob()
    {
        auto jobs = m_broker->getInstances("Zerix_ConcreteJob");
        return jobs.getIterator().next();
    }

    std::string deleteJob()
    {
        if (core::CimInstance* const job = firstJob()) {
            job->markForDeletion(true);
        }
        return "";
    }

    // A job that another client has deleted is not found, and an ended job cannot be ended again.
    std::string endJob()
    {
        core::CimInstance* const job = firstJob();
        if (job == nullptr) {
            return "";
        }
        core::CimPath path(job->toPathString());
        core::CimPropertyList in;
        core::CimPropertyList out;
        core::CimPropertyUint16 state("RequestedState");
        state.setValue(4);
        in.add(&state);
        core::CimInstance* none = nullptr;
        try {
            m_broker->invokeMethod(path, "RequestStateChange", in, out, none);
        } catch (const utils::ENotFound&) {
            return "";
        }
        return none == nullptr ? "" : "a job for the end of a job";
    }

    support::LogCapture m_log{2};
    fakes::Adapters m_adapters;
    fakes::Machine m_machine;
    fakes::Storage m_storage;
    fakes::RealThread m_thread;
    fakes::Hosts m_hosts;
    std::atomic<unsigned> m_turn{0};
    std::optional<broker::ObjectBroker> m_broker;
};

TEST_F(BrokerLoadTest, EightClients_getTheirAnswers)
{
    std::string port;
    {
        auto ports = m_broker->getInstances("Zerix_EthernetPort");
        port = ports.getIterator().next()->toPathString();
    }
    const std::vector<Work> works{
        listing("list ports", "Zerix_EthernetPort", PORTS),
        listing("list statistics", "Zerix_EthernetPortStatistics", PORTS),
        listing("list endpoints", "Zerix_IPProtocolEndpoint", 2),
        listing("list identities", "Zerix_SoftwareIdentity", std::nullopt),
        listing("list adapter settings", "Zerix_AdapterSetting", PORTS),
        listing("list connections", "Zerix_PortImplementsEndpoint", 2),
        listing("list jobs", "Zerix_ConcreteJob", std::nullopt),
        listing("list results", "Zerix_DiagnosticResult", std::nullopt),
        getting("get a port", port, true),
        getting("get a setting", SETTING_PATH, true),
        getting("get nothing", "Zerix_EthernetPort.DeviceID=\"none\"", false),
        work("change a setting", [this] { return changeSetting(); }),
        work("restore the defaults", [this] { return restoreDefaults(); }),
        work("call an unknown method", [this] { return callUnknownMethod(); }),
        work("start a job", [this, port] { return startJob(port); }),
        work("delete a job", [this] { return deleteJob(); }),
        work("end a job", [this] { return endJob(); }),
    };
    reliability::judge(works, reliability::runClients(works, reliability::runTime()),
                       std::string(ZERIX_TABLES) + "/broker-load.md");
}

}  // namespace
