#include "core/CimPath.h"

#include <gmock/gmock.h>

#include <ostream>

#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using core::CimPath;
using testing::ElementsAre;
using testing::IsNull;
using testing::Pair;

std::vector<std::pair<std::string, std::string>> keysOf(const CimPath& path)
{
    return {path.begin(), path.end()};
}

// The text of a syntax error after its prefixes.
std::string refusalOf(const std::string& text)
{
    static const std::string prefix = "DRAVEv2: ESyntaxError:";
    const std::string thrown = support::thrownBy<utils::ESyntaxError>([&] { const CimPath path(text); });
    return thrown.starts_with(prefix) ? thrown.substr(prefix.size()) : "unexpected: " + thrown;
}

TEST(CimPathTest, Path_withOneKey_isRead)
{
    const CimPath path("Port.k=1");
    EXPECT_EQ(path.getClassName(), "Port");
    EXPECT_EQ(path.getModelPath(), "Port.k=1");
    EXPECT_THAT(keysOf(path), ElementsAre(Pair("k", "1")));
}

TEST(CimPathTest, Keys_areInByteOrder)
{
    EXPECT_THAT(keysOf(CimPath("Port.b=1,_c=2,B=3,a=4")),
                ElementsAre(Pair("B", "3"), Pair("_c", "2"), Pair("a", "4"), Pair("b", "1")));
}

TEST(CimPathTest, KeyNames_areCaseSensitive)
{
    const CimPath path("Port.k=1,K=2");
    EXPECT_THAT(keysOf(path), ElementsAre(Pair("K", "2"), Pair("k", "1")));
    EXPECT_THAT(CimPath("Port.k=1").find("K"), IsNull());
}

TEST(CimPathTest, Namespace_isDroppedAndLogged)
{
    const support::LogCapture log;
    const CimPath path(R"(root/x:Port.Name="a\"b")");
    EXPECT_EQ(path.getClassName(), "Port");
    EXPECT_EQ(path.getModelPath(), R"(Port.Name="a\"b")");
    EXPECT_THAT(keysOf(path), ElementsAre(Pair("Name", "a\"b")));
    EXPECT_THAT(log.numberedMessages(),
                ElementsAre(R"(debug|CimPath:81|core::CimPath::CimPath|Creating path root/x:Port.Name="a\"b")",
                            "debug|CimPath:99|core::CimPath::CimPath|namespace is stripped [root/x]"));
}

TEST(CimPathTest, EmptyNamespace_isOneToo)
{
    const support::LogCapture log;
    const CimPath path(":Port.k=1");
    EXPECT_EQ(path.getModelPath(), "Port.k=1");
    EXPECT_EQ(log.numberedMessages().back(), "debug|CimPath:99|core::CimPath::CimPath|namespace is stripped []");
}

TEST(CimPathTest, WithoutANamespace_onlyTheCreationIsLogged)
{
    const support::LogCapture log;
    const CimPath path("Port.k=1");
    EXPECT_EQ(log.messages().size(), 1U);
}

TEST(CimPathTest, SeparatorInQuotes_doesNotCut)
{
    const CimPath path(R"(ns:Port.k="1.x,y=z:w")");
    EXPECT_THAT(keysOf(path), ElementsAre(Pair("k", "1.x,y=z:w")));
    EXPECT_THAT(keysOf(CimPath(R"(Port.k="1.x")")), ElementsAre(Pair("k", "1.x")));
}

TEST(CimPathTest, OuterQuotesAndTheirBackslashes_go)
{
    EXPECT_THAT(keysOf(CimPath(R"(Port.k="a\\b\"c")")), ElementsAre(Pair("k", R"(a\\b"c)")));
    EXPECT_THAT(keysOf(CimPath(R"(Port.k=a"b")")), ElementsAre(Pair("k", R"(a"b")")));
    EXPECT_THAT(keysOf(CimPath(R"(Port.k=a\b)")), ElementsAre(Pair("k", R"(a\b)")));
}

TEST(CimPathTest, QuotedEmptyValue_isAValue)
{
    EXPECT_THAT(keysOf(CimPath(R"(Port.k="")")), ElementsAre(Pair("k", "")));
}

TEST(CimPathTest, Blanks_areNotTrimmed)
{
    EXPECT_THAT(keysOf(CimPath("Port.k= 1 ")), ElementsAre(Pair("k", " 1 ")));
    EXPECT_EQ(refusalOf("Port.k=1, l=2"), "invalid property name: ' l=2'");
    EXPECT_EQ(refusalOf("Port .k=1"), "invalid class name: 'Port .k=1'");
}

TEST(CimPathTest, QuoteInNamespace_hidesTheColon)
{
    EXPECT_EQ(refusalOf(R"("a:b":Port.k)"), R"(only one '=' allowed: 'k')");
}

TEST(CimPathTest, Backslash_beforeTheFirstQuote_letsItOpen)
{
    EXPECT_THAT(keysOf(CimPath(R"(Port.k=\"a,l=b")")), ElementsAre(Pair("k", R"(\"a,l=b")")));
}

TEST(CimPathTest, Value_endingInABackslash_swallowsWhatFollows)
{
    // At the comma and at the second '=' the quotes are still open, so everything is one value.
    EXPECT_THAT(keysOf(CimPath(R"(Port.k="a\",l="b")")), ElementsAre(Pair("k", R"(a",l="b)")));
}

struct Refusal
{
    const char* text;
    const char* message;
};

class CimPathRefusalTest : public testing::TestWithParam<Refusal>
{
};

void PrintTo(const Refusal& refusal, std::ostream* stream)
{
    *stream << refusal.text;
}

// Logged after the line of the creation, and after the line of the namespace if there is one.
TEST_P(CimPathRefusalTest, Message_isThrownAndLogged)
{
    const support::LogCapture log;
    EXPECT_EQ(refusalOf(GetParam().text), GetParam().message);
    const bool hasNamespace = std::string(GetParam().text).starts_with("ns:");
    ASSERT_EQ(log.messages().size(), hasNamespace ? 3U : 2U);
    EXPECT_EQ(log.messages().back(),
              std::string("error|Exception|utils::Exception::Exception|ESyntaxError:") + GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CimPathRefusalTest,
    testing::Values(
        Refusal{"", "empty path"}, Refusal{"a:b:Port.k=1", "model path not found: 'a:b:Port.k=1'"},
        Refusal{"::", "model path not found: '::'"}, Refusal{"Port", "too many classname separators: 'Port'"},
        Refusal{"Port.k=1.x", "too many classname separators: 'Port.k=1.x'"},
        Refusal{"ns:Port", "too many classname separators: 'ns:Port'"},
        Refusal{"ns:", "too many classname separators: 'ns:'"}, Refusal{".k=1", "empty class name: '.k=1'"},
        Refusal{".", "empty class name: '.'"}, Refusal{"ns:.k=1", "empty class name: 'ns:.k=1'"},
        Refusal{"1Port.k=1", "invalid class name: '1Port.k=1'"},
        Refusal{"Po rt.k=1", "invalid class name: 'Po rt.k=1'"},
        Refusal{"ns:Po-rt.k=1", "invalid class name: 'ns:Po-rt.k=1'"}, Refusal{"Port.", "no properties: 'Port."},
        Refusal{"ns:Port.", "no properties: 'ns:Port."}, Refusal{"Port.k", "only one '=' allowed: 'k'"},
        Refusal{"Port.k=1,", "only one '=' allowed: ''"}, Refusal{"Port.,k=1", "only one '=' allowed: ''"},
        Refusal{"Port.k=1=2", "only one '=' allowed: 'k=1=2'"},
        Refusal{"ns:Port.k=1=2", "only one '=' allowed: 'k=1=2'"}, Refusal{"Port.=1", "invalid property name: '=1'"},
        Refusal{"Port.=", "invalid property name: '='"}, Refusal{"Port.1k=1", "invalid property name: '1k=1'"},
        Refusal{"Port.k-l=1", "invalid property name: 'k-l=1'"}, Refusal{"Port.k=", "property value empty: 'k='"},
        Refusal{"Port.k=1,k=2", "property already exists: 'k=2'"},
        Refusal{"Port.k=1,k=\"1\"", "property already exists: 'k=\"1\"'"},
        Refusal{"Port.k=1,k=", "property value empty: 'k='"}));

TEST(CimPathTest, Identifier_hasLettersDigitsUnderscores)
{
    EXPECT_EQ(CimPath("_Port_2.k_1=1").getClassName(), "_Port_2");
    EXPECT_EQ(CimPath("P._=1").getClassName(), "P");
}

TEST(CimPathTest, LongPath_isWholeInTheMessage)
{
    const std::string text(600, 'a');
    EXPECT_EQ(refusalOf(text), "too many classname separators: '" + text + "'");
}

}  // namespace
