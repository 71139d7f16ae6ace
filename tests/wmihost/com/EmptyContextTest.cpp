#include "wmihost/com/EmptyContext.h"

#include <gtest/gtest.h>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

class EmptyContextTest : public testing::Test
{
protected:
    const ComPtr<EmptyContext> m_context = ComPtr<EmptyContext>::adopt(new EmptyContext);
};

TEST_F(EmptyContextTest, Names_areNone)
{
    SAFEARRAY* names = nullptr;
    ASSERT_EQ(m_context->GetNames(0, &names), 0);
    VARTYPE type = VT_EMPTY;
    SafeArrayGetVartype(names, &type);
    EXPECT_EQ(type, VT_BSTR);
    LONG upper = 0;
    SafeArrayGetUBound(names, 1, &upper);
    EXPECT_EQ(upper, -1);
    SafeArrayDestroy(names);
}

TEST_F(EmptyContextTest, Enumeration_endsAtOnce)
{
    BSTR name = nullptr;
    EXPECT_EQ(m_context->BeginEnumeration(0), 0);
    EXPECT_EQ(m_context->Next(0, &name, nullptr), code(WBEM_S_NO_MORE_DATA));
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(m_context->EndEnumeration(), 0);
}

TEST_F(EmptyContextTest, Value_isNotFoundAndNotTaken)
{
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(m_context->SetValue(L"__ProviderArchitecture", 0, &value), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(m_context->GetValue(L"__ProviderArchitecture", 0, &value), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(m_context->DeleteValue(L"__ProviderArchitecture", 0), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(m_context->DeleteAll(), 0);
}

TEST_F(EmptyContextTest, Clone_isAnotherContext)
{
    ComPtr<IWbemContext> copy;
    ASSERT_EQ(m_context->Clone(copy.put()), 0);
    EXPECT_NE(copy.get(), m_context.get());
    EXPECT_EQ(copy->DeleteAll(), 0);
}

TEST_F(EmptyContextTest, NullPointer_isAnInvalidParameter)
{
    EXPECT_EQ(m_context->Clone(nullptr), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(m_context->GetNames(0, nullptr), code(WBEM_E_INVALID_PARAMETER));
}

}  // namespace
}  // namespace wmihost
