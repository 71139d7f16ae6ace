#include "wmihost/objects/ObjectReader.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

class ObjectReaderTest : public testing::Test
{
protected:
    const ClassRepository repository =
        compiled("class A { [key] string Name; uint64 Large; boolean Flag; uint32 Number; };");
    const ComPtr<IWbemClassObject> object = instanceOf(repository, L"A");
};

TEST_F(ObjectReaderTest, Properties_areReadInOrder_withoutTheSystems)
{
    put(object, L"Name", Variant::ofText(L"n"));
    std::vector<NamedValue> properties;
    ASSERT_EQ(readProperties(*object.get(), properties), code(WBEM_S_NO_ERROR));
    ASSERT_EQ(properties.size(), 4U);
    EXPECT_EQ(properties[0].name, L"Name");
    EXPECT_EQ(viewOf(properties[0].value.get().bstrVal), L"n");
    EXPECT_EQ(properties[1].name, L"Large");
    EXPECT_EQ(properties[1].type, CIM_UINT64);
    EXPECT_TRUE(properties[1].value.isNull());
}

TEST_F(ObjectReaderTest, EnumerationUnderWay_isLeftAlone)
{
    ASSERT_EQ(object->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY), 0);
    ASSERT_EQ(object->Next(0, nullptr, nullptr, nullptr, nullptr), 0);
    std::vector<NamedValue> properties;
    EXPECT_EQ(readProperties(*object.get(), properties), code(WBEM_S_NO_ERROR));
    EXPECT_EQ(properties.size(), 4U);
    Bstr next;
    EXPECT_EQ(object->Next(0, next.put(), nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(next.view(), L"Large");
}

TEST_F(ObjectReaderTest, Property_isReadAsValueAndAsText)
{
    put(object, L"Number", Variant::ofLong(-1));
    put(object, L"Flag", Variant::ofBool(true));
    EXPECT_EQ(valueOf(*object.get(), L"number").get().lVal, -1);
    EXPECT_EQ(textOf(*object.get(), L"Number"), L"4294967295");
    EXPECT_EQ(textOf(*object.get(), L"Flag"), L"TRUE");
    EXPECT_EQ(textOf(*object.get(), L"__CLASS"), L"A");
}

TEST_F(ObjectReaderTest, MissingProperty_hasNoValue)
{
    EXPECT_TRUE(valueOf(*object.get(), L"Nope").isNull());
    EXPECT_EQ(textOf(*object.get(), L"Nope"), L"");
    EXPECT_EQ(textOf(*object.get(), L"Name"), L"");
    EXPECT_EQ(textOf(*object.get(), L"__PATH"), L"");
}

}  // namespace
}  // namespace wmihost
