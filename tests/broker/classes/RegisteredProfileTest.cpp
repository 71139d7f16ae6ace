#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class RegisteredProfile : public fakes::ClassTest
{
protected:
    RegisteredProfile() : ClassTest("Zerix_RegisteredProfile") {}
};

TEST_F(RegisteredProfile, Profile_isTheMakersOwn)
{
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:Profile:EthernetPort", "RegisteredOrganization=1",
                                      "OtherRegisteredOrganization=Vexal", "RegisteredName=Vexal Ethernet Port",
                                      "RegisteredVersion=1.0.0", "AdvertiseTypes={2}"));
}

}  // namespace
