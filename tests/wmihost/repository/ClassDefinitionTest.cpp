#include "wmihost/repository/ClassDefinition.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

constexpr long TO_INSTANCE = WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE;
constexpr long TO_DERIVED = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;

Qualifiers sample()
{
    return {{L"Plain", CIM_STRING, Variant::ofText(L"text"), 0},
            {L"Yes", CIM_BOOLEAN, Variant::ofBool(true), TO_DERIVED},
            {L"No", CIM_BOOLEAN, Variant::ofBool(false), TO_INSTANCE | TO_DERIVED}};
}

std::vector<std::wstring> namesOf(const Qualifiers& qualifiers)
{
    std::vector<std::wstring> names;
    for (const Qualifier& qualifier : qualifiers) {
        names.push_back(qualifier.name);
    }
    return names;
}

TEST(ClassDefinition, Qualifier_isFoundWithoutCase)
{
    ASSERT_NE(findQualifier(sample(), L"plain"), nullptr);
    EXPECT_EQ(findQualifier(sample(), L"Other"), nullptr);
    EXPECT_TRUE(hasQualifier(sample(), L"YES"));
    EXPECT_FALSE(hasQualifier(sample(), L"No"));
    EXPECT_FALSE(hasQualifier(sample(), L"Plain"));
    EXPECT_EQ(qualifierText(sample(), L"Plain"), L"text");
    EXPECT_EQ(qualifierText(sample(), L"Yes"), L"");
}

TEST(ClassDefinition, Qualifier_propagatesByItsFlavor)
{
    EXPECT_EQ(namesOf(propagated(sample(), TO_DERIVED)), (std::vector<std::wstring>{L"Yes", L"No"}));
    EXPECT_EQ(namesOf(propagated(sample(), TO_INSTANCE)), (std::vector<std::wstring>{L"No"}));
    EXPECT_EQ(propagated(sample(), TO_INSTANCE).front().flavor,
              TO_INSTANCE | TO_DERIVED | WBEM_FLAVOR_ORIGIN_PROPAGATED);
}

TEST(ClassDefinition, TypeOfAReference_namesItsClass)
{
    EXPECT_EQ(qualifierText(standardQualifiers(CIM_REFERENCE, L"A"), L"CIMTYPE"), L"ref:A");
    EXPECT_EQ(qualifierText(standardQualifiers(CIM_UINT16 | CIM_FLAG_ARRAY, L""), L"CIMTYPE"), L"uint16");
}

constexpr const char* MOF = R"(
class Base { [key] string Name; uint16 Count = 5; uint32 Start(); };
class Middle : Base { uint16 Count = 6; };
class Last : Middle { };
)";

TEST(ClassDefinition, Member_isFoundWithoutCase)
{
    const ClassRepository repository = compiled(MOF);
    const ClassDefinition& last = *classIn(repository, L"Last");
    EXPECT_EQ(last.indexOf(L"COUNT"), 1);
    EXPECT_EQ(last.indexOf(L"Nope"), -1);
    EXPECT_EQ(last.findProperty(L"Nope"), nullptr);
    ASSERT_NE(last.findMethod(L"start"), nullptr);
    EXPECT_EQ(last.findMethod(L"Stop"), nullptr);
    EXPECT_TRUE(last.inheritsFrom(L"base"));
    EXPECT_TRUE(last.inheritsFrom(L"Last"));
    EXPECT_FALSE(classIn(repository, L"Base")->inheritsFrom(L"Middle"));
}

TEST(ClassDefinition, Override_knowsWhatItOverrides)
{
    const ClassRepository repository = compiled(MOF);
    const Property* overriding = classIn(repository, L"Middle")->findProperty(L"Count");
    ASSERT_TRUE(overriding->overridden);
    EXPECT_EQ(overriding->overridden->defaultValue.get().lVal, 5);
    EXPECT_FALSE(overriding->overridden->local);
    // The next class inherits the value and overrides nothing.
    const Property* inherited = classIn(repository, L"Last")->findProperty(L"Count");
    EXPECT_EQ(inherited->defaultValue.get().lVal, 6);
    EXPECT_FALSE(inherited->overridden);
    EXPECT_FALSE(inherited->local);
}

TEST(ClassDefinition, NewInstance_hasTheDefaults)
{
    const ClassRepository repository = compiled(MOF);
    const InstanceData data(classIn(repository, L"Middle"));
    ASSERT_EQ(data.values.size(), 2U);
    EXPECT_TRUE(data.values[0].isNull());
    EXPECT_EQ(data.values[1].get().lVal, 6);
}

}  // namespace
}  // namespace wmihost
