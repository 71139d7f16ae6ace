#include "wmihost/repository/ClassDefinition.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace wmihost
