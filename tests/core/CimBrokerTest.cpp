#include "core/CimBroker.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/SlotOf.h"

namespace {

static_assert(std::has_virtual_destructor_v<core::CimBroker>);
static_assert(std::is_abstract_v<core::CimBroker>);
static_assert(!std::is_copy_constructible_v<core::CimBroker>);
static_assert(std::is_same_v<decltype(&core::CimBroker::getInstances),
                             utils::SafeList<core::CimInstance*> (core::CimBroker::*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&core::CimBroker::modifyInstance),
                             void (core::CimBroker::*)(core::CimPath&, core::CimPropertyList&)>);
static_assert(std::is_same_v<decltype(&core::CimBroker::invokeMethod),
                             std::uint32_t (core::CimBroker::*)(core::CimPath&, std::string, core::CimPropertyList&,
                                                                core::CimPropertyList&, core::CimInstance*&)>);
static_assert(std::is_same_v<decltype(&core::CimBroker::getInstanceByPath),
                             core::CimInstance* (core::CimBroker::*)(core::CimPath&)>);

// Both DLLs are compiled for these entries. The destructor occupies the first two.
TEST(CimBrokerTest, VirtualFunctions_areInTheDeclaredOrder)
{
    EXPECT_EQ(support::slotOf(&core::CimBroker::getInstances), 2U);
    EXPECT_EQ(support::slotOf(&core::CimBroker::modifyInstance), 3U);
    EXPECT_EQ(support::slotOf(&core::CimBroker::invokeMethod), 4U);
}

}  // namespace
