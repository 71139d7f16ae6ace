#include "broker/jobs/LinkDiagnostic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/Fakes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr broker::SteadyTime START{std::chrono::seconds{1}};

class LinkDiagnostic : public testing::Test
{
protected:
    broker::LinkDiagnostic diagnostic(std::uint16_t samples) const { return {m_setting, samples, m_adapter, START}; }

    // The adapter after it has received this many more bytes.
    broker::Adapter later(std::uint64_t received, std::uint64_t transmitted)
    {
        m_adapter.counters.bytesReceived += received;
        m_adapter.counters.bytesTransmitted += transmitted;
        return m_adapter;
    }

    broker::DiagnosticSetting m_setting;
    broker::Adapter m_adapter = fakes::adapter(1);
};

TEST_F(LinkDiagnostic, Bytes_areCountedBetweenSamples)
{
    broker::LinkDiagnostic tested = diagnostic(3);
    EXPECT_TRUE(tested.takeSample(later(5, 1), START));
    EXPECT_TRUE(tested.takeSample(later(0, 0), START));
    EXPECT_TRUE(tested.takeSample(later(7, 2), START));
    EXPECT_THAT(tested.bytesReceived(), ElementsAre(5, 0, 7));
    EXPECT_THAT(tested.bytesTransmitted(), ElementsAre(1, 0, 2));
    EXPECT_TRUE(tested.isComplete());
    EXPECT_EQ(tested.passedPercent(), 100);
    EXPECT_TRUE(tested.isPassed());
    EXPECT_THAT(tested.problems(), IsEmpty());
}

TEST_F(LinkDiagnostic, Bytes_beyondTheRange_areTheMaximum)
{
    broker::LinkDiagnostic tested = diagnostic(2);
    tested.takeSample(later(0xFFFFFFFF, 0x100000000), START);
    tested.takeSample(later(0x100000001, 0), START);
    EXPECT_THAT(tested.bytesReceived(), ElementsAre(0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_THAT(tested.bytesTransmitted(), ElementsAre(0xFFFFFFFF, 0));
}

TEST_F(LinkDiagnostic, RestartedCounter_countsFromZero)
{
    broker::LinkDiagnostic tested = diagnostic(1);
    m_adapter.counters.bytesReceived = 12;
    tested.takeSample(m_adapter, START);
    EXPECT_THAT(tested.bytesReceived(), ElementsAre(12));
}

TEST_F(LinkDiagnostic, Sample_linkDown_fails)
{
    broker::LinkDiagnostic tested = diagnostic(2);
    m_adapter.operational = broker::OperationalState::DOWN;
    tested.takeSample(m_adapter, START);
    m_adapter.operational = broker::OperationalState::UP;
    tested.takeSample(later(1, 1), START);
    EXPECT_THAT(tested.problems(), ElementsAre("Sample 1: the link is down"));
    EXPECT_EQ(tested.passedPercent(), 50);
    EXPECT_FALSE(tested.isPassed());
}

TEST_F(LinkDiagnostic, Sample_withoutCarrier_fails)
{
    broker::LinkDiagnostic tested = diagnostic(1);
    m_adapter.media = broker::MediaState::DISCONNECTED;
    tested.takeSample(later(1, 1), START);
    EXPECT_THAT(tested.problems(), ElementsAre("Sample 1: the link is down"));
    EXPECT_FALSE(tested.isPassed());
}

TEST_F(LinkDiagnostic, Sample_lostPackets_fails)
{
    broker::LinkDiagnostic tested = diagnostic(5);
    const auto sampleAfter = [&](std::uint64_t broker::Counters::*counter, std::uint64_t more) {
        m_adapter.counters.*counter += more;
        m_adapter.counters.unicastPacketsReceived += 100;
        tested.takeSample(later(1, 0), START);
    };
    sampleAfter(&broker::Counters::receiveErrors, 1);
    sampleAfter(&broker::Counters::transmitErrors, 2);
    sampleAfter(&broker::Counters::receiveDiscards, 3);
    sampleAfter(&broker::Counters::transmitDiscards, 4);
    sampleAfter(&broker::Counters::receiveErrors, 0);
    EXPECT_THAT(tested.problems(),
                ElementsAre("Sample 1: 1 packets in error", "Sample 2: 2 packets in error",
                            "Sample 3: 3 of 100 packets discarded", "Sample 4: 4 of 100 packets discarded"));
    EXPECT_EQ(tested.passedPercent(), 20);
}

TEST_F(LinkDiagnostic, FewDiscards_failNoSample)
{
    broker::LinkDiagnostic tested = diagnostic(2);
    m_adapter.counters.receiveDiscards += 1;
    tested.takeSample(later(1, 0), START);
    m_adapter.counters.transmitDiscards += 3;
    m_adapter.counters.nonUnicastPacketsTransmitted += 300;
    tested.takeSample(later(0, 1), START);
    EXPECT_THAT(tested.problems(), IsEmpty());
    EXPECT_EQ(tested.passedPercent(), 100);
}

TEST_F(LinkDiagnostic, RestartOfTheDriver_isNoLoss)
{
    m_adapter.counters.receiveErrors = 10;
    m_adapter.counters.transmitErrors = 10;
    m_adapter.counters.receiveDiscards = 10;
    m_adapter.counters.transmitDiscards = 10;
    broker::LinkDiagnostic tested = diagnostic(1);
    m_adapter.counters = {};
    m_adapter.counters.bytesReceived = 1;
    m_adapter.counters.receiveErrors = 9;
    m_adapter.counters.transmitErrors = 9;
    m_adapter.counters.receiveDiscards = 9;
    m_adapter.counters.transmitDiscards = 9;
    tested.takeSample(m_adapter, START);
    EXPECT_THAT(tested.problems(), IsEmpty());
    EXPECT_TRUE(tested.isPassed());
}

TEST_F(LinkDiagnostic, IdleLink_saysThatNothingWasSeen)
{
    broker::LinkDiagnostic tested = diagnostic(2);
    tested.takeSample(m_adapter, START);
    EXPECT_THAT(tested.problems(), IsEmpty());
    tested.takeSample(m_adapter, START);
    EXPECT_THAT(tested.problems(),
                ElementsAre("Nothing was seen: no byte was received or transmitted during the samples"));
    EXPECT_EQ(tested.passedPercent(), 0);
    // No sample has failed either.
    EXPECT_TRUE(tested.isPassed());
}

TEST_F(LinkDiagnostic, OneSampleWithTraffic_isEnoughToPass)
{
    broker::LinkDiagnostic tested = diagnostic(3);
    tested.takeSample(m_adapter, START);
    tested.takeSample(later(0, 1), START);
    tested.takeSample(m_adapter, START);
    EXPECT_THAT(tested.problems(), IsEmpty());
    EXPECT_EQ(tested.passedPercent(), 100);
}

TEST_F(LinkDiagnostic, Result_dependsOnTheThreshold)
{
    m_setting.passThresholdPercent = 50;
    broker::LinkDiagnostic tested = diagnostic(2);
    m_adapter.operational = broker::OperationalState::DOWN;
    tested.takeSample(m_adapter, START);
    m_adapter.operational = broker::OperationalState::UP;
    // Half of the samples would be enough if the job were complete.
    EXPECT_FALSE(tested.isPassed());
    tested.takeSample(m_adapter, START);
    EXPECT_TRUE(tested.isPassed());
}

TEST_F(LinkDiagnostic, GoneAdapter_givesNoSample)
{
    broker::LinkDiagnostic tested = diagnostic(2);
    EXPECT_FALSE(tested.takeSample(std::nullopt, START));
    EXPECT_FALSE(tested.takeSample(fakes::adapter(2), START));
    EXPECT_THAT(tested.bytesReceived(), IsEmpty());
}

TEST_F(LinkDiagnostic, NextSample_isDueAfterAPeriod)
{
    m_setting.samplePeriod = std::chrono::milliseconds{20};
    broker::LinkDiagnostic tested = diagnostic(2);
    EXPECT_EQ(tested.nextDue(), START + std::chrono::milliseconds{20});
    tested.takeSample(m_adapter, START + std::chrono::milliseconds{500});
    EXPECT_EQ(tested.nextDue(), START + std::chrono::milliseconds{520});
}

TEST_F(LinkDiagnostic, Percentages_areOfTheSamplesToTake)
{
    broker::LinkDiagnostic tested = diagnostic(3);
    EXPECT_EQ(tested.percentComplete(), 0);
    EXPECT_EQ(tested.passedPercent(), 0);
    tested.takeSample(later(1, 1), START);
    EXPECT_EQ(tested.percentComplete(), 33);
    EXPECT_EQ(tested.passedPercent(), 33);
    tested.takeSample(m_adapter, START);
    tested.takeSample(m_adapter, START);
    EXPECT_EQ(tested.percentComplete(), 100);
}

}  // namespace
