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
#include "support/Thrown.h"

namespace {

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

    template <class Failure>
    void failWith(const Failure& failure)
    {
        m_adapters.onRead = [failure] { throw failure; };
    }

    // What a change of the instance throws.
    template <class Expected>
    std::string refusal(const char* text, core::CimPropertyList& values)
    {
        core::CimPath path(text);
        return support::thrownBy<Expected>([&] { m_broker.modifyInstance(path, values); });
    }

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

TEST_F(ObjectBroker, UnreadableMachine_isAFailureUntilItIsRead)
{
    failWith(utils::EFailed("out of order"));
    core::CimPath port("Zerix_EthernetPort.DeviceID=\"a\"");
    core::CimPropertyList none;
    core::CimInstance* job = nullptr;
    for (const char* className : {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_AdapterSetting",
                                  "Zerix_PortImplementsEndpoint", "Zerix_ElementSettingData"})
    {
        EXPECT_THROW(m_broker.getInstances(className), utils::EFailed) << className;
    }
    EXPECT_THROW(m_broker.findInstance(port), utils::EFailed);
    EXPECT_THROW(m_broker.modifyInstance(port, none), utils::EFailed);
    EXPECT_THROW(m_broker.invokeMethod(port, "RunLinkDiagnostic", none, none, job), utils::EFailed);
    m_adapters.onRead = nullptr;
    EXPECT_EQ(m_broker.getInstances("Zerix_EthernetPort").size(), 2U);
}

TEST_F(ObjectBroker, UnreadableMachine_leavesOtherClasses)
{
    failWith(utils::EFailed("out of order"));
    for (const char* className : {"Zerix_RegisteredProfile", "Zerix_SoftwareIdentity", "Zerix_DiagnosticSetting"}) {
        EXPECT_EQ(m_broker.getInstances(className).size(), 1U) << className;
    }
    EXPECT_EQ(m_broker.getInstances("Zerix_ConcreteJob").size(), 0U);
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

TEST_F(ObjectBroker, Change_isStored)
{
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"Vexal:AdapterSetting:" + fakes::adapter(2).guid + "\"");
    core::CimPropertyList values;
    core::CimPropertyString label("ElementName");
    label.setValue("Uplink");
    values.add(&label);
    m_broker.modifyInstance(path, values);
    EXPECT_EQ(support::value(*m_broker.findInstance(path), "ElementName"), "Uplink");
    label.setValue(std::string(65, 'x'));
    EXPECT_THROW(m_broker.modifyInstance(path, values), utils::EInvalidParameter);
    EXPECT_EQ(support::value(*m_broker.findInstance(path), "ElementName"), "Uplink");
}

TEST_F(ObjectBroker, Change_ofNoInstance_isNotFound)
{
    core::CimPropertyList values;
    core::CimPropertyString unknown("Nothing");
    unknown.setValue("x");
    values.add(&unknown);
    EXPECT_EQ(refusal<utils::ENotFound>("Zerix_AdapterSetting.InstanceID=\"another\"", values),
              "DRAVEv2: Instance Zerix_AdapterSetting.InstanceID=\"another\" does not exist");
    EXPECT_EQ(refusal<utils::ENotFound>("Zerix_Nothing.Id=1", values),
              "DRAVEv2: Instance Zerix_Nothing.Id=1 does not exist");
}

TEST_F(ObjectBroker, Change_throwsOnlyKnownExceptions)
{
    core::CimPropertyList values;
    const char* const path = "Zerix_AdapterSetting.InstanceID=\"x\"";
    failWith(std::runtime_error("out of order"));
    EXPECT_EQ(refusal<utils::EFailed>(path, values), "DRAVEv2: out of order");
    failWith(utils::Exception(std::string("Assertion failed")));
    EXPECT_EQ(refusal<utils::EFailed>(path, values), "DRAVEv2: Assertion failed") << "one prefix";
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

TEST_F(ObjectBroker, Method_unknownOrOfNoInstance_isRefused)
{
    const auto call = [this](const char* text, const char* method) {
        core::CimPath path(text);
        core::CimPropertyList in;
        core::CimPropertyList out;
        core::CimInstance* job = nullptr;
        m_broker.invokeMethod(path, method, in, out, job);
    };
    EXPECT_EQ(
        support::thrownBy<utils::ENotFound>([&] { call("Zerix_ConcreteJob.InstanceID=\"x\"", "RequestStateChange"); }),
        "DRAVEv2: Instance Zerix_ConcreteJob.InstanceID=\"x\" does not exist");
    EXPECT_THROW(call("Zerix_DiagnosticSetting.InstanceID=\"Vexal:DiagnosticSetting\"", "Explode"),
                 wa::EMethodNotSupported);
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

TEST_F(ObjectBroker, Job_isFoundUntilItExpires)
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
