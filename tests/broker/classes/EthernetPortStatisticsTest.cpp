#include "broker/ClassTest.h"

namespace {

// A machine with one adapter, which has counted this.
auto counted(const broker::Counters& counters)
{
    return fakes::only(fakes::adapter(4), &broker::Adapter::counters, counters);
}

TEST(EthernetPortStatistics, Counters_areThoseOfTheAdapter)
{
    fakes::expectShown(
        "Zerix_EthernetPortStatistics",
        {{"each counter", counted({1, 20, 300, 4000, 50000, 600000, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17})},
         {"nothing has moved, so each kind is zero", counted({})},
         {"kinds of bytes that are not counted", counted({.bytesReceived = 1, .bytesTransmitted = 1})},
         {"no multicast, so all of the others are broadcasts",
          counted({.bytesReceived = 100, .nonUnicastPacketsReceived = 2, .broadcastBytesReceived = 100})},
         {"no broadcast, so all of the others are multicasts",
          counted({.bytesReceived = 100, .nonUnicastPacketsReceived = 2, .multicastBytesReceived = 100})}});
}

}  // namespace
