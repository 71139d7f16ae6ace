#include "wmihost/com/EmptyContext.h"

#include <gtest/gtest.h>

#include "wmihost/com/Guard.h"
#include "wmihost/com/Variant.h"

namespace wmihost {
namespace {

constexpr HRESULT OK = code(WBEM_S_NO_ERROR);

class EmptyContextTest : public testing::Test
{
protected:
    const ComPtr<EmptyContext> context = ComPtr<EmptyContext>::adopt(new EmptyContext);
};

TEST_F(EmptyContextTest, Context_holdsNothing)
{
    Variant names;
    ASSERT_EQ(context->GetNames(0, &names.put()->parray), OK);
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(names.get().parray, &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    names.in()->vt = VT_ARRAY | VT_BSTR;
    EXPECT_TRUE(elementsOf(names.get()).empty());
    Bstr name;
    EXPECT_EQ(context->BeginEnumeration(0), OK);
    EXPECT_EQ(context->Next(0, name.put(), nullptr), code(WBEM_S_NO_MORE_DATA));
    EXPECT_EQ(name.get(), nullptr);
    EXPECT_EQ(context->EndEnumeration(), OK);
    EXPECT_EQ(context->GetValue(L"__ProviderArchitecture", 0, nullptr), code(WBEM_E_NOT_FOUND));
}

TEST_F(EmptyContextTest, Value_isNotTaken)
{
    const Variant value = Variant::ofLong(64);
    EXPECT_EQ(context->SetValue(L"__ProviderArchitecture", 0, value.in()), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(context->DeleteValue(L"__ProviderArchitecture", 0), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(context->DeleteAll(), OK);
}

TEST_F(EmptyContextTest, Clone_isAnotherContext)
{
    ComPtr<IWbemContext> copy;
    ASSERT_EQ(context->Clone(copy.put()), OK);
    EXPECT_NE(copy.get(), context.get());
    EXPECT_EQ(copy->DeleteAll(), OK);
}

TEST_F(EmptyContextTest, NullPointer_isAnInvalidParameter)
{
    EXPECT_EQ(context->Clone(nullptr), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(context->GetNames(0, nullptr), code(WBEM_E_INVALID_PARAMETER));
}

}  // namespace
}  // namespace wmihost
