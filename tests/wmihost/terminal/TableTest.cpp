#include "wmihost/terminal/Table.h"

#include <gtest/gtest.h>

namespace wmihost {
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

Table wrapping()
{
    Table table({{"Name"}, {.heading = "Description", .wraps = true}});
    table.addRow({"eth0", "the first adapter of them all, gr\xC3\xBC\xC3\x9F"});
    table.addRow({"short", "short"});
    table.addRow({"long", "Zerix_EthernetPort.DeviceID=\"{00000004-0000}\" is one"});
    return table;
}

TEST(Table, AColumnThatWrapsGoesOnBelow)
{
    EXPECT_EQ(wrapping().render(30),
              "Name   Description\n"
              "-----  -----------------------\n"
              "eth0   the first adapter of\n"
              "       them all, gr\xC3\xBC\xC3\x9F\n"
              "short  short\n"
              "long   Zerix_EthernetPort.Devi\n"
              "       ceID=\"{00000004-0000}\"\n"
              "       is one\n");
    EXPECT_EQ(wrapping().hiddenColumns(30), 0U);
}

TEST(Table, AColumnThatWrapsDoesSoOnlyWhereItMust)
{
    EXPECT_EQ(wrapping().render(std::nullopt),
              "Name   Description\n"
              "-----  ----------------------------------------------------\n"
              "eth0   the first adapter of them all, gr\xC3\xBC\xC3\x9F\n"
              "short  short\n"
              "long   Zerix_EthernetPort.DeviceID=\"{00000004-0000}\" is one\n");
    EXPECT_EQ(wrapping().render(59), wrapping().render(std::nullopt));
    // Below twenty characters it gives way no more than the others.
    Table table({{"A name that is too long to stay"}, {.heading = "Description", .wraps = true}});
    table.addRow({"x", "one two three four five six"});
    EXPECT_EQ(table.render(34),
              "A name that is \xE2\x80\xA6  Description\n"
              "----------------  ----------------\n"
              "x                 one two three\n"
              "                  four five six\n");
}

TEST(Table, WithoutRowsShowsItsHeadings)
{
    EXPECT_EQ(Table({{"A"}, {"Bc"}}).render(std::nullopt), "A  Bc\n-  --\n");
}

}  // namespace
}  // namespace wmihost
