#include "broker/ClassTest.h"

namespace {

TEST(SoftwareIdentity, Version_isTheProducts)
{
    fakes::expectShown("Zerix_SoftwareIdentity", {{"the only one", [](fakes::World&) {}}});
}

}  // namespace
