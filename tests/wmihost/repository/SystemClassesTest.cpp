#include "wmihost/repository/SystemClasses.h"

#include <gtest/gtest.h>

#include "wmihost/mof/MofText.h"

namespace wmihost {
namespace {

class SystemClassesTest : public testing::Test
{
protected:
    SystemClassesTest() { addSystemClasses(nameSpace); }

    Namespace nameSpace{L"root\\test"};
};

TEST_F(SystemClassesTest, AreThoseOfARegistration)
{
    std::vector<std::wstring> lineage;
    for (const ClassPointer& definition : nameSpace.classes()) {
        lineage.push_back(definition->name +
                          (definition->ancestors.empty() ? L"" : L" : " + definition->ancestors.front()));
        EXPECT_EQ(definition->nameSpace, L"root\\test");
    }
    EXPECT_EQ(lineage, (std::vector<std::wstring>{L"__SystemClass", L"__PARAMETERS", L"__NAMESPACE : __SystemClass",
                                                  L"__Provider : __SystemClass", L"__Win32Provider : __Provider",
                                                  L"__ProviderRegistration : __SystemClass",
                                                  L"__ObjectProviderRegistration : __ProviderRegistration",
                                                  L"__InstanceProviderRegistration : __ObjectProviderRegistration",
                                                  L"__MethodProviderRegistration : __ProviderRegistration"}));
}

TEST_F(SystemClassesTest, HaveTheKeysByWhichTheyAreFound)
{
    EXPECT_TRUE(nameSpace.findClass(L"__Win32Provider")->findProperty(L"Name")->isKey());
    EXPECT_TRUE(nameSpace.findClass(L"__MethodProviderRegistration")->findProperty(L"Provider")->isKey());
    EXPECT_TRUE(nameSpace.findClass(L"__NAMESPACE")->findProperty(L"Name")->isKey());
}

TEST_F(SystemClassesTest, AProviderSupportsOnlyWhatItsRegistrationSays)
{
    EXPECT_EQ(classText(*nameSpace.findClass(L"__ObjectProviderRegistration"), false),
              L"class __ObjectProviderRegistration : __ProviderRegistration\n"
              L"{\n"
              L"    sint32 InteractionType = 0;\n"
              L"    string QuerySupportLevels[];\n"
              L"    boolean SupportsBatching = FALSE;\n"
              L"    boolean SupportsDelete = FALSE;\n"
              L"    boolean SupportsEnumeration = FALSE;\n"
              L"    boolean SupportsGet = FALSE;\n"
              L"    boolean SupportsPut = FALSE;\n"
              L"    boolean SupportsTransactions = FALSE;\n"
              L"};\n");
}

}  // namespace
}  // namespace wmihost
