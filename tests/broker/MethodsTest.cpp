#include "broker/Methods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/ArgumentList.h"
#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "core/MethodErrors.h"

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

    // Calls the method of the class's instance of that index.
    std::uint32_t invoke(const std::string& className, const std::string& method, std::size_t index = 0)
    {
        m_workspace.begin(className);
        const auto& records = m_workspace.instances(className)->records();
        return m_methods.invoke(m_workspace, method, {records.at(index), m_in, m_out, m_job});
    }

    std::string refusal(const std::string& className, const std::string& method)
    {
        try {
            invoke(className, method);
            return "run";
        } catch (const wa::EInvalidParameter& exception) {
            return exception.what();
        } catch (const wa::EMethodNotSupported& exception) {
            return exception.what();
        }
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

TEST_F(Methods, RunLinkDiagnosticStartsAJobForThePort)
{
    argument("SampleCount", 5);
    EXPECT_EQ(invoke("Zerix_EthernetPort", "runlinkdiagnostic", 1), 4096U);
    ASSERT_NE(m_job, nullptr);
    EXPECT_EQ(m_job->toPathString(), "Zerix_ConcreteJob.InstanceID=\"Vexal:Job:1700000000000000-1\"");
    EXPECT_EQ(support::value(*m_job, "Description"), "Link diagnostic of eth2");
    EXPECT_EQ(support::value(*m_job, "JobState"), "4");
    EXPECT_EQ(m_out->size(), 0U);
}

TEST_F(Methods, RunLinkDiagnosticTakesTheSettingsCountWhenNoneIsGiven)
{
    m_world.storage.set("Diagnostics", "SampleCount", "1");
    m_world.storage.set("Diagnostics", "SamplePeriodMilliseconds", "10");
    m_in->add(new core::CimPropertyUint16("SampleCount"));
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 4096U);
    m_world.machine.time += 10'000;
    m_world.thread.work->work();
    ASSERT_EQ(m_world.jobs.results().size(), 1U);
    EXPECT_EQ(m_world.jobs.results()[0]->bytesReceived.size(), 1U);
}

TEST_F(Methods, RunLinkDiagnosticRefusesBadArguments)
{
    argument("SampleCount", 601);
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RunLinkDiagnostic"),
              "DRAVEv2: EInvalidParameter:Argument SampleCount is 601");
    m_in.startAnew();
    argument("SampleCount", 0);
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RunLinkDiagnostic"),
              "DRAVEv2: EInvalidParameter:Argument SampleCount is 0");
    m_in.startAnew();
    argument<core::CimPropertyUint8>("SampleCount", std::uint8_t{5});
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RunLinkDiagnostic"),
              "DRAVEv2: EInvalidParameter:Argument SampleCount is of type 0");
    m_in.startAnew();
    argument("Samples", 5);
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RunLinkDiagnostic"),
              "DRAVEv2: EInvalidParameter:Unknown argument Samples");
    EXPECT_THAT(m_world.jobs.jobs(), IsEmpty());
}

TEST_F(Methods, RunLinkDiagnosticFailsWithoutAThread)
{
    m_world.thread.canStart = false;
    EXPECT_EQ(invoke("Zerix_EthernetPort", "RunLinkDiagnostic"), 4U);
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, PortStateIsChangedThroughThePlatform)
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

TEST_F(Methods, OtherPortStatesAreInvalid)
{
    EXPECT_EQ(portState(0, broker::StateChange::DONE), 5U);
    EXPECT_EQ(portState(4, broker::StateChange::DONE), 5U);
    EXPECT_THAT(m_world.adapters.stateChanges, IsEmpty());
    m_in.startAnew();
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RequestStateChange"),
              "DRAVEv2: EInvalidParameter:Argument RequestedState is missing");
}

TEST_F(Methods, RunningJobIsEndedOnce)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    argument("RequestedState", 4);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 0), 0U);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 0), 4097U);
    m_in.startAnew();
    argument("RequestedState", 5);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 1), 0U);
    m_in.startAnew();
    argument("RequestedState", 2);
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "RequestStateChange", 1), 5U);
    EXPECT_EQ(m_world.jobs.jobs()[0].status.state, broker::JobState::TERMINATED);
    EXPECT_EQ(m_world.jobs.jobs()[1].status.state, broker::JobState::KILLED);
}

TEST_F(Methods, GetErrorSetsTheOutputInPlace)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    auto* prefilled = new core::CimPropertyString("Error");
    m_out->add(prefilled);
    prefilled->setValue("default");
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "GetError"), 0U);
    EXPECT_TRUE(prefilled->isNull());
    m_world.machine.time += 1'000'000;
    m_world.adapters.set(std::vector<broker::Adapter>());
    m_world.thread.work->work();
    EXPECT_EQ(invoke("Zerix_ConcreteJob", "GetError"), 0U);
    EXPECT_EQ(prefilled->getValue(), "The adapter is gone or cannot be read");
    EXPECT_EQ(m_out->size(), 1U);
}

TEST_F(Methods, GetErrorAddsTheOutputWhereNoneFits)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    invoke("Zerix_ConcreteJob", "GetError");
    ASSERT_EQ(m_out->size(), 1U);
    EXPECT_TRUE(m_out->findProperty("Error")->isNull());
    m_out.startAnew();
    core::CimPropertyList other;
    other.setOwnsElements(true);
    auto* misfit = new core::CimPropertyUint8("Error");
    other.add(misfit);
    m_workspace.begin("Zerix_ConcreteJob");
    const auto& jobs = m_workspace.instances("Zerix_ConcreteJob")->records();
    m_methods.invoke(m_workspace, "GetError", {jobs[0], m_in, other, m_job});
    EXPECT_TRUE(misfit->isOverriden());
    EXPECT_EQ(other.findProperty("Error")->getType(), core::CimProperty::EPT_STRING);
}

TEST_F(Methods, GetErrorTakesNoArgument)
{
    invoke("Zerix_EthernetPort", "RunLinkDiagnostic");
    argument("Any", 1);
    EXPECT_EQ(refusal("Zerix_ConcreteJob", "GetError"), "DRAVEv2: EInvalidParameter:Unknown argument Any");
}

TEST_F(Methods, RestoreDefaultsForgetsWhatWasStored)
{
    m_world.storage.set("Diagnostics", "SampleCount", "5");
    EXPECT_EQ(invoke("Zerix_DiagnosticSetting", "RestoreDefaults"), 0U);
    EXPECT_EQ(m_world.settings.diagnosticSetting().sampleCount, 10);
    m_world.storage.eraseResult = broker::StoreResult::FAILED;
    EXPECT_EQ(invoke("Zerix_DiagnosticSetting", "RestoreDefaults"), 4U);
}

TEST_F(Methods, MethodThatTheClassLacksIsNotSupported)
{
    EXPECT_EQ(refusal("Zerix_EthernetPort", "RestoreDefaults"),
              "DRAVEv2: EMethodNotSupported:Zerix_EthernetPort has no method RestoreDefaults");
    EXPECT_EQ(refusal("Zerix_SoftwareIdentity", "RunLinkDiagnostic"),
              "DRAVEv2: EMethodNotSupported:Zerix_SoftwareIdentity has no method RunLinkDiagnostic");
}

}  // namespace
