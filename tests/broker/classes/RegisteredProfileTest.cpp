#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class RegisteredProfile : public fakes::ClassTest
{
protected:
    RegisteredProfile() : ClassTest("Zerix_RegisteredProfile") {}
};

TEST_F(RegisteredProfile, Profile_isThatOfEthernetPorts)
{
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:Profile:EthernetPort", "RegisteredOrganization=2",
                                      "RegisteredName=Ethernet Port", "RegisteredVersion=1.0.1", "AdvertiseTypes={2}"));
}

}  // namespace
