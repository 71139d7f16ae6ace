#include "wmihost/com/NamespaceServices.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/objects/ObjectReader.h"

namespace wmihost {
namespace {

class NamespaceServicesTest : public testing::Test
{
protected:
    HRESULT getObject(const wchar_t* path, LONG flags = 0)
    {
        return services->GetObject(Bstr(path).get(), flags, nullptr, object.put(), nullptr);
    }

    const ClassRepository repository = compiled(
        "class Here { [key] string K; };\n#pragma namespace(\"root\\\\other\")\nclass There { [key] string K; };");
    const ComPtr<IWbemServices> services =
        ComPtr<IWbemServices>::adopt(new NamespaceServices(repository, *repository.findNamespace(L"root\\test")));
    ComPtr<IWbemClassObject> object;
};

TEST_F(NamespaceServicesTest, Class_isServedByNameWithoutCase)
{
    EXPECT_EQ(getObject(L"hERE"), 0);
    EXPECT_EQ(textOf(*object.get(), L"__CLASS"), L"Here");
    EXPECT_EQ(getObject(L"Here", WBEM_FLAG_USE_AMENDED_QUALIFIERS), 0);
}

TEST_F(NamespaceServicesTest, ClassOfAnotherNamespace_isServedByPath)
{
    EXPECT_EQ(getObject(L"There"), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(getObject(L"\\\\.\\root\\other:There"), 0);
    EXPECT_EQ(getObject(L"root\\nowhere:There"), code(WBEM_E_INVALID_NAMESPACE));
}

TEST_F(NamespaceServicesTest, Failure_nullsTheOutput)
{
    ASSERT_EQ(getObject(L"Here"), 0);
    IWbemClassObject* out = object.get();
    EXPECT_EQ(services->GetObject(Bstr(L"Nope").get(), 0, nullptr, &out, nullptr), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(out, nullptr);
}

TEST_F(NamespaceServicesTest, Path_thatIsNoClass_isRefused)
{
    EXPECT_EQ(getObject(L"Here.K=\"x\""), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(getObject(L"Here."), code(WBEM_E_INVALID_OBJECT_PATH));
    EXPECT_EQ(getObject(L"Here", 1), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(services->GetObject(nullptr, 0, nullptr, object.put(), nullptr), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(services->GetObject(Bstr(L"Here").get(), 0, nullptr, nullptr, nullptr), code(WBEM_E_INVALID_PARAMETER));
}

}  // namespace
}  // namespace wmihost
