#include "broker/ClassTest.h"

namespace {

TEST(RegisteredProfile, Profile_isTheMakersOwn)
{
    fakes::expectShown("Zerix_RegisteredProfile", {{"the only one", [](fakes::World&) {}}});
}

}  // namespace
