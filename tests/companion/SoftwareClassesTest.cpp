#include "companion/SoftwareClasses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/Properties.h"

namespace {

using testing::ElementsAre;

TEST(SoftwareClasses, SoftwareIdentityShowsTheProductsVersion)
{
    companion::DescribedStore<companion::SoftwareRow> store(companion::softwareIdentityClass);
    store.refresh({{}});
    EXPECT_THAT(
        support::values(*store.records()[0].instance),
        ElementsAre("InstanceID=Vexal:Software:DRAVEv2Provider", "MajorVersion=2", "MinorVersion=0", "RevisionNumber=1",
                    "BuildNumber=10", "VersionString=2.0.1.10", "Manufacturer=Vexal", "Classifications={5}"));
}

TEST(SoftwareClasses, ProfileIsThatOfEthernetPorts)
{
    companion::DescribedStore<companion::ProfileRow> store(companion::registeredProfileClass);
    store.refresh({{}});
    EXPECT_THAT(support::values(*store.records()[0].instance),
                ElementsAre("InstanceID=Vexal:Profile:EthernetPort", "RegisteredOrganization=2",
                            "RegisteredName=Ethernet Port", "RegisteredVersion=1.0.1", "AdvertiseTypes={2}"));
}

}  // namespace
