#include "tests/host/CommandTest.h"

namespace host {
namespace {

using OutputTest = CommandTest;

TEST_F(OutputTest, ListsAsATable)
{
    EXPECT_EQ(run({"list", "fake_thing"}), 0);
    EXPECT_EQ(out,
              "Name  Count  State     Bytes\n"
              "----  -----  --------  -----\n"
              "one       3  Enabled\n"
              "two       3  Disabled\n");
    EXPECT_EQ(error, "");
}

TEST_F(OutputTest, ListsAsJsonAndMof)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "json", "--where", "Name=one", "--property", "Name,Count,Bytes"}),
              0);
    EXPECT_NE(out.find("\"__CLASS\": \"Fake_Thing\""), std::string::npos);
    EXPECT_NE(out.find("\"Name\": \"one\",\n    \"Count\": 3,\n    \"Bytes\": null\n"), std::string::npos);
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "mof", "--where", "Name=one"}), 0);
    EXPECT_EQ(out, "instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 2;\n};\n\n");
}

}  // namespace
}  // namespace host
