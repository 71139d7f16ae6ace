#include "host/Table.h"

#include <gtest/gtest.h>

namespace host {
namespace {

Table sample()
{
    Table table({{"Name"}, {"Bytes", true}, {"Description"}});
    table.addRow({"eth0", "12", "the first adapter of them all"});
    table.addRow({"gr\xC3\xBC\xC3\x9F", "1234567", ""});
    return table;
}

TEST(Table, AlignsColumnsAndDropsTrailingBlanks)
{
    EXPECT_EQ(sample().render(std::nullopt),
              "Name    Bytes  Description\n"
              "----  -------  -----------------------------\n"
              "eth0       12  the first adapter of them all\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
}

TEST(Table, CutsTheWidestColumnToFit)
{
    EXPECT_EQ(sample().render(30),
              "Name    Bytes  Description\n"
              "----  -------  ---------------\n"
              "eth0       12  the first adap\xE2\x80\xA6\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
    EXPECT_EQ(sample().hiddenColumns(30), 0U);
}

TEST(Table, LeavesColumnsOutThatWouldBecomeUnreadable)
{
    EXPECT_EQ(sample().render(20),
              "Name    Bytes\n"
              "----  -------\n"
              "eth0       12\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
    EXPECT_EQ(sample().hiddenColumns(20), 1U);
    EXPECT_EQ(sample().hiddenColumns(std::nullopt), 0U);
}

TEST(Table, WithoutRowsShowsItsHeadings)
{
    EXPECT_EQ(Table({{"A"}, {"Bc"}}).render(std::nullopt), "A  Bc\n-  --\n");
}

}  // namespace
}  // namespace host
