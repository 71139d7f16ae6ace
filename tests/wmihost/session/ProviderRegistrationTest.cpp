#include "wmihost/session/ProviderRegistration.h"

#include <gtest/gtest.h>

#include "wmihost/FakeProvider.h"
#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

TEST(ProviderRegistration, Registration_isReadFromTheNamespace)
{
    const ClassRepository repository = compiled(FAKE_MOF);
    const auto found = findRegistration(*repository.findNamespace(L"root\\test"), *classIn(repository, L"Fake_Thing"));
    EXPECT_EQ(found.name, L"FakeProvider");
    EXPECT_EQ(found.classId.Data1, 0x5f3c2a10U);
    EXPECT_TRUE(found.supportsGet);
    EXPECT_TRUE(found.supportsPut);
    EXPECT_TRUE(found.supportsEnumeration);
    EXPECT_FALSE(found.supportsDelete);
    EXPECT_TRUE(found.supportsMethods);
}

}  // namespace
}  // namespace wmihost
