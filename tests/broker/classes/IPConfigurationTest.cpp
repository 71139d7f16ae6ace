#include "broker/ClassTest.h"

namespace {

TEST(IPConfiguration, Configuration_showsAllThereIs)
{
    broker::IpConfiguration bare;
    bare.adapterGuid = fakes::adapter(4).guid;
    fakes::expectShown("Zerix_IPConfiguration", {{"each field", fakes::only(fakes::ipConfiguration(4))},
                                                 {"nothing but the adapter", fakes::only(bare)}});
}

}  // namespace
