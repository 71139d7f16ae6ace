#include "broker/Methods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Utils/Exception.h"
#include "broker/ArgumentList.h"
#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "core/MethodErrors.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Methods : public testing::Test
{
protected:
    Methods() { m_world.adapters.set({fakes::adapter(1), fakes::adapter(2)}); }

    template <class Property, class Value>
    void argument(const char* name, Value value)
    {
        auto* property = new Property(name);
        m_in->add(property);
        property->setValue(value);
    }

    void argument(const char* name, std::uint16_t value)
    {
        argument<core::CimPropertyUint16, std::uint16_t>(name, value);
    }

    void names(const std::vector<std::string>& names) { argument<core::CimPropertyString_arr>("Names", names); }

    // Calls the method of the class's n-th instance.
    std::uint32_t invoke(const std::string& className, const std::string& method, std::size_t index = 0)
    {
        m_workspace.begin(className);
        const auto& records = m_workspace.instances(className)->records();
        return m_methods.invoke(m_workspace, method, {records.at(index), m_in, m_out, m_job});
    }

    template <class Expected>
    std::string refusal(const std::string& className, const std::string& method)
    {
        return support::thrownBy<Expected>([&] { invoke(className, method); });
    }

    // Why a diagnostic with one argument does not start.
    template <class Property = core::CimPropertyUint16>
    std::string diagnosticRefusal(const char* name, std::uint16_t value)
    {
        m_in.startAnew();
        argument<Property>(name, value);
        return refusal<wa::EInvalidParameter>("Zerix_EthernetPort", "RunLinkDiagnostic");
    }

    std::uint32_t portState(std::uint16_t state, broker::StateChange result)
    {
        m_world.adapters.stateChange = result;
        m_in.startAnew();
        argument("RequestedState", state);
        return invoke("Zerix_EthernetPort", "RequestStateChange", 1);
    }

    fakes::World m_world;
    broker::Workspace m_workspace{m_world.sources()};
    broker::Methods m_methods{m_world.adapters, m_world.settings, m_world.jobs};
    support::ArgumentList m_in;
    support::ArgumentList m_out;
    core::CimInstance* m_job = nullptr;
};

TEST_F(Methods, RunLinkDiagnostic_startsAJob)
{
    argument("SampleCount", 5);
    EXPECT_EQ(invoke("Zerix_EthernetPort", "runlinkdiagnostic", 1), 4096U);
    ASSERT_NE(m_job, nullptr);
    EXPECT_EQ(m_job->toPathString(), "Zerix_ConcreteJob.InstanceID=\"Vexal:Job:1700000000000000-1\"");
    EXPECT_EQ(support::value(*m_job, "Description"), "Link diagnostic of eth2");
    EXPECT_EQ(support::value(*m_job, "JobState"), "4");
    EXPECT_EQ(m_out->size(), 0U);
}

TEST_F(Methods, RunLinkDiagnostic_withoutCount_takesSetting)
{
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=1;SamplePeriodMilliseconds=10");
    m_in->add(new core::CimPropertyUint16("SampleCount"));
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 4096U);
    m_world.machine.pass(std::chrono::milliseconds{10});
    m_world.thread.play();
    ASSERT_EQ(m_world.jobs.results().size(), 1U);
    EXPECT_EQ(m_world.jobs.results()[0]->bytesReceived.size(), 1U);
}

TEST_F(Methods, RunLinkDiagnostic_badArguments_areRefused)
{
    EXPECT_EQ(diagnosticRefusal("SampleCount", 601), "DRAVEv2: EInvalidParameter:Argument SampleCount is 601");
    EXPECT_EQ(diagnosticRefusal("SampleCount", 0), "DRAVEv2: EInvalidParameter:Argument SampleCount is 0");
    EXPECT_EQ(diagnosticRefusal<core::CimPropertyUint64>("SampleCount", 5),
              "DRAVEv2: EInvalidParameter:Argument SampleCount is of type 12");
    EXPECT_EQ(diagnosticRefusal("Samples", 5), "DRAVEv2: EInvalidParameter:Unknown argument Samples");
    EXPECT_THAT(m_world.jobs.jobs(), IsEmpty());
}

TEST_F(Methods, RunLinkDiagnostic_withoutThread_fails)
{
    m_world.thread.canStart = false;
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 4U);
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, RequestStateChange_asksThePlatform)
{
    EXPECT_EQ(portState(3, broker::StateChange::DONE), 0U);
    EXPECT_EQ(portState(2, broker::StateChange::NOT_SUPPORTED), 1U);
    EXPECT_EQ(portState(2, broker::StateChange::FAILED), 4U);
    EXPECT_THAT(m_world.adapters.stateChanges,
                ElementsAre(Pair(fakes::adapter(2).guid, broker::AdministrativeState::DOWN),
                            Pair(fakes::adapter(2).guid, broker::AdministrativeState::UP),
                            Pair(fakes::adapter(2).guid, broker::AdministrativeState::UP)));
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, RequestStateChange_otherStates_areInvalid)
{
    EXPECT_EQ(portState(0, broker::StateChange::DONE), 5U);
    EXPECT_EQ(portState(4, broker::StateChange::DONE), 5U);
    EXPECT_THAT(m_world.adapters.stateChanges, IsEmpty());
    m_in.startAnew();
    EXPECT_EQ(refusal<wa::EInvalidParameter>("Zerix_EthernetPort", "RequestStateChange"),
              "DRAVEv2: EInvalidParameter:Argument RequestedState is missing");
}

TEST_F(Methods, RunLinkDiagnostic_ofABusyPort_isInUse)
{
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 4096U);
    m_job = nullptr;
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 6U);
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, RunningJob_isEndedOnce)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic", 0);
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic", 1);
    argument("RequestedState", 4);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 0), 0U);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 0), 4097U);
    m_in.startAnew();
    argument("RequestedState", 5);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 1), 0U);
    m_in.startAnew();
    argument("RequestedState", 2);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 1), 5U);
    EXPECT_EQ(m_world.jobs.jobs()[0].state, broker::JobState::TERMINATED);
    EXPECT_EQ(m_world.jobs.jobs()[1].state, broker::JobState::KILLED);
}

TEST_F(Methods, OthersJob_isEndedByWhoMayWriteSettings)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    argument("RequestedState", 4);
    m_world.machine.setUser("HOST\\guest");
    m_world.storage.isWritable = false;
    EXPECT_THROW(invoke("Zerix_ConcreteJob", "RequestStateChange"), utils::EForbidden);
    EXPECT_TRUE(m_world.jobs.jobs()[0].isRunning());
    m_world.storage.isWritable = true;
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange"), 0U);
}

TEST_F(Methods, RestoreDefaults_withoutNames_restoresAll)
{
    const auto restored = [this] {
        m_world.storage.set("Diagnostics", "Setting", "SampleCount=5;PassThresholdPercent=1");
        EXPECT_EQ(invoke("Zerix_DiagnosticSetting", "RestoreDefaults"), 0U);
        m_in.startAnew();
        return m_world.storage.values("Diagnostics");
    };
    EXPECT_THAT(restored(), IsEmpty());
    m_in->add(new core::CimPropertyString_arr("Names"));
    EXPECT_THAT(restored(), IsEmpty());
    names({"*"});
    EXPECT_THAT(restored(), IsEmpty());
    names({"samplecount", "*"});
    EXPECT_THAT(restored(), IsEmpty());
    names({"samplecount"});
    EXPECT_THAT(restored(), ElementsAre("Setting=PassThresholdPercent=1"));
}

TEST_F(Methods, RestoreDefaults_ofNoOrUnknownNames_isInvalid)
{
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=5");
    for (const std::vector<std::string>& given :
         {std::vector<std::string>{}, {"Nothing"}, {"SampleCount", ""}, {"InstanceID"}})
    {
        m_in.startAnew();
        names(given);
        EXPECT_EQ(invoke("Zerix_DiagnosticSetting", "RestoreDefaults"), 5U);
    }
    EXPECT_THAT(m_world.storage.values("Diagnostics"), ElementsAre("Setting=SampleCount=5"));
    m_in.startAnew();
    argument("Names", 5);
    EXPECT_EQ(refusal<wa::EInvalidParameter>("Zerix_DiagnosticSetting", "RestoreDefaults"),
              "DRAVEv2: EInvalidParameter:Argument Names is of type 4");
}

TEST_F(Methods, RestoreDefaults_takesAnAdaptersLabelAway)
{
    const std::string key = "Adapters\\" + fakes::adapter(2).guid;
    m_world.storage.set(key, "Setting", "ElementName=Uplink;Tag=7");
    names({"Tag"});
    EXPECT_EQ(invoke("Zerix_AdapterSetting", "RestoreDefaults", 1), 0U);
    EXPECT_THAT(m_world.storage.values(key), ElementsAre("Setting=ElementName=Uplink"));
    m_in.startAnew();
    EXPECT_EQ(invoke("Zerix_AdapterSetting", "RestoreDefaults", 1), 0U);
    EXPECT_EQ(m_world.settings.adapterSetting(fakes::adapter(2).guid).elementName, std::nullopt);
}

TEST_F(Methods, RestoreDefaults_refusedByTheStorage_fails)
{
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=5");
    m_world.storage.isWritable = false;
    EXPECT_EQ(invoke("Zerix_DiagnosticSetting", "RestoreDefaults"), 4U);
    EXPECT_THAT(m_world.storage.values("Diagnostics"), ElementsAre("Setting=SampleCount=5"));
}

TEST_F(Methods, UnknownMethod_isNotSupported)
{
    EXPECT_EQ(refusal<wa::EMethodNotSupported>("Zerix_EthernetPort", "RestoreDefaults"),
              "DRAVEv2: EMethodNotSupported:Zerix_EthernetPort has no method RestoreDefaults");
    EXPECT_EQ(refusal<wa::EMethodNotSupported>("Zerix_SoftwareIdentity", "RunLinkDiagnostic"),
              "DRAVEv2: EMethodNotSupported:Zerix_SoftwareIdentity has no method RunLinkDiagnostic");
}

}  // namespace
