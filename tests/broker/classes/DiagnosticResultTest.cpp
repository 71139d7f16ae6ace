#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class DiagnosticResult : public fakes::ClassTest
{
protected:
    DiagnosticResult() : ClassTest("Zerix_DiagnosticResult") { m_world.adapters.set({m_adapter}); }

    void start(std::uint16_t samples) { m_world.jobs.startDiagnostic(m_adapter, {}, samples); }

    void takeSample()
    {
        m_world.machine.pass(std::chrono::seconds{1});
        m_world.adapters.set({m_adapter});
        m_world.thread.play();
    }

    broker::Adapter m_adapter = fakes::adapter(1);
};

TEST_F(DiagnosticResult, Result_showsWhatWasFound)
{
    start(2);
    m_adapter.counters.bytesReceived += 1;
    m_adapter.counters.bytesTransmitted += 3;
    takeSample();
    m_adapter.counters.bytesReceived += 2;
    m_adapter.counters.bytesTransmitted += 4;
    takeSample();
    EXPECT_THAT(values(),
                ElementsAre("InstanceID=Vexal:DiagnosticResult:1700000000000000-1",
                            R"(ManagedElement=Zerix_EthernetPort.SystemCreationClassName="Win32_ComputerSystem",)"
                            R"(SystemName="HOST",CreationClassName="Zerix_EthernetPort",)"
                            R"(DeviceID="{00000001-0000-0000-0000-000000000000}")",
                            "JobInstanceID=Vexal:Job:1700000000000000-1", "CompletionState=2", "PassedPercent=100",
                            "StartTime=at 1700000000000000", "Duration=for 2000000", "SampleBytesReceived={1, 2}",
                            "SampleBytesTransmitted={3, 4}", "ErrorMessages=null"));
}

TEST_F(DiagnosticResult, GoneAdapter_leavesNoPort)
{
    start(1);
    takeSample();
    m_world.adapters.set(std::vector<broker::Adapter>());
    EXPECT_EQ(value("ManagedElement"), "null");
}

TEST_F(DiagnosticResult, LinkWithoutTraffic_isAWarning)
{
    start(1);
    takeSample();
    EXPECT_EQ(value("CompletionState"), "3");
}

TEST_F(DiagnosticResult, LinkThatIsDown_hasFailed)
{
    start(1);
    m_adapter.operational = broker::OperationalState::DOWN;
    takeSample();
    EXPECT_EQ(value("CompletionState"), "5");
}

TEST_F(DiagnosticResult, LostAdapter_leavesItIncomplete)
{
    start(2);
    m_world.machine.pass(std::chrono::seconds{1});
    m_world.adapters.set(std::vector<broker::Adapter>());
    m_world.thread.play();
    EXPECT_EQ(value("CompletionState"), "4");
    EXPECT_EQ(value("ErrorMessages"), "{The adapter is gone or cannot be read}");
}

TEST_F(DiagnosticResult, KilledJob_leavesItAborted)
{
    start(2);
    m_world.jobs.end("Vexal:Job:1700000000000000-1", broker::JobState::KILLED);
    EXPECT_EQ(value("CompletionState"), "6");
}

}  // namespace
