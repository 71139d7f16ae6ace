#include "broker/ObjectBroker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>

#include "Utils/Exception.h"
#include "broker/BrokerWorld.h"
#include "broker/JobRequests.h"
#include "broker/Properties.h"
#include "core/MethodErrors.h"
#include "core/PropertyVisit.h"
#include "support/LockCount.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FailingAdapters : public fakes::Adapters
{
public:
    std::vector<broker::Adapter> readAdapters() override
    {
        return isFailing ? throw utils::EFailed("out of order") : fakes::Adapters::readAdapters();
    }

    bool isFailing = true;
};

class BrokenAdapters : public fakes::Adapters
{
public:
    std::vector<broker::Adapter> readAdapters() override { throw std::runtime_error("out of order"); }
};

class AssertingAdapters : public fakes::Adapters
{
public:
    std::vector<broker::Adapter> readAdapters() override { throw utils::Exception(std::string("Assertion failed")); }
};

using Copy = std::unique_ptr<core::CimProperty>;

template <class Property, class Value>
Copy copyOf(const Property& property, const Value& value)
{
    auto copy = std::make_unique<Property>(property.getName().c_str());
    if (!property.isNull()) {
        copy->setValue(value);
    }
    return copy;
}

// The values as a client that changes nothing sends them back: references as paths with host and namespace, datetimes
// in whole seconds.
Copy copyAsAClientSeesIt(const core::CimProperty& property)
{
    return core::visit(property,
                       core::Visitor{[](const core::CimPropertyDatetime& datetime) -> Copy {
                                         utils::Time time = datetime.getValue();
                                         time.value -= time.value % 1'000'000;
                                         return copyOf(datetime, time);
                                     },
                                     [](const core::CimPropertyRef& reference) -> Copy {
                                         return copyOf(reference, R"(\\HOST\root\DCIM\vexal:)" + reference.toString());
                                     },
                                     [](const auto& typed) -> Copy { return copyOf(typed, typed.getValue()); },
                                     [](const core::CimProperty& /*unknown*/) -> Copy { return nullptr; }});
}

class ObjectBroker : public testing::Test, protected fakes::BrokerWorld
{
protected:
    ObjectBroker() { m_adapters.set({fakes::adapter(1), fakes::adapter(2)}); }

    // Starts a diagnostic of the first port through the broker.
    core::CimInstance* startJob()
    {
        auto ports = m_broker.getInstances("Zerix_EthernetPort");
        core::CimPath path(ports.getIterator().next()->toPathString());
        core::CimPropertyList in;
        core::CimPropertyList out;
        core::CimInstance* job = nullptr;
        EXPECT_EQ(m_broker.invokeMethod(path, "RunLinkDiagnostic", in, out, job), 4096U);
        return job;
    }

    // The number of samples in the default settings.
    void takeAllSamples()
    {
        for (int i = 0; i < 10; ++i) {
            m_machine.pass(std::chrono::seconds{1});
            m_thread.play();
        }
    }
};

TEST_F(ObjectBroker, List_hasTheInstancesOfTheClass)
{
    auto ports = m_broker.getInstances("zerix_ethernetport");
    EXPECT_EQ(ports.size(), 2U);
    auto iterator = ports.getIterator();
    while (core::CimInstance* port = iterator.next()) {
        EXPECT_EQ(port->getClassName(), "Zerix_EthernetPort");
    }
}

TEST_F(ObjectBroker, UnknownClass_isAnEmptyList)
{
    EXPECT_EQ(m_broker.getInstances("Zerix_Nothing").size(), 0U);
    EXPECT_EQ(m_broker.getInstances("").size(), 0U);
}

TEST_F(ObjectBroker, UnreadableMachine_isAFailure)
{
    FailingAdapters failing;
    broker::ObjectBroker broker({failing, m_machine, m_storage, m_thread, m_hosts});
    core::CimPath port("Zerix_EthernetPort.DeviceID=\"a\"");
    core::CimPropertyList none;
    core::CimInstance* job = nullptr;
    for (const char* className : {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_AdapterSetting",
                                  "Zerix_PortImplementsEndpoint", "Zerix_ElementSettingData"})
    {
        EXPECT_THROW(broker.getInstances(className), utils::EFailed) << className;
    }
    EXPECT_THROW(broker.findInstance(port), utils::EFailed);
    EXPECT_THROW(broker.modifyInstance(port, none), utils::EFailed);
    EXPECT_THROW(broker.invokeMethod(port, "RunLinkDiagnostic", none, none, job), utils::EFailed);
}

TEST_F(ObjectBroker, UnreadableMachine_leavesOtherClasses)
{
    FailingAdapters failing;
    broker::ObjectBroker broker({failing, m_machine, m_storage, m_thread, m_hosts});
    for (const char* className : {"Zerix_RegisteredProfile", "Zerix_SoftwareIdentity", "Zerix_DiagnosticSetting"}) {
        EXPECT_EQ(broker.getInstances(className).size(), 1U) << className;
    }
    EXPECT_EQ(broker.getInstances("Zerix_ConcreteJob").size(), 0U);
}

TEST_F(ObjectBroker, MachineReadableAgain_isServed)
{
    FailingAdapters failing;
    broker::ObjectBroker broker({failing, m_machine, m_storage, m_thread, m_hosts});
    EXPECT_THROW(broker.getInstances("Zerix_EthernetPort"), utils::EFailed);
    failing.isFailing = false;
    failing.set({fakes::adapter(1)});
    EXPECT_EQ(broker.getInstances("Zerix_EthernetPort").size(), 1U);
}

TEST_F(ObjectBroker, StorageThatMayNotBeRead_isAFailure)
{
    const support::LogCapture log(1);
    m_storage.isReadable = false;
    for (const char* className : {"Zerix_ConcreteJob", "Zerix_DiagnosticResult", "Zerix_DiagnosticSetting"}) {
        EXPECT_THROW(m_broker.getInstances(className), utils::EFailed) << className;
    }
    core::CimPath path("Zerix_ConcreteJob.InstanceID=\"x\"");
    EXPECT_THROW(m_broker.findInstance(path), utils::EFailed);
}

TEST_F(ObjectBroker, Path_isFoundThroughTheInterface)
{
    core::CimBroker& broker = m_broker;
    auto listed = broker.getInstances("Zerix_EthernetPort");
    core::CimPath path(listed.getIterator().next()->toPathString());
    core::CimInstance* found = broker.getInstanceByPath(path);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(support::value(*found, "Name"), "eth1");
    core::CimPath other("Zerix_EthernetPort.DeviceID=\"{}\"");
    EXPECT_EQ(broker.getInstanceByPath(other), nullptr);
}

TEST_F(ObjectBroker, Instances_outliveOtherThreadsRequests)
{
    auto listed = m_broker.getInstances("Zerix_EthernetPort");
    core::CimInstance* port = listed.getIterator().next();
    m_adapters.set({fakes::adapter(3)});
    std::thread([this] { EXPECT_EQ(m_broker.getInstances("Zerix_EthernetPort").size(), 1U); }).join();
    EXPECT_EQ(support::value(*port, "Name"), "eth1");
    auto listedAgain = m_broker.getInstances("Zerix_EthernetPort");
    EXPECT_EQ(support::value(*listedAgain.getIterator().next(), "Name"), "eth3");
}

// Returns whether the values belong to two adapters. The name and index of a fake adapter come from one number.
bool isMixedPort(core::CimInstance& port)
{
    return "eth" + support::value(port, "InterfaceIndex") != support::value(port, "Name");
}

// Returns whether the two ends belong to different adapters.
bool isMixedAssociation(core::CimInstance& association)
{
    const auto end = [&association](const char* role) -> core::CimInstance& {
        return *static_cast<core::CimPropertyRef*>(association.getProperties().findProperty(role))->getValue();
    };
    return "Vexal:AdapterSetting:" + support::value(end("ManagedElement"), "DeviceID") !=
           support::value(end("SettingData"), "InstanceID");
}

TEST_F(ObjectBroker, ManyThreads_areServedAtOnce)
{
    constexpr int THREADS = 8;
    constexpr int REQUESTS = 60;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([this, i, &wrong] {
            for (int request = 0; request < REQUESTS; ++request) {
                m_adapters.set({fakes::adapter(static_cast<unsigned>(request % 7 + 1)), fakes::adapter(20),
                                fakes::adapter(static_cast<unsigned>(i + 30))});
                auto listed = m_broker.getInstances(i % 2 == 0 ? "Zerix_EthernetPort" : "Zerix_ElementSettingData");
                auto iterator = listed.getIterator();
                while (core::CimInstance* instance = iterator.next()) {
                    wrong += i % 2 == 0 ? isMixedPort(*instance) : isMixedAssociation(*instance);
                }
                if (listed.size() != 3) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

// The class of the exception that the operation throws.
template <class Operation>
std::string thrown(Operation operation)
{
    try {
        operation();
        return "nothing";
    } catch (const utils::EInvalidParameter&) {
        return "EInvalidParameter";
    } catch (const utils::EForbidden&) {
        return "EForbidden";
    } catch (const utils::ENotSupported&) {
        return "ENotSupported";
    } catch (const utils::ENotFound& exception) {
        return std::string("ENotFound ") + exception.what();
    } catch (const utils::EFailed& exception) {
        return std::string("EFailed ") + exception.what();
    } catch (const wa::EMethodNotSupported&) {
        return "EMethodNotSupported";
    } catch (...) {
        return "something else";
    }
}

TEST_F(ObjectBroker, Change_isStored)
{
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"Vexal:AdapterSetting:" + fakes::adapter(2).guid + "\"");
    core::CimPropertyList values;
    core::CimPropertyString label("ElementName");
    label.setValue("Uplink");
    values.add(&label);
    m_broker.modifyInstance(path, values);
    core::CimInstance* changed = m_broker.findInstance(path);
    EXPECT_EQ(support::value(*changed, "ElementName"), "Uplink");
    label.setValue(std::string(65, 'x'));
    EXPECT_EQ(thrown([&] { m_broker.modifyInstance(path, values); }), "EInvalidParameter");
    EXPECT_EQ(support::value(*m_broker.findInstance(path), "ElementName"), "Uplink");
}

TEST_F(ObjectBroker, Change_ofNoInstance_isNotFound)
{
    core::CimPropertyList values;
    core::CimPropertyString unknown("Nothing");
    unknown.setValue("x");
    values.add(&unknown);
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"another\"");
    EXPECT_EQ(thrown([&] { m_broker.modifyInstance(path, values); }),
              "ENotFound DRAVEv2: Instance Zerix_AdapterSetting.InstanceID=\"another\" does not exist");
    core::CimPath unknownClass("Zerix_Nothing.Id=1");
    EXPECT_EQ(thrown([&] { m_broker.modifyInstance(unknownClass, values); }),
              "ENotFound DRAVEv2: Instance Zerix_Nothing.Id=1 does not exist");
}

TEST_F(ObjectBroker, Change_throwsOnlyKnownExceptions)
{
    BrokenAdapters failing;
    broker::ObjectBroker broker({failing, m_machine, m_storage, m_thread, m_hosts});
    core::CimPropertyList values;
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"x\"");
    EXPECT_EQ(thrown([&] { broker.modifyInstance(path, values); }), "EFailed DRAVEv2: out of order");
}

TEST_F(ObjectBroker, Failure_passedOn_keepsOnePrefix)
{
    AssertingAdapters asserting;
    broker::ObjectBroker broker({asserting, m_machine, m_storage, m_thread, m_hosts});
    core::CimPropertyList values;
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"x\"");
    EXPECT_EQ(thrown([&] { broker.modifyInstance(path, values); }), "EFailed DRAVEv2: Assertion failed");
}

TEST_F(ObjectBroker, EachInstance_mayBePutBackAsItIs)
{
    m_adapters.set({fakes::address(1, "192.0.2.1")});
    startJob();
    takeAllSamples();
    for (const char* className : {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_IPProtocolEndpoint",
                                  "Zerix_SoftwareIdentity", "Zerix_RegisteredProfile", "Zerix_PortImplementsEndpoint",
                                  "Zerix_ElementConformsToProfile", "Zerix_AdapterSetting", "Zerix_ElementSettingData",
                                  "Zerix_DiagnosticSetting", "Zerix_ConcreteJob", "Zerix_DiagnosticResult"})
    {
        auto listed = m_broker.getInstances(className);
        core::CimInstance* instance = listed.getIterator().next();
        ASSERT_NE(instance, nullptr) << className;
        core::CimPath path(instance->toPathString());
        core::CimPropertyList values;
        values.setOwnsElements(true);
        auto iterator = instance->propertyIterator();
        while (const core::CimProperty* property = iterator.next()) {
            values.add(copyAsAClientSeesIt(*property).release());
        }
        // Time passes between the read and the write.
        m_machine.pass(std::chrono::milliseconds{1500});
        broker::Adapter busier = fakes::adapter(1);
        busier.counters.bytesReceived += 99;
        m_adapters.set({busier, fakes::adapter(2)});
        EXPECT_NO_THROW(m_broker.modifyInstance(path, values)) << className;
    }
}

TEST_F(ObjectBroker, Method_ofNoInstance_isNotFound)
{
    core::CimPath path("Zerix_ConcreteJob.InstanceID=\"x\"");
    core::CimPropertyList in;
    core::CimPropertyList out;
    core::CimInstance* job = nullptr;
    EXPECT_EQ(thrown([&] { m_broker.invokeMethod(path, "RequestStateChange", in, out, job); }),
              "ENotFound DRAVEv2: Instance Zerix_ConcreteJob.InstanceID=\"x\" does not exist");
}

TEST_F(ObjectBroker, UnknownMethod_isNotSupported)
{
    core::CimPath path("Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"");
    core::CimPropertyList in;
    core::CimPropertyList out;
    core::CimInstance* job = nullptr;
    EXPECT_EQ(thrown([&] { m_broker.invokeMethod(path, "Explode", in, out, job); }), "EMethodNotSupported");
}

TEST_F(ObjectBroker, Job_isFoundByItsPath)
{
    core::CimPath path(startJob()->toPathString());
    m_machine.pass(std::chrono::seconds{1});
    m_thread.play();
    EXPECT_EQ(support::value(*m_broker.findInstance(path), "PercentComplete"), "10");
}

TEST_F(ObjectBroker, FlaggedJob_isGoneAtOnceForEveryThread)
{
    core::CimInstance* job = startJob();
    job->markForDeletion(true);
    std::thread([this] { EXPECT_EQ(m_broker.getInstances("Zerix_ConcreteJob").size(), 0U); }).join();
    // This thread's instance lives until the thread's next call.
    EXPECT_EQ(support::value(*job, "JobState"), "4");
    EXPECT_EQ(m_broker.getInstances("Zerix_ConcreteJob").size(), 0U);
}

TEST_F(ObjectBroker, MarkedJob_isGoneForTheNextProcess)
{
    core::CimPath path(startJob()->toPathString());
    takeAllSamples();
    {
        broker::ObjectBroker later({m_adapters, m_machine, m_storage, m_thread, m_hosts});
        core::CimInstance* job = later.findInstance(path);
        ASSERT_NE(job, nullptr);
        job->markForDeletion(true);
    }
    broker::ObjectBroker last({m_adapters, m_machine, m_storage, m_thread, m_hosts});
    EXPECT_EQ(last.findInstance(path), nullptr);
    EXPECT_EQ(last.getInstances("Zerix_DiagnosticResult").size(), 1U);
}

TEST_F(ObjectBroker, ExpiredJob_isGoneForTheNextProcess)
{
    core::CimPath path(startJob()->toPathString());
    takeAllSamples();
    EXPECT_EQ(support::value(*m_broker.findInstance(path), "JobState"), "7");
    m_machine.pass(std::chrono::seconds{300});
    EXPECT_EQ(m_broker.findInstance(path), nullptr);
}

// Load

using JobRequest = std::size_t (fakes::JobRequests::*)();

// The lock pairs of a repeated request, per entry that the broker keeps.
double lockPairsPerEntry(JobRequest request, std::size_t entries, bool isChanged)
{
    fakes::JobRequests requests(entries);
    EXPECT_NE((requests.*request)(), 0U);
    if (isChanged) {
        requests.changeOne();
    }
    return static_cast<double>(support::locksTakenBy([&] { (requests.*request)(); })) / static_cast<double>(entries);
}

TEST(ObjectBrokerLoad, LockPairsPerEntry_doNotGrowWithTheEntries)
{
    for (const JobRequest request :
         {&fakes::JobRequests::listJobs, &fakes::JobRequests::listResults, &fakes::JobRequests::getJob})
    {
        for (const bool isChanged : {false, true}) {
            const double few = lockPairsPerEntry(request, 20, isChanged);
            EXPECT_GT(few, 0);
            EXPECT_LE(lockPairsPerEntry(request, 200, isChanged), few * 1.2);
        }
    }
}

}  // namespace
