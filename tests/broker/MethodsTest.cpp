#include "broker/Methods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Utils/Exception.h"
#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "broker/Sent.h"
#include "core/MethodErrors.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using broker::StateChange;
using support::null;
using support::Sent;
using support::sent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Names = core::CimPropertyString_arr;
using Number = core::CimPropertyUint16;

constexpr const char* PORT = "Zerix_EthernetPort";
constexpr const char* JOB = "Zerix_ConcreteJob";
constexpr const char* SETTING = "Zerix_DiagnosticSetting";

class Methods : public testing::Test
{
protected:
    Methods() { m_world.adapters.set({fakes::adapter(1), fakes::adapter(2)}); }

    // Calls the method of the class's n-th instance.
    std::uint32_t invoke(const std::string& className, const std::string& method, const std::vector<Sent>& arguments,
                         std::size_t index = 0)
    {
        core::CimPropertyList in;
        support::add(in, arguments);
        m_job = nullptr;
        m_workspace.begin(className);
        const auto& records = m_workspace.instances(className)->records();
        return m_methods.invoke(m_workspace, method, {records.at(index), in, m_out, m_job});
    }

    std::uint32_t runDiagnostic(const std::vector<Sent>& arguments = {}, std::size_t port = 0)
    {
        return invoke(PORT, "RunLinkDiagnostic", arguments, port);
    }

    std::uint32_t changeState(const std::string& className, std::uint16_t state, std::size_t index = 0)
    {
        return invoke(className, "RequestStateChange", {sent<Number>("RequestedState", state)}, index);
    }

    // The platform's answer to the change is `result`.
    std::uint32_t changePortState(std::uint16_t state, StateChange result)
    {
        m_world.adapters.stateChange = result;
        return changeState(PORT, state, 1);
    }

    std::uint32_t restoreDefaults(const std::vector<Sent>& arguments)
    {
        return invoke(SETTING, "RestoreDefaults", arguments);
    }

    template <class Expected>
    std::string refusal(const std::string& className, const std::string& method, const std::vector<Sent>& arguments)
    {
        return support::thrownBy<Expected>([&] { invoke(className, method, arguments); });
    }

    fakes::World m_world;
    broker::Workspace m_workspace{m_world.sources()};
    broker::Methods m_methods{m_world.adapters, m_world.settings, m_world.jobs};
    core::CimPropertyList m_out;
    core::CimInstance* m_job = nullptr;
};

TEST_F(Methods, RunLinkDiagnostic_startsOneJobOfAPort)
{
    m_world.thread.canStart = false;
    EXPECT_EQ(runDiagnostic({}, 1), 4U) << "without a thread";
    EXPECT_EQ(m_job, nullptr);
    m_world.thread.canStart = true;
    EXPECT_EQ(invoke(PORT, "runlinkdiagnostic", {sent<Number>("SampleCount", 5)}, 1), 4096U);
    ASSERT_NE(m_job, nullptr);
    EXPECT_EQ(m_job->toPathString(), "Zerix_ConcreteJob.InstanceID=\"Vexal:Job:1700000000000000-1\"");
    EXPECT_EQ(support::value(*m_job, "Description"), "Link diagnostic of eth2");
    EXPECT_EQ(support::value(*m_job, "JobState"), "4");
    EXPECT_EQ(m_out.size(), 0U);
    EXPECT_EQ(runDiagnostic({}, 1), 6U) << "the port is in use";
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, RunLinkDiagnostic_withoutCount_takesSetting)
{
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=1;SamplePeriodMilliseconds=10");
    EXPECT_EQ(runDiagnostic({null<Number>("SampleCount")}), 4096U);
    m_world.machine.pass(std::chrono::milliseconds{10});
    m_world.thread.play();
    ASSERT_EQ(m_world.jobs.results().size(), 1U);
    EXPECT_EQ(m_world.jobs.results()[0]->bytesReceived.size(), 1U);
}

TEST_F(Methods, BadArguments_areRefused)
{
    struct Call
    {
        const char* className;
        const char* method;
        std::vector<Sent> arguments;
        const char* refusal;
    };
    for (const Call& call : {Call{PORT, "RunLinkDiagnostic", {sent<Number>("SampleCount", 601)}, "SampleCount is 601"},
                             Call{PORT, "RunLinkDiagnostic", {sent<Number>("SampleCount", 0)}, "SampleCount is 0"},
                             Call{PORT,
                                  "RunLinkDiagnostic",
                                  {sent<core::CimPropertyUint64>("SampleCount", 5)},
                                  "SampleCount is of type 12"},
                             Call{PORT, "RequestStateChange", {}, "RequestedState is missing"},
                             Call{SETTING, "RestoreDefaults", {sent<Number>("Names", 5)}, "Names is of type 4"}})
    {
        EXPECT_EQ(refusal<wa::EInvalidParameter>(call.className, call.method, call.arguments),
                  std::string("DRAVEv2: EInvalidParameter:Argument ") + call.refusal);
    }
    EXPECT_EQ(refusal<wa::EInvalidParameter>(PORT, "RunLinkDiagnostic", {sent<Number>("Samples", 5)}),
              "DRAVEv2: EInvalidParameter:Unknown argument Samples");
    EXPECT_THAT(m_world.jobs.jobs(), IsEmpty());
}

TEST_F(Methods, RequestStateChange_asksThePlatform)
{
    EXPECT_EQ(changePortState(3, StateChange::DONE), 0U);
    EXPECT_EQ(changePortState(2, StateChange::NOT_SUPPORTED), 1U);
    EXPECT_EQ(changePortState(2, StateChange::FAILED), 4U);
    EXPECT_EQ(changePortState(0, StateChange::DONE), 5U) << "not a state that can be requested";
    EXPECT_EQ(changePortState(4, StateChange::DONE), 5U);
    const std::string guid = fakes::adapter(2).guid;
    EXPECT_THAT(m_world.adapters.stateChanges,
                ElementsAre(Pair(guid, broker::AdministrativeState::DOWN), Pair(guid, broker::AdministrativeState::UP),
                            Pair(guid, broker::AdministrativeState::UP)));
    EXPECT_EQ(m_job, nullptr);
}

TEST_F(Methods, RunningJob_isEndedOnce)
{
    runDiagnostic({}, 0);
    runDiagnostic({}, 1);
    EXPECT_EQ(changeState(JOB, 4, 0), 0U);
    EXPECT_EQ(changeState(JOB, 4, 0), 4097U);
    EXPECT_EQ(changeState(JOB, 5, 1), 0U);
    EXPECT_EQ(changeState(JOB, 2, 1), 5U);
    EXPECT_EQ(m_world.jobs.jobs()[0].state, broker::JobState::TERMINATED);
    EXPECT_EQ(m_world.jobs.jobs()[1].state, broker::JobState::KILLED);
}

TEST_F(Methods, Job_isEndedByOwnerOrWhoMayWrite)
{
    const support::LogCapture log(1);
    runDiagnostic({}, 0);
    m_world.machine.setUser("");
    runDiagnostic({}, 1);
    m_world.storage.isWritable = false;
    for (const char* user : {"OTHER\\admin", "HOST\\guest", ""}) {
        m_world.machine.setUser(user);
        EXPECT_THROW(changeState(JOB, 4, 0), utils::EForbidden) << user;
    }
    EXPECT_THROW(changeState(JOB, 4, 1), utils::EForbidden) << "unknown users are not one user";
    EXPECT_TRUE(m_world.jobs.jobs()[0].isRunning());
    m_world.machine.setUser("HOST\\admin");
    EXPECT_EQ(changeState(JOB, 4, 0), 0U);
    EXPECT_THROW(changeState(JOB, 4, 1), utils::EForbidden);
    m_world.storage.isWritable = true;
    EXPECT_EQ(changeState(JOB, 4, 1), 0U);
}

TEST_F(Methods, RestoreDefaults_withoutNames_restoresAll)
{
    const auto restored = [this](const std::vector<Sent>& arguments) {
        m_world.storage.set("Diagnostics", "Setting", "SampleCount=5;PassThresholdPercent=1");
        EXPECT_EQ(restoreDefaults(arguments), 0U);
        return m_world.storage.values("Diagnostics");
    };
    EXPECT_THAT(restored({}), IsEmpty());
    EXPECT_THAT(restored({null<Names>("Names")}), IsEmpty());
    EXPECT_THAT(restored({sent<Names>("Names", {"samplecount", "*"})}), IsEmpty());
    EXPECT_THAT(restored({sent<Names>("Names", {"samplecount"})}), ElementsAre("Setting=PassThresholdPercent=1"));
}

TEST_F(Methods, RefusedRestore_changesNothing)
{
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=5");
    for (const std::vector<std::string>& names :
         {std::vector<std::string>{}, {"Nothing"}, {"SampleCount", ""}, {"InstanceID"}})
    {
        EXPECT_EQ(restoreDefaults({sent<Names>("Names", names)}), 5U);
    }
    m_world.storage.isWritable = false;
    EXPECT_EQ(restoreDefaults({}), 4U);
    EXPECT_THAT(m_world.storage.values("Diagnostics"), ElementsAre("Setting=SampleCount=5"));
}

TEST_F(Methods, RestoreDefaults_takesAnAdaptersLabelAway)
{
    const std::string key = "Adapters\\" + fakes::adapter(2).guid;
    m_world.storage.set(key, "Setting", "ElementName=Uplink;Tag=7");
    EXPECT_EQ(invoke("Zerix_AdapterSetting", "RestoreDefaults", {sent<Names>("Names", {"Tag"})}, 1), 0U);
    EXPECT_THAT(m_world.storage.values(key), ElementsAre("Setting=ElementName=Uplink"));
    EXPECT_EQ(invoke("Zerix_AdapterSetting", "RestoreDefaults", {}, 1), 0U);
    EXPECT_EQ(m_world.settings.adapterSetting(fakes::adapter(2).guid).elementName, std::nullopt);
}

TEST_F(Methods, UnknownMethod_isNotSupported)
{
    EXPECT_EQ(refusal<wa::EMethodNotSupported>(PORT, "RestoreDefaults", {}),
              "DRAVEv2: EMethodNotSupported:Zerix_EthernetPort has no method RestoreDefaults");
    EXPECT_EQ(refusal<wa::EMethodNotSupported>("Zerix_SoftwareIdentity", "RunLinkDiagnostic", {}),
              "DRAVEv2: EMethodNotSupported:Zerix_SoftwareIdentity has no method RunLinkDiagnostic");
}

}  // namespace
