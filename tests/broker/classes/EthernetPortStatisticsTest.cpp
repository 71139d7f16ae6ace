#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class EthernetPortStatistics : public fakes::ClassTest
{
protected:
    EthernetPortStatistics() : ClassTest("Zerix_EthernetPortStatistics") {}

    std::vector<std::string> statistics()
    {
        m_world.adapters.set({m_adapter});
        return values();
    }

    std::string statistic(const std::string& name)
    {
        m_world.adapters.set({m_adapter});
        return value(name);
    }

    broker::Adapter m_adapter = fakes::adapter(4);
};

TEST_F(EthernetPortStatistics, Counters_areThoseOfTheAdapter)
{
    m_adapter.counters = {1, 20, 300, 4000, 50000, 600000, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
    EXPECT_THAT(
        statistics(),
        ElementsAre("InstanceID=Vexal:PortStatistics:{00000004-0000-0000-0000-000000000000}", "BytesTotal=21",
                    "BytesReceived=1", "BytesTransmitted=20", "PacketsReceived=50300", "PacketsTransmitted=604000",
                    "UnicastPacketsReceived=300", "UnicastPacketsTransmitted=4000", "MulticastPacketsReceived=null",
                    "MulticastPacketsTransmitted=null", "BroadcastPacketsReceived=null",
                    "BroadcastPacketsTransmitted=null", "UnicastBytesReceived=12", "UnicastBytesTransmitted=13",
                    "MulticastBytesReceived=14", "MulticastBytesTransmitted=15", "BroadcastBytesReceived=16",
                    "BroadcastBytesTransmitted=17", "UnknownProtocolPacketsReceived=11", "TotalRxErrors=7",
                    "TotalTxErrors=8", "RxDiscards=9", "TxDiscards=10", "StatisticTime=at 1700000000000000"));
}

TEST_F(EthernetPortStatistics, Kinds_thatAreNotCounted_areNull)
{
    m_adapter.counters = {};
    m_adapter.counters.bytesReceived = 1;
    m_adapter.counters.bytesTransmitted = 1;
    for (const char* direction : {"Received", "Transmitted"}) {
        EXPECT_EQ(statistic(std::string("UnicastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("MulticastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("BroadcastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("MulticastPackets") + direction), "null");
        EXPECT_EQ(statistic(std::string("BroadcastPackets") + direction), "null");
    }
}

TEST_F(EthernetPortStatistics, Kinds_beforeAnythingMoved_areZero)
{
    m_adapter.counters = {};
    EXPECT_EQ(statistic("BroadcastBytesReceived"), "0");
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "0");
    EXPECT_EQ(statistic("BroadcastPacketsTransmitted"), "0");
}

TEST_F(EthernetPortStatistics, OneKind_thatNeverCame_provesTheOther)
{
    m_adapter.counters = {};
    m_adapter.counters.bytesReceived = 100;
    m_adapter.counters.broadcastBytesReceived = 100;
    m_adapter.counters.nonUnicastPacketsReceived = 2;
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "0");
    EXPECT_EQ(statistic("BroadcastPacketsReceived"), "2");
    std::swap(m_adapter.counters.broadcastBytesReceived, m_adapter.counters.multicastBytesReceived);
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "2");
    EXPECT_EQ(statistic("BroadcastPacketsReceived"), "0");
}

}  // namespace
