#include "broker/ObjectBroker.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "Utils/Exception.h"
#include "broker/BrokerWorld.h"
#include "broker/JobRequests.h"
#include "broker/Properties.h"
#include "broker/Sent.h"
#include "broker/classes/ServedClasses.h"
#include "core/MethodErrors.h"
#include "core/PropertyVisit.h"
#include "support/LockCount.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using support::Sent;
using support::sent;

template <class Property, class Value>
Sent copyOf(const Property& property, const Value& value)
{
    const char* const name = property.getName().c_str();
    return property.isNull() ? support::null<Property>(name) : sent<Property, Value>(name, value);
}

// The value as a client that changes nothing sends it back: a reference as a path with host and namespace, a datetime
// in whole seconds.
Sent copyAsAClientSeesIt(const core::CimProperty& property)
{
    return core::visit(property, core::Visitor{[](const core::CimPropertyDatetime& datetime) {
                                                   utils::Time time = datetime.getValue();
                                                   time.value -= time.value % 1'000'000;
                                                   return copyOf(datetime, time);
                                               },
                                               [](const core::CimPropertyRef& reference) {
                                                   return copyOf(reference,
                                                                 R"(\\HOST\root\DCIM\vexal:)" + reference.toString());
                                               },
                                               [](const auto& typed) { return copyOf(typed, typed.getValue()); },
                                               [](const core::CimProperty& /*unknown*/) -> Sent { return nullptr; }});
}

class ObjectBroker : public testing::Test, protected fakes::BrokerWorld
{
protected:
    ObjectBroker() { m_adapters.set({fakes::adapter(1), fakes::adapter(2)}); }

    void modify(const std::string& text, const std::vector<Sent>& values)
    {
        core::CimPath path(text);
        core::CimPropertyList list;
        support::add(list, values);
        m_broker.modifyInstance(path, list);
    }

    // What a change of the instance throws.
    template <class Expected>
    std::string refusal(const char* path, const std::vector<Sent>& values = {})
    {
        return support::thrownBy<Expected>([&] { modify(path, values); });
    }

    // Calls the method. Returns its job or null.
    core::CimInstance* invoke(const std::string& text, const char* method)
    {
        core::CimPath path(text);
        core::CimPropertyList in;
        core::CimPropertyList out;
        core::CimInstance* job = nullptr;
        m_broker.invokeMethod(path, method, in, out, job);
        return job;
    }

    // The path of the first instance of the class.
    std::string firstPath(const char* className)
    {
        auto listed = m_broker.getInstances(className);
        return listed.getIterator().next()->toPathString();
    }

    // Starts a diagnostic of the first port.
    core::CimInstance* startJob() { return invoke(firstPath("Zerix_EthernetPort"), "RunLinkDiagnostic"); }

    // Expects that no list of these classes can be read.
    void expectUnreadable(const std::vector<const char*>& classNames)
    {
        for (const char* className : classNames) {
            EXPECT_THROW(m_broker.getInstances(className), utils::EFailed) << className;
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
    EXPECT_EQ(m_broker.getInstances("Zerix_Nothing").size(), 0U);
    EXPECT_EQ(m_broker.getInstances("").size(), 0U);
}

TEST_F(ObjectBroker, UnreadableMachine_isAFailure)
{
    m_adapters.onRead = [] { throw utils::EFailed("out of order"); };
    expectUnreadable({"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_AdapterSetting",
                      "Zerix_PortImplementsEndpoint", "Zerix_ElementSettingData"});
    const char* const port = "Zerix_EthernetPort.DeviceID=\"a\"";
    EXPECT_THROW(m_broker.findInstance(core::CimPath(port)), utils::EFailed);
    EXPECT_THROW(modify(port, {}), utils::EFailed);
    EXPECT_THROW(invoke(port, "RunLinkDiagnostic"), utils::EFailed);
    for (const char* className : {"Zerix_RegisteredProfile", "Zerix_SoftwareIdentity", "Zerix_DiagnosticSetting"}) {
        EXPECT_EQ(m_broker.getInstances(className).size(), 1U) << className;
    }
    EXPECT_EQ(m_broker.getInstances("Zerix_ConcreteJob").size(), 0U);
    m_adapters.onRead = nullptr;
    EXPECT_EQ(m_broker.getInstances("Zerix_EthernetPort").size(), 2U);
}

TEST_F(ObjectBroker, UnreadableStorage_isAFailure)
{
    const support::LogCapture log(1);
    m_storage.isReadable = false;
    expectUnreadable({"Zerix_ConcreteJob", "Zerix_DiagnosticResult", "Zerix_DiagnosticSetting"});
    EXPECT_THROW(m_broker.findInstance(core::CimPath("Zerix_ConcreteJob.InstanceID=\"x\"")), utils::EFailed);
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

TEST_F(ObjectBroker, Change_isShownAndRefusalIsNot)
{
    core::CimPath path("Zerix_AdapterSetting.InstanceID=\"Vexal:AdapterSetting:" + fakes::adapter(2).guid + "\"");
    core::CimBroker& broker = m_broker;
    modify(path.getModelPath(), {sent<core::CimPropertyString>("ElementName", "Uplink")});
    EXPECT_EQ(support::value(*broker.getInstanceByPath(path), "ElementName"), "Uplink");
    EXPECT_THROW(modify(path.getModelPath(), {sent<core::CimPropertyString>("ElementName", std::string(65, 'x'))}),
                 utils::EInvalidParameter);
    EXPECT_EQ(support::value(*broker.getInstanceByPath(path), "ElementName"), "Uplink");
    core::CimPath another("Zerix_AdapterSetting.InstanceID=\"another\"");
    EXPECT_EQ(broker.getInstanceByPath(another), nullptr);
}

TEST_F(ObjectBroker, Change_throwsOnlyKnownExceptions)
{
    EXPECT_EQ(refusal<utils::ENotFound>("Zerix_AdapterSetting.InstanceID=\"another\"",
                                        {sent<core::CimPropertyString>("Nothing", "x")}),
              "DRAVEv2: Instance Zerix_AdapterSetting.InstanceID=\"another\" does not exist");
    EXPECT_EQ(refusal<utils::ENotFound>("Zerix_Nothing.Id=1"), "DRAVEv2: Instance Zerix_Nothing.Id=1 does not exist");
    m_adapters.onRead = [] { throw std::runtime_error("out of order"); };
    EXPECT_EQ(refusal<utils::EFailed>("Zerix_AdapterSetting.InstanceID=\"x\""), "DRAVEv2: out of order");
    m_adapters.onRead = [] { throw utils::Exception(std::string("Assertion failed")); };
    EXPECT_EQ(refusal<utils::EFailed>("Zerix_AdapterSetting.InstanceID=\"x\""), "DRAVEv2: Assertion failed")
        << "one prefix";
}

TEST_F(ObjectBroker, EachInstance_mayBePutBackAsItIs)
{
    m_adapters.set({fakes::address(1, "192.0.2.1")});
    m_adapters.set({fakes::ipConfiguration(1)});
    m_storage.set("Diagnostics", "Setting", "SampleCount=1");
    startJob();
    m_machine.pass(std::chrono::seconds{1});
    m_thread.play();
#define BROKER_CLASS_NAME(served) broker::served.name,
    const std::vector<const char*> classes{BROKER_SERVED_CLASSES(BROKER_CLASS_NAME)};
#undef BROKER_CLASS_NAME
    std::vector<std::pair<std::string, std::vector<Sent>>> puts;
    for (const char* className : classes) {
        auto listed = m_broker.getInstances(className);
        EXPECT_NE(listed.size(), 0U) << className;
        auto instances = listed.getIterator();
        while (core::CimInstance* instance = instances.next()) {
            puts.emplace_back(instance->toPathString(), std::vector<Sent>());
            auto properties = instance->propertyIterator();
            while (const core::CimProperty* property = properties.next()) {
                puts.back().second.push_back(copyAsAClientSeesIt(*property));
            }
        }
    }
    // Time passes between the read and the write.
    m_machine.pass(std::chrono::milliseconds{1500});
    broker::Adapter busier = fakes::adapter(1);
    busier.counters.bytesReceived += 99;
    m_adapters.set({busier, fakes::adapter(2)});
    for (const auto& [path, values] : puts) {
        EXPECT_NO_THROW(modify(path, values)) << path;
    }
}

TEST_F(ObjectBroker, Method_unknownOrOfNoInstance_isRefused)
{
    EXPECT_EQ(support::thrownBy<utils::ENotFound>(
                  [this] { invoke("Zerix_ConcreteJob.InstanceID=\"x\"", "RequestStateChange"); }),
              "DRAVEv2: Instance Zerix_ConcreteJob.InstanceID=\"x\" does not exist");
    EXPECT_THROW(invoke(firstPath("Zerix_DiagnosticSetting"), "Explode"), wa::EMethodNotSupported);
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
