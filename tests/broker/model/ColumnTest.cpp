#include "broker/model/Column.h"

#include <gtest/gtest.h>

#include "broker/Properties.h"

namespace {

struct Row
{
    std::uint8_t small = 1;
    std::optional<std::uint64_t> big;
    std::vector<std::string> texts;
    std::vector<std::uint16_t> numbers;
    core::CimInstance* other = nullptr;
    std::optional<std::string> text;
};

const char* fixedText(const Row& /*row*/)
{
    return "fixed";
}

std::uint32_t doubled(const Row& row)
{
    return row.small * 2U;
}

// The column's property, refreshed from the row.
template <class AnyColumn>
std::string refreshed(const AnyColumn& column, const Row& row, const Row* later = nullptr)
{
    const std::unique_ptr<core::CimProperty> property = column.make(column.name);
    column.refresh(*property, row);
    if (later != nullptr) {
        column.refresh(*property, *later);
    }
    return support::valueText(*property);
}

TEST(Column, Property_hasTheTypeThatIsRead)
{
    const auto typeOf = [](const broker::Column<Row>& column) { return column.make(column.name)->getType(); };
    EXPECT_EQ(typeOf(broker::column<&Row::small>("a")), core::CimProperty::EPT_UINT8);
    EXPECT_EQ(typeOf(broker::column<&Row::big>("b")), core::CimProperty::EPT_UINT64);
    EXPECT_EQ(typeOf(broker::column<&Row::texts>("c")), core::CimProperty::EPT_STRING_ARR);
    EXPECT_EQ(typeOf(broker::column<&Row::numbers>("d")), core::CimProperty::EPT_UINT16_ARR);
    EXPECT_EQ(typeOf(broker::column<&Row::other>("e")), core::CimProperty::EPT_REF);
    EXPECT_EQ(typeOf(broker::column<&doubled>("f")), core::CimProperty::EPT_UINT32);
}

TEST(Column, Property_startsNullAndAlone)
{
    const auto column = broker::column<&Row::small>("Name");
    const std::unique_ptr<core::CimProperty> property = column.make(column.name);
    EXPECT_EQ(property->getName(), "Name");
    EXPECT_EQ(property->getOwner(), nullptr);
    EXPECT_TRUE(property->isNull());
}

TEST(Column, Members_andFunctions_areRead)
{
    EXPECT_EQ(refreshed(broker::column<&Row::small>("a"), Row{}), "1");
    EXPECT_EQ(refreshed(broker::column<&doubled>("a"), Row{}), "2");
    EXPECT_EQ(refreshed(broker::column<&fixedText>("a"), Row{}), "fixed");
}

TEST(Column, EmptyOptional_afterAValue_isNull)
{
    Row with;
    with.big = 7;
    const Row without;
    EXPECT_EQ(refreshed(broker::column<&Row::big>("a"), with), "7");
    EXPECT_EQ(refreshed(broker::column<&Row::big>("a"), without), "null");
    EXPECT_EQ(refreshed(broker::column<&Row::big>("a"), with, &without), "null");
    EXPECT_EQ(refreshed(broker::column<&Row::big>("a"), without, &with), "7");
}

TEST(Column, EmptyText_isAValue)
{
    Row row;
    row.text = "";
    EXPECT_EQ(refreshed(broker::column<&Row::text>("a"), row), "");
}

TEST(Column, EmptyArrayOfTexts_isNull)
{
    Row with;
    with.texts = {"x", "y"};
    const Row without;
    EXPECT_EQ(refreshed(broker::column<&Row::texts>("a"), with), "{x, y}");
    EXPECT_EQ(refreshed(broker::column<&Row::texts>("a"), with, &without), "null");
}

TEST(Column, EmptyArrayOfNumbers_isAnEmptyArray)
{
    EXPECT_EQ(refreshed(broker::column<&Row::numbers>("a"), Row{}), "{}");
}

TEST(Column, NoInstance_isANullReference)
{
    core::CimInstance other("Other");
    (new core::CimPropertyUint8("Id", &other))->setValue(3);
    other.getProperties().findProperty("Id")->setKey(true);
    Row with;
    with.other = &other;
    const Row without;
    EXPECT_EQ(refreshed(broker::column<&Row::other>("a"), with), "Other.Id=3");
    EXPECT_EQ(refreshed(broker::column<&Row::other>("a"), with, &without), "null");
}

TEST(Column, KeyAndWritable_areTheGivenFlags)
{
    static constexpr auto limit = [](core::CimProperty& /*property*/) {};
    EXPECT_TRUE(broker::key<&Row::small>("a").isKey);
    EXPECT_EQ(broker::key<&Row::small>("a").rule, broker::PutRule::READ_ONLY);
    EXPECT_FALSE(broker::writable<&Row::small>("a", limit).isKey);
    EXPECT_EQ(broker::writable<&Row::small>("a", limit).rule, broker::PutRule::WRITABLE);
    EXPECT_NE(broker::writable<&Row::small>("a", limit).limit, nullptr);
    EXPECT_EQ(broker::column<&Row::small>("a").limit, nullptr);
}

}  // namespace
