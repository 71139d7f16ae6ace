#include "core/CimBroker.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "support/SlotOf.h"

namespace {

using core::CimBroker;

static_assert(std::has_virtual_destructor_v<CimBroker>);
static_assert(std::is_abstract_v<CimBroker>);
static_assert(!std::is_copy_constructible_v<CimBroker>);
static_assert(std::is_same_v<decltype(&CimBroker::getInstances),
                             utils::SafeList<core::CimInstance*> (CimBroker::*)(const std::string&)>);
static_assert(
    std::is_same_v<decltype(&CimBroker::modifyInstance), void (CimBroker::*)(core::CimPath&, core::CimPropertyList&)>);
static_assert(std::is_same_v<decltype(&CimBroker::invokeMethod),
                             std::uint32_t (CimBroker::*)(core::CimPath&, std::string, core::CimPropertyList&,
                                                          core::CimPropertyList&, core::CimInstance*&)>);
static_assert(
    std::is_same_v<decltype(&CimBroker::getInstanceByPath), core::CimInstance* (CimBroker::*)(core::CimPath&)>);

// Both DLLs are compiled for these entries. The destructor occupies the first two.
TEST(CimBrokerTest, VirtualFunctions_areInTheDeclaredOrder)
{
    EXPECT_THAT(support::slotsOf(&CimBroker::getInstances, &CimBroker::modifyInstance, &CimBroker::invokeMethod),
                testing::ElementsAre(2, 3, 4));
}

}  // namespace
