#include "broker/classes/SoftwareClasses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/Properties.h"

namespace {

using testing::ElementsAre;

TEST(SoftwareClasses, SoftwareIdentityShowsTheProductsVersion)
{
    broker::DescribedStore<broker::SoftwareRow> store(broker::softwareIdentityClass);
    store.refresh({{}});
    EXPECT_THAT(
        support::values(*store.records()[0].instance),
        ElementsAre("InstanceID=Vexal:Software:DRAVEv2Provider", "MajorVersion=2", "MinorVersion=0", "RevisionNumber=1",
                    "BuildNumber=10", "VersionString=2.0.1.10", "Manufacturer=Vexal", "Classifications={5}"));
}

TEST(SoftwareClasses, ProfileIsThatOfEthernetPorts)
{
    broker::DescribedStore<broker::ProfileRow> store(broker::registeredProfileClass);
    store.refresh({{}});
    EXPECT_THAT(support::values(*store.records()[0].instance),
                ElementsAre("InstanceID=Vexal:Profile:EthernetPort", "RegisteredOrganization=2",
                            "RegisteredName=Ethernet Port", "RegisteredVersion=1.0.1", "AdvertiseTypes={2}"));
}

}  // namespace
