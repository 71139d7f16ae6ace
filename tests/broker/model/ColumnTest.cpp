#include "broker/model/Column.h"

#include <gtest/gtest.h>

#include "broker/Properties.h"

namespace {

struct Row
{
    std::uint8_t number = 0;
    std::optional<std::uint64_t> optionalNumber;
    std::optional<std::string> optionalText;
    std::vector<std::string> texts;
    std::vector<std::uint16_t> numbers;
    core::CimInstance* other = nullptr;
};

std::uint32_t doubled(const Row& row)
{
    return row.number * 2U;
}

const char* fixedText(const Row& /*row*/)
{
    return "fixed";
}

// A column, and its property's value for a row without values and for one with values.
struct Case
{
    broker::Column<Row> column;
    const char* without;
    const char* with;
};

TEST(Column, Property_followsTheRows)
{
    core::CimInstance other("Other");
    const Row without;
    const Row with{7, 8, "", {"x", "y"}, {9}, &other};
    for (const Case& tested : {Case{broker::column<&Row::number>("a number"), "0", "7"},
                               {broker::column<&doubled>("a function"), "0", "14"},
                               {broker::column<&fixedText>("a function that returns a literal"), "fixed", "fixed"},
                               {broker::column<&Row::optionalNumber>("an optional number"), "null", "8"},
                               {broker::column<&Row::optionalText>("an optional text"), "null", ""},
                               {broker::column<&Row::texts>("texts"), "null", "{x, y}"},
                               {broker::column<&Row::numbers>("numbers"), "{}", "{9}"},
                               {broker::column<&Row::other>("an instance"), "null", "Other."}})
    {
        SCOPED_TRACE(tested.column.name);
        const std::unique_ptr<core::CimProperty> property = tested.column.make(tested.column.name);
        for (const bool hasValues : {false, true, false}) {
            tested.column.refresh(*property, hasValues ? with : without);
            EXPECT_EQ(support::valueText(*property), hasValues ? tested.with : tested.without);
        }
    }
}

}  // namespace
