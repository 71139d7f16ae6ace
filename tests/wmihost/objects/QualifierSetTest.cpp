#include "wmihost/objects/QualifierSet.h"

#include <gtest/gtest.h>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

constexpr HRESULT OK = code(WBEM_S_NO_ERROR);

class QualifierSetTest : public testing::Test
{
protected:
    ComPtr<IWbemQualifierSet> set = ComPtr<IWbemQualifierSet>::adopt(
        new QualifierSet({{L"first", CIM_BOOLEAN, Variant::ofBool(true), WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE},
                          {L"second", CIM_STRING, Variant::ofText(L"text"), WBEM_FLAVOR_ORIGIN_PROPAGATED}}));
    Variant value;
    Bstr name;
    LONG flavor = -1;
};

TEST_F(QualifierSetTest, Get_findsANameWithoutCase)
{
    EXPECT_EQ(set->Get(L"SECOND", 0, value.put(), &flavor), OK);
    EXPECT_EQ(viewOf(value.get().bstrVal), L"text");
    EXPECT_EQ(flavor, WBEM_FLAVOR_ORIGIN_PROPAGATED);
    EXPECT_EQ(set->Get(L"first", 0, nullptr, nullptr), OK);
}

TEST_F(QualifierSetTest, Get_ofAnUnknownName_isRefused)
{
    EXPECT_EQ(set->Get(L"third", 0, value.put(), nullptr), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(set->Get(nullptr, 0, value.put(), nullptr), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(set->Get(L"first", 1, value.put(), nullptr), code(WBEM_E_INVALID_PARAMETER));
}

TEST_F(QualifierSetTest, Enumeration_selectsByOrigin)
{
    EXPECT_EQ(set->Next(0, nullptr, nullptr, nullptr), code(WBEM_E_UNEXPECTED));
    ASSERT_EQ(set->BeginEnumeration(WBEM_FLAG_PROPAGATED_ONLY), OK);
    EXPECT_EQ(set->BeginEnumeration(0), code(WBEM_E_UNEXPECTED));
    ASSERT_EQ(set->Next(0, name.put(), value.put(), &flavor), OK);
    EXPECT_EQ(name.view(), L"second");
    EXPECT_EQ(set->Next(0, nullptr, nullptr, nullptr), code(WBEM_S_NO_MORE_DATA));
    EXPECT_EQ(set->EndEnumeration(), OK);
    ASSERT_EQ(set->BeginEnumeration(WBEM_FLAG_LOCAL_ONLY), OK);
    ASSERT_EQ(set->Next(0, name.put(), nullptr, nullptr), OK);
    EXPECT_EQ(name.view(), L"first");
    EXPECT_EQ(set->EndEnumeration(), OK);
    EXPECT_EQ(set->BeginEnumeration(WBEM_FLAG_KEYS_ONLY), code(WBEM_E_INVALID_PARAMETER));
}

TEST_F(QualifierSetTest, GetNames_deliversAnArrayOfTexts)
{
    VARIANT* slot = value.put();
    ASSERT_EQ(set->GetNames(0, &slot->parray), OK);
    slot->vt = VT_ARRAY | VT_BSTR;
    EXPECT_TRUE(sameValue(value.get(), Variant::ofTexts({L"first", L"second"}).get()));
    EXPECT_EQ(set->GetNames(0, nullptr), code(WBEM_E_INVALID_PARAMETER));
}

TEST_F(QualifierSetTest, Change_isNotSupported)
{
    EXPECT_EQ(set->Put(L"first", value.in(), 0), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(set->Delete(L"first"), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(set->Get(L"first", 0, value.put(), nullptr), OK);
}

}  // namespace
}  // namespace wmihost
