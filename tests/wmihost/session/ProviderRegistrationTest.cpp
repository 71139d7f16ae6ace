#include "wmihost/session/ProviderRegistration.h"

#include <gtest/gtest.h>

#include "wmihost/FakeProvider.h"
#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"

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

void expectRefusal(const char* mof, const wchar_t* className, HRESULT status, const char* message)
{
    const ClassRepository repository = compiled(mof);
    try {
        findRegistration(*repository.findNamespace(L"root\\test"), *classIn(repository, className));
        FAIL() << "the registration was accepted";
    } catch (const RequestError& error) {
        EXPECT_EQ(error.status(), status);
        EXPECT_STREQ(error.what(), message);
    }
}

TEST(ProviderRegistration, Provider_notRegistered_isRefused)
{
    expectRefusal(FAKE_MOF, L"Fake_Stray", code(WBEM_E_PROVIDER_NOT_FOUND),
                  "the provider AbsentProvider of the class Fake_Stray is not registered in root\\test");
}

TEST(ProviderRegistration, Class_withoutAProvider_isRefused)
{
    expectRefusal(FAKE_MOF, L"Fake_Orphan", code(WBEM_E_PROVIDER_NOT_FOUND), "the class Fake_Orphan names no provider");
}

TEST(ProviderRegistration, Registration_withoutAClassId_isRefused)
{
    expectRefusal("instance of __Win32Provider { Name = \"P\"; CLSID = \"none\"; };\n[provider(\"P\")] class C { };",
                  L"C", code(WBEM_E_INVALID_PROVIDER_REGISTRATION),
                  "the provider P is registered with 'none', which is no CLSID");
}

}  // namespace
}  // namespace wmihost
