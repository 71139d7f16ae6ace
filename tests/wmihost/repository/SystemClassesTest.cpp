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

// The class and its base classes: "A : B : C".
std::wstring lineage(const Namespace& nameSpace, std::wstring_view name)
{
    const ClassPointer definition = nameSpace.findClass(name);
    std::wstring text = definition ? definition->name : L"no such class";
    for (const std::wstring& ancestor : definition ? definition->ancestors : std::vector<std::wstring>()) {
        text += L" : " + ancestor;
    }
    return text;
}

TEST_F(SystemClassesTest, Classes_standInTheirHierarchy)
{
    for (const wchar_t* expected :
         {L"__NAMESPACE : __SystemClass", L"__PARAMETERS", L"__Win32Provider : __Provider : __SystemClass",
          L"__InstanceProviderRegistration : __ObjectProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__ClassProviderRegistration : __ObjectProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__MethodProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__PropertyProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__EventProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__EventConsumerProviderRegistration : __ProviderRegistration : __SystemClass",
          L"__ExtrinsicEvent : __Event : __IndicationRelated : __SystemClass",
          L"__InstanceModificationEvent : __InstanceOperationEvent : __Event : __IndicationRelated : __SystemClass",
          L"__QOSFailureEvent : __EventDroppedEvent : __SystemEvent : __ExtrinsicEvent : __Event : "
          L"__IndicationRelated : __SystemClass",
          L"__EventFilter : __IndicationRelated : __SystemClass",
          L"__FilterToConsumerBinding : __IndicationRelated : __SystemClass",
          L"__IntervalTimerInstruction : __TimerInstruction : __EventGenerator : __IndicationRelated : __SystemClass",
          L"__ExtendedStatus : __NotifyStatus", L"__SecurityDescriptor : __SecurityRelatedClass"})
    {
        const std::wstring text = expected;
        EXPECT_EQ(lineage(nameSpace, text.substr(0, text.find(L' '))), text);
    }
}

TEST_F(SystemClassesTest, Classes_nameSuperclassAndNamespace)
{
    EXPECT_EQ(nameSpace.classes().size(), 51U);
    for (const ClassPointer& definition : nameSpace.classes()) {
        EXPECT_EQ(definition->nameSpace, L"root\\test");
        for (const std::wstring& ancestor : definition->ancestors) {
            EXPECT_NE(nameSpace.findClass(ancestor), nullptr);
        }
        for (const Property& property : definition->properties) {
            EXPECT_TRUE(property.className.empty() || nameSpace.findClass(property.className));
        }
    }
}

TEST_F(SystemClassesTest, Classes_haveTheirKeys)
{
    EXPECT_TRUE(nameSpace.findClass(L"__Win32Provider")->findProperty(L"Name")->isKey());
    EXPECT_TRUE(nameSpace.findClass(L"__MethodProviderRegistration")->findProperty(L"Provider")->isKey());
    EXPECT_TRUE(nameSpace.findClass(L"__NAMESPACE")->findProperty(L"Name")->isKey());
}

TEST_F(SystemClassesTest, Registration_supportsOnlyWhatItSays)
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
