#include "wmihost/metrics/MetricFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/ImportHook.h"
#include "wmihost/com/Platform.h"

namespace wmihost {
namespace {

std::string textOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string beforeMove;
std::string nextBeforeMove;

BOOL WINAPI lookAndMove(LPCWSTR from, LPCWSTR to, DWORD flags)
{
    beforeMove = textOf(to);
    nextBeforeMove = textOf(from);
    return MoveFileWithProgressW(from, to, nullptr, nullptr, flags);
}

// The number of times that the platform refuses to replace the file, and the error.
int refusalsLeft = 0;
DWORD refusal = ERROR_SUCCESS;
int moves = 0;
int pauses = 0;
HANDLE reader = INVALID_HANDLE_VALUE;

BOOL WINAPI refuseSomeMoves(LPCWSTR from, LPCWSTR to, DWORD flags)
{
    ++moves;
    if (refusalsLeft > 0) {
        --refusalsLeft;
        SetLastError(refusal);
        return FALSE;
    }
    return MoveFileWithProgressW(from, to, nullptr, nullptr, flags);
}

void WINAPI countPause(DWORD /*milliseconds*/)
{
    ++pauses;
}

void WINAPI endReading(DWORD /*milliseconds*/)
{
    ++pauses;
    CloseHandle(reader);
}

BOOL WINAPI refuseToWrite(HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED)
{
    *written = 0;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

class MetricFileTest : public testing::Test
{
protected:
    MetricFileTest()
    {
        std::filesystem::create_directory(folder);
        refusalsLeft = moves = pauses = 0;
    }
    ~MetricFileTest() override { std::filesystem::remove_all(folder); }

    std::string text() const { return textOf(file); }
    std::size_t filesInFolder() const
    {
        const std::filesystem::directory_iterator entries(folder);
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("metrics-" + std::to_string(GetCurrentProcessId()));
    const std::filesystem::path file = folder / "zerix.prom";
};

TEST_F(MetricFileTest, File_isMadeAndReplaced)
{
    replaceMetricFile(file, "one\n");
    EXPECT_EQ(text(), "one\n");
    replaceMetricFile(file, "2\n");
    EXPECT_EQ(text(), "2\n");
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(MetricFileTest, Replacement_isOneStepBetweenWholeTexts)
{
    replaceMetricFile(file, "old\n");
    const support::ImportHook hook("MoveFileExW", &lookAndMove);
    replaceMetricFile(file, "new\n");
    EXPECT_EQ(beforeMove, "old\n");
    EXPECT_EQ(nextBeforeMove, "new\n");
    EXPECT_EQ(text(), "new\n");
}

TEST_F(MetricFileTest, ReaderThatHoldsTheFile_isWaitedFor)
{
    replaceMetricFile(file, "old\n");
    reader = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    const support::ImportHook hook("Sleep", &endReading);
    replaceMetricFile(file, "new\n");
    EXPECT_EQ(pauses, 1);
    EXPECT_EQ(text(), "new\n");
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(MetricFileTest, EachRefusalOfAHeldFile_isTriedAgain)
{
    const support::ImportHook move("MoveFileExW", &refuseSomeMoves);
    const support::ImportHook sleep("Sleep", &countPause);
    for (const DWORD error : {ERROR_SHARING_VIOLATION, ERROR_ACCESS_DENIED}) {
        refusal = error;
        refusalsLeft = 7;
        moves = pauses = 0;
        replaceMetricFile(file, "new\n");
        EXPECT_EQ(moves, 8);
        EXPECT_EQ(pauses, 7);
        EXPECT_EQ(text(), "new\n");
    }
}

TEST_F(MetricFileTest, ReaderThatNeverEnds_failsAndKeepsTheFile)
{
    replaceMetricFile(file, "old\n");
    const support::ImportHook move("MoveFileExW", &refuseSomeMoves);
    const support::ImportHook sleep("Sleep", &countPause);
    refusal = ERROR_SHARING_VIOLATION;
    refusalsLeft = 1000;
    try {
        replaceMetricFile(file, "new\n");
        FAIL();
    } catch (const MetricFileError& error) {
        EXPECT_TRUE(std::string(error.what()).starts_with(file.string() + " cannot be replaced: ")) << error.what();
    }
    EXPECT_EQ(moves, 100);
    EXPECT_EQ(text(), "old\n");
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(MetricFileTest, OtherRefusal_failsAtOnce)
{
    const support::ImportHook move("MoveFileExW", &refuseSomeMoves);
    refusal = ERROR_WRITE_PROTECT;
    refusalsLeft = 1;
    EXPECT_THROW(replaceMetricFile(file, "new\n"), MetricFileError);
    EXPECT_EQ(moves, 1);
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(MetricFileTest, FullDisk_failsAndKeepsTheFile)
{
    replaceMetricFile(file, "old\n");
    {
        const support::ImportHook hook("WriteFile", &refuseToWrite);
        EXPECT_THROW(replaceMetricFile(file, "new\n"), MetricFileError);
    }
    EXPECT_EQ(text(), "old\n");
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(MetricFileTest, MissingFolder_fails)
{
    EXPECT_THROW(replaceMetricFile(folder / "absent" / "zerix.prom", "new\n"), MetricFileError);
}

}  // namespace
}  // namespace wmihost
