#include <filesystem>
#include <regex>

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

// The provider has one port, whose MTU is the number of the reading. It refuses the reading `failing`.
class MetricsTest : public CommandTest
{
protected:
    MetricsTest()
    {
        addToMof(R"([dynamic, provider("FakeProvider"), Description("A port.")] class Zerix_EthernetPort
                    {
                        [key] string DeviceID; string Name; string PermanentAddress; string Description;
                        uint16 EnabledState; uint64 Speed; uint64 ActiveMaximumTransmissionUnit;
                    };
                    [dynamic, provider("FakeProvider")] class Zerix_EthernetPortStatistics
                    {
                        [key] string InstanceID;
                    };
                    [dynamic, provider("FakeProvider")] class Zerix_IPProtocolEndpoint
                    {
                        [key] string Name; string IPv4Address; string IPv6Address; uint16 AddressOrigin;
                    };
                    [dynamic, provider("FakeProvider")] class Zerix_ConcreteJob
                    {
                        [key] string InstanceID; uint16 JobState;
                    };)");
        behaviour.enumerate = [this](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            if (name != L"Zerix_EthernetPort") {
                return finish(sink);
            }
            ++readings;
            shown.push_back(textOfFile());
            if (readings == failing) {
                return finish(sink, code(WBEM_E_ACCESS_DENIED));
            }
            const auto port = spawn(ns, L"Zerix_EthernetPort");
            put(port, L"DeviceID", Variant::ofText(L"{A}"));
            put(port, L"ActiveMaximumTransmissionUnit", Variant::ofText(std::to_wstring(readings)));
            deliver(sink, port);
            return finish(sink);
        };
        std::filesystem::create_directory(folder);
    }
    ~MetricsTest() override { std::filesystem::remove_all(folder); }

    std::string textOfFile() const
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    // The lines that differ between readings.
    static std::string figures(const std::string& text)
    {
        std::string result;
        const std::regex wanted("(zerix_port_mtu_bytes|zerix_read_success|zerix_read_last_success)[^ \n]* [0-9.]+\n");
        for (std::sregex_iterator match(text.begin(), text.end(), wanted), end; match != end; ++match) {
            result += match->str();
        }
        return result;
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("prom" + std::to_string(GetCurrentProcessId()));
    const std::filesystem::path file = folder / "zerix.prom";
    int readings = 0;
    int failing = 0;
    std::vector<std::string> shown;  // the contents of the file when each reading began
};

constexpr const char* GOOD_FIRST_READING = "zerix_port_mtu_bytes{guid=\"{A}\"} 1\nzerix_read_success 1\n";
const std::string DENIED_REPORT =
    "wmihost metrics: the machine cannot be read: WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n";

TEST_F(MetricsTest, WithoutAFile_theTextGoesToStandardOutput)
{
    EXPECT_EQ(run({"metrics"}), 0);
    EXPECT_EQ(error, "");
    EXPECT_TRUE(out.starts_with("# HELP zerix_port_info A port.\n# TYPE zerix_port_info gauge\n")) << out;
    EXPECT_TRUE(figures(out).starts_with(GOOD_FIRST_READING)) << out;
    EXPECT_NE(out.find("\nzerix_read_duration_seconds "), std::string::npos) << out;
    EXPECT_EQ(out.find('\r'), std::string::npos);
}

TEST_F(MetricsTest, File_isReplaced_andKeepsTheLastGoodValues)
{
    failing = 2;
    EXPECT_EQ(run({"metrics", "--output", file.string(), "--every", "1", "--count", "3"}), 0);
    EXPECT_EQ(error, DENIED_REPORT);
    EXPECT_EQ(out, "");
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(shown[0], "");
    const std::string first = figures(shown[1]);
    EXPECT_TRUE(first.starts_with(GOOD_FIRST_READING)) << first;
    // The values and the time are the same.
    EXPECT_EQ(figures(shown[2]), std::regex_replace(first, std::regex("success 1"), "success 0"));
    EXPECT_TRUE(figures(textOfFile()).starts_with("zerix_port_mtu_bytes{guid=\"{A}\"} 3\nzerix_read_success 1\n"));
}

TEST_F(MetricsTest, OnlyReadingThatFails_saysSoInTheFile)
{
    failing = 1;
    EXPECT_EQ(run({"metrics", "--output", file.string()}), 1);
    EXPECT_EQ(error, DENIED_REPORT);
    EXPECT_EQ(figures(textOfFile()), "zerix_read_success 0\n");
}

TEST_F(MetricsTest, FileThatCannotBeWritten_isReported)
{
    const std::string absent = (folder / "absent" / "zerix.prom").string();
    EXPECT_EQ(run({"metrics", "--output", absent}), 1);
    EXPECT_TRUE(error.starts_with("wmihost metrics: " + absent + ".tmp cannot be written: ")) << error;
    EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace wmihost
