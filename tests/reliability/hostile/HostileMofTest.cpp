#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "reliability/RunTime.h"
#include "reliability/hostile/RandomMof.h"
#include "wmihost/mof/MofCompiler.h"

// MOF texts with random mistakes. Each is either read, or refused with a message that gives the position of a mistake.
namespace {

using Clock = std::chrono::steady_clock;

// The texts are short, so no machine should need longer than this to read one.
constexpr std::chrono::seconds TOO_LONG{20};

// A short text with every construct of MOF, so that a change hits an important place.
constexpr std::string_view SHORT_MOF = R"(// A comment
#pragma namespace("\\\\.\\root")
/* Another */
Qualifier Unit : string = null, Scope(property, any), Flavor(ToSubclass, DisableOverride);
instance of __Namespace { Name = "x"; };
[Description("say " "\"hi\"" "\x41\n"), Version(-3): ToInstance]
class Base { [key] string Name; uint8 Kept = 0x1F; char16 Mark = 'a'; real64 Share = -1.5e3; };
class Derived : Base
{
    [read, ValueMap{"1", "2"}] uint16 Numbers[] = {1, 0b, 017};
    boolean On = TRUE;
    datetime When = "20260101000000.000000+000";
    Base ref Link;
    object:Base Inner;
    sint64 Big = -9223372036854775808;
    [implemented] uint32 Do([in] uint16 Count, [in, out] string Texts[], [out] Base ref Job);
    void Quiet();
};
instance of Derived as $Two { Name = "two"; Link = $One; Numbers = {3}; };
instance of Base as $One { Name = "one"; Kept = null; };
)";

std::string contentOf(const char* file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Empty if the message gives a position within the text and a reason.
std::string complaintAbout(const std::string& message, const std::string& text)
{
    // The pattern matches only the first character of the reason: matching a long reason is too much for std::regex.
    static const std::regex pattern(R"(hostile\.mof:(\d+):(\d+): .)");
    std::smatch found;
    if (!std::regex_search(message, found, pattern, std::regex_constants::match_continuous)) {
        return "no place: " + message;
    }
    // The end of the text is reported as the position after the last line.
    const auto lines = static_cast<unsigned long>(std::count(text.begin(), text.end(), '\n')) + 1;
    const unsigned long line = std::stoul(found[1]);
    if (line == 0 || line > lines || std::stoul(found[2]) == 0) {
        return "a place outside the text of " + std::to_string(lines) + " lines: " + message;
    }
    return "";
}

TEST(HostileMofTest, Text_isReadOrRefusedWithItsPlace)
{
    const std::array<std::string, 2> sound{std::string(SHORT_MOF), contentOf(ZERIX_MOF)};
    for (const std::string& text : sound) {
        wmihost::ClassRepository repository;
        ASSERT_NO_THROW(wmihost::compileMofText(text, "hostile.mof", repository));
    }
    const unsigned seed = reliability::seed();
    reliability::RandomMof random(seed);
    std::size_t read = 0;
    std::size_t refused = 0;
    Clock::duration slowest{};
    const auto end = Clock::now() + reliability::runTime();
    while (Clock::now() < end) {
        const std::string text = random.changed(sound[random.below(8) == 0 ? 1 : 0]);
        const std::string where = "seed " + std::to_string(seed) + ", text " + std::to_string(read + refused);
        const Clock::time_point begin = Clock::now();
        wmihost::ClassRepository repository;
        try {
            wmihost::compileMofText(text, "hostile.mof", repository);
            ++read;
        } catch (const wmihost::MofError& error) {
            ASSERT_THAT(complaintAbout(error.what(), text), testing::IsEmpty()) << where << "\n" << text;
            ++refused;
        } catch (const std::exception& exception) {
            FAIL() << where << " threw " << exception.what() << "\n" << text;
        }
        slowest = std::max(slowest, Clock::now() - begin);
        ASSERT_LT(slowest, TOO_LONG) << where << "\n" << text;
    }
    EXPECT_GT(read, 0U);
    EXPECT_GT(refused, 0U);
    std::filesystem::create_directories(ZERIX_TABLES);
    std::ofstream(std::string(ZERIX_TABLES) + "/hostile-mof.md")
        << "| seed " << seed << " | " << read << " texts read | " << refused << " refused | slowest "
        << std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count() << " ms |\n";
}

}  // namespace
