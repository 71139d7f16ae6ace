#include "wmihost/terminal/Table.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

using Texts = std::vector<std::string>;

Table sample()
{
    Table table({{"Name"}, {"Bytes", true}, {"Description"}});
    table.addRow({"eth0", "12", "the first adapter of them all"});
    table.addRow({"gr\xC3\xBC\xC3\x9F", "1234567", ""});
    return table;
}

TEST(Table, Columns_areAligned_withoutTrailingBlanks)
{
    EXPECT_EQ(sample().render(std::nullopt),
              "Name    Bytes  Description\n"
              "----  -------  -----------------------------\n"
              "eth0       12  the first adapter of them all\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
}

TEST(Table, WidestColumn_isCutToFit)
{
    EXPECT_EQ(sample().render(30),
              "Name    Bytes  Description\n"
              "----  -------  ---------------\n"
              "eth0       12  the first adap\xE2\x80\xA6\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
    EXPECT_EQ(sample().hiddenColumns(30), Texts());
}

TEST(Table, UnreadableColumns_areLeftOut)
{
    EXPECT_EQ(sample().render(20),
              "Name    Bytes\n"
              "----  -------\n"
              "eth0       12\n"
              "gr\xC3\xBC\xC3\x9F  1234567\n");
    EXPECT_EQ(sample().hiddenColumns(20), Texts{"Description"});
    EXPECT_EQ(sample().hiddenColumns(std::nullopt), Texts());
}

Table wrapping()
{
    Table table({{"Name"}, {.heading = "Description", .longTexts = Table::Long::WRAPS}});
    table.addRow({"eth0", "the first adapter of them all, gr\xC3\xBC\xC3\x9F"});
    table.addRow({"short", "short"});
    table.addRow({"long", "Zerix_EthernetPort.DeviceID=\"{00000004-0000}\" is one"});
    return table;
}

TEST(Table, WrappedColumn_goesOnBelow)
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
    EXPECT_EQ(wrapping().hiddenColumns(30), Texts());
}

TEST(Table, WrappedColumn_breaksOnlyWhereItMust)
{
    EXPECT_EQ(wrapping().render(std::nullopt),
              "Name   Description\n"
              "-----  ----------------------------------------------------\n"
              "eth0   the first adapter of them all, gr\xC3\xBC\xC3\x9F\n"
              "short  short\n"
              "long   Zerix_EthernetPort.DeviceID=\"{00000004-0000}\" is one\n");
    EXPECT_EQ(wrapping().render(59), wrapping().render(std::nullopt));
}

TEST(Table, Table_withoutRoom_putsCellsBelowEachOther)
{
    Table table({{.heading = "Property", .longTexts = Table::Long::WHOLE},
                 {"Type"},
                 {.heading = "Description", .longTexts = Table::Long::WRAPS}});
    table.addRow({"ActiveMaximum", "uint64", "one two three four five six"});
    table.addRow({"Speed", "", ""});
    EXPECT_EQ(table.render(30),
              "ActiveMaximum\n"
              "    Type: uint64\n"
              "    Description: one two three\n"
              "    four five six\n"
              "Speed\n");
    Table pairs({{"Property"}, {.heading = "Value", .longTexts = Table::Long::WRAPS}});
    pairs.addRow({"A property with a long name", "and a value to go with it"});
    EXPECT_EQ(pairs.render(28), "A property with a long name\n    and a value to go with\n    it\n");
}

TEST(Table, Number_isNeverCut)
{
    Table table({{"Name"}, {"Bytes", true}});
    table.addRow({"a rather long name", "18446744073709551615"});
    EXPECT_EQ(table.render(34),
              "Name                         Bytes\n"
              "------------  --------------------\n"
              "a rather lo\xE2\x80\xA6  18446744073709551615\n");
    EXPECT_EQ(table.hiddenColumns(33), Texts{"Bytes"});
    // A cell that is alone on its line and too long for it continues on the next line.
    Table alone({{"Bytes", true}});
    alone.addRow({"18446744073709551615"});
    EXPECT_EQ(alone.render(12), "       Bytes\n------------\n184467440737\n    09551615\n");
}

TEST(Table, Key_isNeverCutNorLeftOut)
{
    Table table({{"Kind"}, {.heading = "InstanceID", .longTexts = Table::Long::WHOLE, .identifies = true}, {"Remark"}});
    table.addRow({"port", "Vexal:{0001-4E65}", "one"});
    table.addRow({"port", "Vexal:{0002-4E65}", "two"});
    EXPECT_EQ(table.render(23),
              "Kind  InstanceID\n----  -----------------\nport  Vexal:{0001-4E65}\nport  Vexal:{0002-4E65}\n");
    EXPECT_EQ(table.hiddenColumns(20), (Texts{"Kind", "Remark"}));
    EXPECT_EQ(table.render(12), "InstanceID\n------------\nVexal:{0001-\n4E65}\nVexal:{0002-\n4E65}\n");
}

Table references(const std::vector<std::string>& paths)
{
    Table table({{.heading = "Port", .longTexts = Table::Long::MIDDLE, .identifies = true}, {"Remark"}});
    for (const std::string& path : paths) {
        table.addRow({path, "x"});
    }
    return table;
}

TEST(Table, Reference_losesWhatAllHaveInCommon)
{
    EXPECT_EQ(references({"Zerix_Port.DeviceID=\"{00000004-0000-0000-4E65}\"",
                          "Zerix_Port.DeviceID=\"{00000007-0000-0000-4E65}\""})
                  .render(40),
              "Port                              Remark\n"
              "--------------------------------  ------\n"
              "Zerix_Por\xE2\x80\xA6"
              "D=\"{00000004\xE2\x80\xA6"
              "00-4E65}\"  x\n"
              "Zerix_Por\xE2\x80\xA6"
              "D=\"{00000007\xE2\x80\xA6"
              "00-4E65}\"  x\n");
}

TEST(Table, Reference_thatWouldHideTheDifference_wraps)
{
    const std::string middle(38, 'a');
    EXPECT_EQ(references({middle + "a1", "1a" + middle, "1a" + middle.substr(1) + "b"}).render(32),
              "Port                      Remark\n"
              "------------------------  ------\n"
              "aaaaaaaaaaaaaaaaaaaaaaaa  x\n"
              "aaaaaaaaaaaaaaa1\n"
              "1aaaaaaaaaaaaaaaaaaaaaaa  x\n"
              "aaaaaaaaaaaaaaaa\n"
              "1aaaaaaaaaaaaaaaaaaaaaaa  x\n"
              "aaaaaaaaaaaaaaab\n");
}

TEST(Table, Table_withoutRows_showsItsHeadings)
{
    EXPECT_EQ(Table({{"A"}, {"Bc"}}).render(std::nullopt), "A  Bc\n-  --\n");
}

}  // namespace
}  // namespace wmihost
