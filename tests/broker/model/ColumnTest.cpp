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

}  // namespace
