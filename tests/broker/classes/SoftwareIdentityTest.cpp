#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class SoftwareIdentity : public fakes::ClassTest
{
protected:
    SoftwareIdentity() : ClassTest("Zerix_SoftwareIdentity") {}
};

TEST_F(SoftwareIdentity, Version_isTheProducts)
{
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:Software:DRAVEv2Provider", "MajorVersion=2", "MinorVersion=0",
                                      "RevisionNumber=1", "BuildNumber=10", "VersionString=2.0.1.10",
                                      "Manufacturer=Vexal", "Classifications={5}"));
}

}  // namespace
