#include <cstddef>

#include "tests/wmihost/JobTest.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Text.h"

// The output of commands on a terminal. These tests need a terminal of at least 50 lines of 72 characters.
namespace wmihost {
namespace {

// While the scope lives, standard output and standard error go to an empty screen of the terminal.
class Screen
{
public:
    Screen()
        : m_handle(CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             CONSOLE_TEXTMODE_BUFFER, nullptr)),
          m_outBefore(GetStdHandle(STD_OUTPUT_HANDLE)),
          m_errorBefore(GetStdHandle(STD_ERROR_HANDLE))
    {
        EXPECT_NE(m_handle, INVALID_HANDLE_VALUE) << "this test needs a terminal";
        SetStdHandle(STD_OUTPUT_HANDLE, m_handle);
        SetStdHandle(STD_ERROR_HANDLE, m_handle);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen()
    {
        SetStdHandle(STD_OUTPUT_HANDLE, m_outBefore);
        SetStdHandle(STD_ERROR_HANDLE, m_errorBefore);
        CloseHandle(m_handle);
    }

    // The lines of the whole screen, without trailing blanks and without the empty lines at the end.
    std::string text() const
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        EXPECT_NE(GetConsoleScreenBufferInfo(m_handle, &info), 0);
        std::wstring lines;
        for (SHORT row = 0; row < info.dwSize.Y; ++row) {
            std::wstring line(static_cast<std::size_t>(info.dwSize.X), L' ');
            DWORD count = 0;
            EXPECT_NE(
                ReadConsoleOutputCharacterW(m_handle, line.data(), static_cast<DWORD>(line.size()), {0, row}, &count),
                0);
            line.erase(line.find_last_not_of(L' ') + 1);
            lines += line + L"\n";
        }
        lines.erase(lines.find_last_not_of(L'\n') + 1);
        return toUtf8(lines);
    }

private:
    HANDLE m_handle;
    HANDLE m_outBefore;
    HANDLE m_errorBefore;
};

class OnTerminalTest : public CommandTest
{
protected:
    const Screen screen;
};

TEST_F(OnTerminalTest, StandardHandles_areATerminal)
{
    EXPECT_TRUE(outIsTerminal());
    EXPECT_TRUE(errorIsTerminal());
    // One less than the 72 characters of a line.
    EXPECT_EQ(lineWidth(), 71U);
}

TEST_F(OnTerminalTest, Text_isShownInEachCodePage)
{
    const UINT before = GetConsoleOutputCP();
    for (const UINT page : {437U, 1252U, 65001U}) {
        EXPECT_NE(SetConsoleOutputCP(page), 0);
        writeOut("gr\xC3\xBC\xC3\x9F\xE2\x80\xA6\n");
    }
    SetConsoleOutputCP(before);
    const std::string shown = "gr\xC3\xBC\xC3\x9F\xE2\x80\xA6";
    EXPECT_EQ(screen.text(), shown + "\n" + shown + "\n" + shown);
}

TEST_F(OnTerminalTest, ErasedLines_areWrittenAgain)
{
    writeOut("first\nsecond line\nthird\n");
    eraseLines(2);
    EXPECT_EQ(screen.text(), "first");
    writeOut("two\n");
    EXPECT_EQ(screen.text(), "first\ntwo");
    eraseLines(1000);
    EXPECT_EQ(screen.text(), "");
    writeOut("first\nhalf");
    eraseLines(0);
    EXPECT_EQ(screen.text(), "first");
}

TEST_F(OnTerminalTest, Table_fitsTheLine_andSaysWhatItLeavesOut)
{
    addToMof(
        "[dynamic, provider(\"FakeProvider\")] class Fake_Wide { [key] string Name; string Second; string Third; "
        "string Fourth; string Fifth; string Sixth; string Seventh; string Eighth; string Ninth; };\n");
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        const auto wide = spawn(ns, L"Fake_Wide");
        put(wide, L"Name", Variant::ofText(L"the name of a wide thing"));
        put(wide, L"Second", Variant::ofText(L"more than would fit"));
        for (const auto* name : {L"Third", L"Fourth", L"Fifth", L"Sixth", L"Seventh", L"Eighth", L"Ninth"}) {
            put(wide, name, Variant::ofText(L"12345678"));
        }
        deliver(sink, wide);
        return finish(sink);
    };
    EXPECT_EQ(runWithMof({"list", "Fake_Wide"}), 0);
    EXPECT_EQ(screen.text(),
              "Name                      Second           Third     Fourth    Fifth\n"
              "------------------------  ---------------  --------  --------  --------\n"
              "the name of a wide thing  more than woul\xE2\x80\xA6  12345678  12345678  12345678\n"
              "4 properties do not fit the line; --property Sixth,Seventh,Eighth,Ninth\n"
              "shows them, --format json shows all");
}

TEST_F(OnTerminalTest, ControlCharacters_neverReachIt)
{
    writeOut(
        "a\x1b[2J\x07\xC2\x9B"
        "b\r\nc\rd\n");
    writeError("e\x1b]0;title\x07\n");
    EXPECT_EQ(screen.text(), "a\\x1B[2J\\x07\\x9Bb\nc\\rd\ne\\x1B]0;title\\x07");
}

TEST_F(OnTerminalTest, LongText_isWrittenWhole)
{
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += "\xF0\x9F\x98\x80gr\xC3\xBC\xC3\x9F.......\n";
    }
    writeOut(text + "end\n");
    EXPECT_TRUE(screen.text().ends_with(".\nend")) << screen.text();
}

TEST_F(OnTerminalTest, Watch_showsWhatFitsTheHeight)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        for (int i = 0; i < 100; ++i) {
            deliver(ns, sink, std::to_wstring(i).c_str(), 2);
        }
        return finish(sink);
    };
    _putenv("LINES=8");
    EXPECT_EQ(runWithMof({"watch", "Fake_Thing", "--count", "1", "--interval", "10", "--quiet"}), 0);
    _putenv("LINES=");
    EXPECT_EQ(
        screen.text(),
        "Instance  Activity  Bytes\n--------  --------  -----\n0                   0 B/s\n1                   0 B/s\n"
        "2                   0 B/s\n3                   0 B/s\n96 more instances do not fit");
}

TEST_F(OnTerminalTest, Instance_isWrappedAndNotCut)
{
    behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        deliver(ns, sink, L"a name that takes more than the seventy-one characters of this narrow line", 2);
        return finish(sink);
    };
    EXPECT_EQ(runWithMof({"get", "Fake_Thing=\"one\""}), 0);
    EXPECT_EQ(screen.text(),
              "Property  Value\n"
              "--------  -------------------------------------------------------------\n"
              "Name      a name that takes more than the seventy-one characters of\n"
              "          this narrow line\n"
              "Count     3\n"
              "State     2 (Enabled)\n"
              "Bytes");
}

TEST_F(OnTerminalTest, Description_isWrappedAndNotCut)
{
    addToMof(
        "[Description(\"A class.\")] class Fake_Told { [key, Description(\"Its name, which is told at such length "
        "that no line of this terminal holds it.\")] string Name; };\n");
    EXPECT_EQ(runWithMof({"describe", "Fake_Told"}), 0);
    EXPECT_EQ(screen.text(),
              "Fake_Told in root\\test\n"
              "A class.\n"
              "\n"
              "Property  Type    Access  Description\n"
              "--------  ------  ------  ---------------------------------------------\n"
              "Name      string  key     Its name, which is told at such length that\n"
              "                          no line of this terminal holds it.");
}

TEST_F(OnTerminalTest, LongEnumeration_showsProgress)
{
    std::string halfway;
    behaviour.enumerate = [&](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        constexpr unsigned TOTAL = 20;
        for (unsigned i = 0; i < TOTAL; ++i) {
            sink->SetStatus(WBEM_STATUS_PROGRESS, static_cast<HRESULT>(MAKELONG(i, TOTAL)), nullptr, nullptr);
            halfway = i == 9 ? screen.text() : halfway;
        }
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    EXPECT_EQ(runWithMof({"list", "Fake_Thing", "--property", "Name"}), 0);
    EXPECT_EQ(halfway, "10 of 20");
    EXPECT_EQ(screen.text(), "20 of 20\nName\n----\none");
}

TEST_F(OnTerminalTest, ShortEnumeration_showsNoProgress)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        for (unsigned i = 0; i < 19; ++i) {
            sink->SetStatus(WBEM_STATUS_PROGRESS, static_cast<HRESULT>(MAKELONG(i, 19)), nullptr, nullptr);
        }
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    EXPECT_EQ(runWithMof({"list", "Fake_Thing", "--property", "Name"}), 0);
    EXPECT_EQ(screen.text(), "Name\n----\none");
}

TEST_F(OnTerminalTest, Watch_drawsItsTableInPlace)
{
    std::vector<std::string> shown;
    unsigned looks = 0;
    behaviour.enumerate = [&](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        shown.push_back(screen.text());
        // The last enumeration has one instance less. Nothing of its line may remain.
        const auto names = ++looks < 4 ? std::vector{L"one", L"two"} : std::vector{L"two"};
        for (const auto* name : names) {
            const auto thing = spawn(ns, L"Fake_Thing");
            put(thing, L"Name", Variant::ofText(name));
            put(thing, L"Bytes", Variant::ofText(L"7"));
            deliver(sink, thing);
        }
        return finish(sink);
    };
    EXPECT_EQ(runWithMof({"watch", "Fake_Thing", "--count", "3", "--interval", "10"}), 0);
    const std::string head = "Instance  Activity  Bytes\n--------  --------  -----\n";
    const std::string both = head + "one                 0 B/s\ntwo                 0 B/s";
    EXPECT_EQ(shown, (std::vector<std::string>{"", "", both, both}));
    EXPECT_EQ(screen.text(), head + "two                 0 B/s");
}

using JobOnTerminalTest = JobTest<OnTerminalTest>;

TEST_F(JobOnTerminalTest, Job_isFollowedWithABar)
{
    std::vector<std::string> shown;
    behaviour.get = [&](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        shown.push_back(screen.text());
        const auto looks = static_cast<long>(shown.size());
        return looks < 3 ? deliverJob(ns, sink, 4, (looks - 1) * 50) : deliverJob(ns, sink, 7, 100);
    };
    EXPECT_EQ(runWithMof({"invoke", "Fake_Runner=\"r\"", "Start", "--wait"}), 0);
    const std::string outputs =
        "Output       Value\n"
        "-----------  -----------------------\n"
        "Job          Fake_Job.InstanceID=\"1\"\n"
        "ReturnValue  4096";
    EXPECT_EQ(shown, (std::vector<std::string>{outputs, outputs + "\n[..............................] 0 % Running",
                                               outputs + "\n[###############...............] 50 % Running"}));
    EXPECT_EQ(screen.text(), outputs + "\n[##############################] 100 % Completed\njob ended: 7 (Completed)");
}

}  // namespace
}  // namespace wmihost
