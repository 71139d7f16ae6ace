#include "wmihost/metrics/MetricFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/ImportHook.h"
#include "support/Thrown.h"
#include "wmihost/com/Platform.h"

namespace wmihost {
namespace {

std::string textOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// The texts of the file and of its successor when the platform was asked to replace it.
std::string beforeMove;
std::string nextBeforeMove;
// The number of times that the platform still refuses to replace the file, and the error.
int refusalsLeft = 0;
DWORD refusal = ERROR_SUCCESS;
int moves = 0;
int pauses = 0;
HANDLE reader = INVALID_HANDLE_VALUE;

BOOL WINAPI watchMove(LPCWSTR from, LPCWSTR to, DWORD flags)
{
    ++moves;
    beforeMove = textOf(to);
    nextBeforeMove = textOf(from);
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

// The file with an old text, in a folder without other files.
class MetricFileTest : public testing::Test
{
protected:
    MetricFileTest()
    {
        std::filesystem::create_directory(folder);
        replaceMetricFile(file, "old\n");
        refuseMoves(ERROR_SUCCESS, 0);
    }
    ~MetricFileTest() override { std::filesystem::remove_all(folder); }

    static void refuseMoves(DWORD error, int times)
    {
        refusal = error;
        refusalsLeft = times;
        moves = pauses = 0;
    }

    void expectOnly(const std::string& text) const
    {
        EXPECT_EQ(textOf(file), text);
        const std::filesystem::directory_iterator entries(folder);
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
    }

    // The failure leaves the folder as it was.
    void expectFailure(const std::filesystem::path& replaced, const std::string& message) const
    {
        const auto replace = [&replaced] { replaceMetricFile(replaced, "new\n"); };
        const std::string thrown = support::thrownBy<MetricFileError>(replace);
        EXPECT_TRUE(thrown.starts_with(message)) << thrown;
        expectOnly("old\n");
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("metrics-" + std::to_string(GetCurrentProcessId()));
    const std::filesystem::path file = folder / "zerix.prom";
};

TEST_F(MetricFileTest, Replacement_isOneStepBetweenWholeTexts)
{
    const support::ImportHook hook("MoveFileExW", &watchMove);
    replaceMetricFile(file, "new\n");
    EXPECT_EQ(beforeMove, "old\n");
    EXPECT_EQ(nextBeforeMove, "new\n");
    expectOnly("new\n");
}

TEST_F(MetricFileTest, ReaderThatHoldsTheFile_isWaitedFor)
{
    refuseMoves(ERROR_SUCCESS, 0);
    reader = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    const support::ImportHook hook("Sleep", &endReading);
    replaceMetricFile(file, "new\n");
    EXPECT_EQ(pauses, 1);
    expectOnly("new\n");
}

TEST_F(MetricFileTest, EachRefusalOfAHeldFile_isTriedAgain)
{
    const support::ImportHook move("MoveFileExW", &watchMove);
    const support::ImportHook sleep("Sleep", &countPause);
    for (const DWORD error : {ERROR_SHARING_VIOLATION, ERROR_ACCESS_DENIED}) {
        refuseMoves(error, 7);
        replaceMetricFile(file, "new\n");
        EXPECT_EQ(moves, 8);
        EXPECT_EQ(pauses, 7);
        expectOnly("new\n");
    }
}

TEST_F(MetricFileTest, FileThatCannotBeReplaced_isKept)
{
    const support::ImportHook move("MoveFileExW", &watchMove);
    const support::ImportHook sleep("Sleep", &countPause);
    // A reader that never ends is given up after a hundred attempts, any other error at once.
    refuseMoves(ERROR_SHARING_VIOLATION, 1000);
    expectFailure(file, file.string() + " cannot be replaced: ");
    EXPECT_EQ(moves, 100);
    refuseMoves(ERROR_WRITE_PROTECT, 1);
    expectFailure(file, file.string() + " cannot be replaced: ");
    EXPECT_EQ(moves, 1);
}

TEST_F(MetricFileTest, TextThatCannotBeWritten_keepsTheFile)
{
    const std::filesystem::path absent = folder / "absent" / "zerix.prom";
    expectFailure(absent, absent.string() + ".tmp cannot be written: ");
    const support::ImportHook hook("WriteFile", &refuseToWrite);
    expectFailure(file, file.string() + ".tmp cannot be written: ");
}

}  // namespace
}  // namespace wmihost
