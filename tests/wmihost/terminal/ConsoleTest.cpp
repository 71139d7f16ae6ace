#include "wmihost/terminal/Console.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/wmihost/Redirected.h"

namespace wmihost {
namespace {

TEST(Console, File_getsTheBytesAsTheyAre)
{
    const Redirected out(STD_OUTPUT_HANDLE);
    writeOut("gr\xC3\xBC\xC3\x9F\n");
    writeOut("");
    writeOut("two\nlines\r\n");
    EXPECT_EQ(out.text(), "gr\xC3\xBC\xC3\x9F\ntwo\nlines\r\n");
}

TEST(Console, Error_goesToStandardErrorAlone)
{
    const Redirected out(STD_OUTPUT_HANDLE);
    const Redirected error(STD_ERROR_HANDLE);
    writeError("wrong\n");
    EXPECT_EQ(error.text(), "wrong\n");
    EXPECT_EQ(out.text(), "");
}

TEST(Console, File_isNoTerminal_andHasNoWidth)
{
    const Redirected out(STD_OUTPUT_HANDLE);
    const Redirected error(STD_ERROR_HANDLE);
    EXPECT_FALSE(outIsTerminal());
    EXPECT_FALSE(errorIsTerminal());
    _putenv("COLUMNS=");
    EXPECT_EQ(lineWidth(), std::nullopt);
}

TEST(Console, Environment_setsTheLengthOfALine)
{
    const Redirected out(STD_OUTPUT_HANDLE);
    _putenv("COLUMNS=72");
    EXPECT_EQ(lineWidth(), 72U);
    for (const auto* nonsense : {"COLUMNS=0", "COLUMNS=wide", "COLUMNS=-5"}) {
        _putenv(nonsense);
        EXPECT_EQ(lineWidth(), std::nullopt) << nonsense;
    }
    _putenv("COLUMNS=");
}

TEST(Console, File_keepsItsLines)
{
    const Redirected out(STD_OUTPUT_HANDLE);
    writeOut("one\ntwo\n");
    eraseLines(2);
    EXPECT_EQ(out.text(), "one\ntwo\n");
}

}  // namespace
}  // namespace wmihost
