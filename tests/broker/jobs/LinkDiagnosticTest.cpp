#include "broker/jobs/LinkDiagnostic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/Fakes.h"
#include "support/Baseline.h"

namespace {

using broker::Adapter;
using broker::Counters;

constexpr broker::SteadyTime START{std::chrono::seconds{1}};

// What happens to the adapter before a sample.
using Change = std::function<void(Adapter&)>;

void nothing(Adapter& /*adapter*/) {}

// Packets are lost while others, and a byte, are moved.
Change lost(std::uint64_t Counters::*counter, std::uint64_t losses, std::uint64_t packets = 100,
            std::uint64_t Counters::*moved = &Counters::unicastPacketsReceived)
{
    return [=](Adapter& adapter) {
        adapter.counters.*counter += losses;
        adapter.counters.*moved += packets;
        ++adapter.counters.bytesReceived;
    };
}

Change moved(std::uint64_t received, std::uint64_t transmitted)
{
    return [=](Adapter& adapter) {
        adapter.counters.bytesReceived += received;
        adapter.counters.bytesTransmitted += transmitted;
    };
}

Change link(broker::OperationalState operational, broker::MediaState media = broker::MediaState::CONNECTED)
{
    return [=](Adapter& adapter) {
        adapter.operational = operational;
        adapter.media = media;
        ++adapter.counters.bytesReceived;
    };
}

// Driver and counters start again.
Change restarted(std::uint64_t bytes, std::uint64_t losses)
{
    return [=](Adapter& adapter) {
        adapter.counters = {.bytesReceived = bytes,
                            .receiveErrors = losses,
                            .transmitErrors = losses,
                            .receiveDiscards = losses,
                            .transmitDiscards = losses};
    };
}

struct Case
{
    const char* name;
    std::uint16_t samples;
    std::vector<Change> changes;
    std::uint8_t threshold = 90;
};

std::string numbers(const std::vector<std::uint32_t>& values)
{
    return testing::PrintToString(values);
}

// What the diagnostic has found after its samples so far.
void describe(const broker::LinkDiagnostic& diagnostic, std::vector<std::string>& lines)
{
    lines.push_back("  received " + numbers(diagnostic.bytesReceived()) + ", transmitted " +
                    numbers(diagnostic.bytesTransmitted()));
    lines.push_back("  complete " + std::to_string(diagnostic.percentComplete()) + " %, passed " +
                    std::to_string(diagnostic.passedPercent()) +
                    " %: " + (diagnostic.isComplete() ? "" : "unfinished, ") +
                    (diagnostic.isPassed() ? "passed" : "not passed"));
    for (const std::string& problem : diagnostic.problems()) {
        lines.push_back("  " + problem);
    }
}

TEST(LinkDiagnostic, Samples_areJudgedAsInTheirFile)
{
    using enum broker::OperationalState;
    constexpr std::uint64_t MOST = 0xFFFFFFFF;
    const std::vector<Case> cases{
        {"traffic in two of three samples", 3, {moved(5, 1), &nothing, moved(7, 2)}},
        {"bytes beyond the range, which are shown as the maximum", 2, {moved(MOST, MOST + 1), moved(MOST + 2, 0)}},
        {"a counter that restarts counts from zero", 1, {restarted(12, 0)}},
        {"a restart of the driver is no loss", 1, {restarted(1, 9)}},
        {"link down in one of two samples", 2, {link(DOWN), link(UP)}},
        {"link down, which the threshold allows when all samples are taken", 2, {link(UP), link(DOWN)}, 50},
        {"no carrier", 1, {link(UP, broker::MediaState::DISCONNECTED)}},
        {"lost packets of each kind",
         5,
         {lost(&Counters::receiveErrors, 1), lost(&Counters::transmitErrors, 2), lost(&Counters::receiveDiscards, 3),
          lost(&Counters::transmitDiscards, 4), lost(&Counters::receiveErrors, 0)}},
        {"one discard, or three of three hundred",
         2,
         {lost(&Counters::receiveDiscards, 1, 0),
          lost(&Counters::transmitDiscards, 3, 300, &Counters::nonUnicastPacketsTransmitted)}},
        {"an idle link, where no sample fails", 2, {&nothing, &nothing}},
        {"traffic in one sample is enough", 3, {&nothing, moved(0, 1), &nothing}}};
    std::vector<std::string> lines;
    for (const Case& tested : cases) {
        lines.push_back(std::string("== ") + tested.name);
        Adapter adapter = fakes::adapter(1);
        adapter.counters = {.bytesReceived = 1000,
                            .receiveErrors = 10,
                            .transmitErrors = 10,
                            .receiveDiscards = 10,
                            .transmitDiscards = 10};
        broker::DiagnosticSetting setting;
        setting.passThresholdPercent = tested.threshold;
        broker::LinkDiagnostic diagnostic(setting, tested.samples, adapter, START);
        for (const Change& change : tested.changes) {
            change(adapter);
            EXPECT_TRUE(diagnostic.takeSample(adapter, START));
            describe(diagnostic, lines);
        }
    }
    support::expectBaseline(ZERIX_SOURCE_DIR "/tests/broker/jobs/LinkDiagnostic.txt", lines);
}

TEST(LinkDiagnostic, GoneAdapter_givesNoSample)
{
    broker::LinkDiagnostic tested({}, 2, fakes::adapter(1), START);
    EXPECT_FALSE(tested.takeSample(std::nullopt, START));
    EXPECT_FALSE(tested.takeSample(fakes::adapter(2), START));
    EXPECT_THAT(tested.bytesReceived(), testing::IsEmpty());
}

TEST(LinkDiagnostic, NextSample_isDueAfterAPeriod)
{
    broker::DiagnosticSetting setting;
    setting.samplePeriod = std::chrono::milliseconds{20};
    broker::LinkDiagnostic tested(setting, 2, fakes::adapter(1), START);
    EXPECT_EQ(tested.nextDue(), START + std::chrono::milliseconds{20});
    tested.takeSample(fakes::adapter(1), START + std::chrono::milliseconds{500});
    EXPECT_EQ(tested.nextDue(), START + std::chrono::milliseconds{520});
}

}  // namespace
