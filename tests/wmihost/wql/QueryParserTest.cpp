#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/TextRow.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Query.h"

namespace wmihost::wql {
namespace {

std::string operatorText(Operator op)
{
    switch (op) {
        case Operator::EQUAL:
            return "=";
        case Operator::NOT_EQUAL:
            return "<>";
        case Operator::LESS:
            return "<";
        case Operator::LESS_OR_EQUAL:
            return "<=";
        case Operator::GREATER:
            return ">";
        case Operator::GREATER_OR_EQUAL:
            return ">=";
        case Operator::LIKE:
            return "LIKE";
        case Operator::IS_A:
            return "ISA";
        case Operator::IS_NULL:
            return "IS NULL";
        default:
            return "IS NOT NULL";
    }
}

// Writes a condition with all its parentheses.
std::string textOf(const Condition& condition)
{
    if (condition.kind == Condition::Kind::COMPARISON) {
        const Comparison& comparison = condition.comparison;
        std::string text;
        for (const std::wstring& part : comparison.property) {
            text += (text.empty() ? "" : ".") + toUtf8(part);
        }
        text += " " + operatorText(comparison.op);
        if (comparison.op != Operator::IS_NULL && comparison.op != Operator::IS_NOT_NULL) {
            const bool isText = comparison.constant.kind == Constant::Kind::TEXT;
            text += isText ? " '" + toUtf8(comparison.constant.text) + "'" : " " + toUtf8(comparison.constant.text);
        }
        return text;
    }
    if (condition.kind == Condition::Kind::NEGATION) {
        return "NOT (" + textOf(condition.parts.front()) + ")";
    }
    std::string text;
    for (const Condition& part : condition.parts) {
        const char* word = condition.kind == Condition::Kind::ALL ? " AND " : " OR ";
        text += (text.empty() ? "" : word) + ("(" + textOf(part) + ")");
    }
    return text;
}

std::string textOf(const std::string& query)
{
    const Query parsed = parseQuery(query);
    if (const auto* select = std::get_if<SelectQuery>(&parsed)) {
        std::string text = toUtf8(select->className) + ":";
        for (const std::wstring& property : select->properties) {
            text += " " + toUtf8(property);
        }
        return text + (select->where ? " | " + textOf(*select->where) : "");
    }
    const auto& related = std::get<RelatedQuery>(parsed);
    std::string text = (related.references ? "references of " : "associators of ") + toUtf8(related.path);
    for (const auto& [name, value] : {std::pair<const char*, const std::wstring&>{"assoc", related.assocClass},
                                      {"result", related.resultClass},
                                      {"resultrole", related.resultRole},
                                      {"role", related.role},
                                      {"qualifier", related.requiredQualifier},
                                      {"assocqualifier", related.requiredAssocQualifier}})
    {
        text += value.empty() ? "" : std::string(" ") + name + "=" + toUtf8(value);
    }
    return text + (related.classDefsOnly ? " classes" : "") + (related.keysOnly ? " keys" : "") +
           (related.schemaOnly ? " schema" : "");
}

class QueryCases : public testing::TestWithParam<TextRow>
{
};

TEST_P(QueryCases, Query_isRead)
{
    EXPECT_EQ(textOf(GetParam().given), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, QueryCases,
    testing::Values(
        TextRow{"Everything", "SELECT * FROM Port", "Port:"},
        TextRow{"WithoutCase", "select name , Speed\n from Port", "Port: name Speed"},
        TextRow{"SystemProperty", "SELECT __CLASS FROM Port WHERE __CLASS = 'Port'",
                "Port: __CLASS | __CLASS = 'Port'"},
        TextRow{"AndBeforeOr", "SELECT * FROM P WHERE a=1 OR b=2 AND c=3", "P: | (a = 1) OR ((b = 2) AND (c = 3))"},
        TextRow{"Parentheses", "SELECT * FROM P WHERE (a=1 OR b=2) AND c=3", "P: | ((a = 1) OR (b = 2)) AND (c = 3)"},
        TextRow{"NotBeforeAnd", "SELECT * FROM P WHERE NOT a=1 AND NOT (b=2 OR NOT c=3)",
                "P: | (NOT (a = 1)) AND (NOT ((b = 2) OR (NOT (c = 3))))"},
        TextRow{"EveryOperator", "SELECT * FROM P WHERE a=1 AND a!=1 AND a<>1 AND a<1 AND a<=1 AND a>1 AND a>=1",
                "P: | (a = 1) AND (a <> 1) AND (a <> 1) AND (a < 1) AND (a <= 1) AND (a > 1) AND (a >= 1)"},
        TextRow{"ConstantFirst", "SELECT * FROM P WHERE 1 < a AND 1 <= b AND 1 > c AND 1 >= d AND 'x' = e",
                "P: | (a > 1) AND (b >= 1) AND (c < 1) AND (d <= 1) AND (e = 'x')"},
        TextRow{"Null", "SELECT * FROM P WHERE a IS NULL OR b IS NOT NULL OR c = NULL OR NULL <> d",
                "P: | (a IS NULL) OR (b IS NOT NULL) OR (c IS NULL) OR (d IS NOT NULL)"},
        TextRow{"Numbers", "SELECT * FROM P WHERE a=-5 AND b=+1.5e3 AND c=0x1F",
                "P: | (a = -5) AND (b = +1.5e3) AND (c = 0x1F)"},
        TextRow{"Booleans", "SELECT * FROM P WHERE a=true AND b<>FALSE", "P: | (a = TRUE) AND (b <> FALSE)"},
        TextRow{"QuotesAndEscapes", R"(SELECT * FROM P WHERE a="it's" AND b='say \"x\" \\ \' \d')",
                R"(P: | (a = 'it's') AND (b = 'say "x" \ ' \d'))"},
        TextRow{"Like", "SELECT * FROM P WHERE NOT Name LIKE 'eth[0-9]%'", "P: | NOT (Name LIKE 'eth[0-9]%')"},
        TextRow{"Isa", "SELECT * FROM P WHERE Target ISA 'Disk' AND __THIS ISA \"P\"",
                "P: | (Target ISA 'Disk') AND (__THIS ISA 'P')"},
        TextRow{"Embedded", "SELECT * FROM P WHERE Target.Inner.Name = 'x'", "P: | Target.Inner.Name = 'x'"},
        TextRow{"NamesThatBeginWithKeywords", "SELECT Order, Island FROM Android WHERE Nothing = 1 AND Notes='x'",
                "Android: Order Island | (Nothing = 1) AND (Notes = 'x')"},
        TextRow{"Associators", "ASSOCIATORS OF {Port.ID=\"{1}\"}", "associators of Port.ID=\"{1}\""},
        TextRow{"AssociatorsWithAll",
                "associators of { Port='a}b' } where AssocClass = A ResultClass=B ResultRole=C Role = D "
                "RequiredQualifier=E RequiredAssocQualifier = F KeysOnly",
                "associators of Port='a}b' assoc=A result=B resultrole=C role=D qualifier=E assocqualifier=F keys"},
        TextRow{"ClassDefinitions", "ASSOCIATORS OF {Port=1} WHERE ClassDefsOnly Role=D",
                "associators of Port=1 role=D classes"},
        TextRow{"ClassDefinitionsAndKeys", "ASSOCIATORS OF {Port=1} WHERE KEYSONLY ClassDefsOnly",
                "associators of Port=1 classes keys"},
        TextRow{"Schema", "ASSOCIATORS OF {Port} WHERE SchemaOnly ResultClass=A",
                "associators of Port result=A schema"},
        TextRow{"References", "REFERENCES OF {Port=1} WHERE ResultClass=A Role=B RequiredQualifier=C KEYSONLY",
                "references of Port=1 result=A role=B qualifier=C keys"},
        TextRow{"RoleThatIsAWordOfTheLanguage", "REFERENCES OF {Port=1} WHERE Role = From",
                "references of Port=1 role=From"},
        TextRow{"ReferencesClasses", "REFERENCES OF {Port=1} WHERE ClassDefsOnly", "references of Port=1 classes"}),
    rowName);

class BadQueries : public testing::TestWithParam<TextRow>
{
};

TEST_P(BadQueries, Mistake_namesPlaceAndExpectation)
{
    try {
        parseQuery(GetParam().given);
        FAIL() << "the query was read";
    } catch (const QueryError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.substr(0, text.find('\n')), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadQueries,
    testing::Values(
        TextRow{"Nothing", "", "at character 1: expected SELECT, ASSOCIATORS OF or REFERENCES OF"},
        TextRow{"NoFrom", "SELECT Name", "at character 12: expected a comma or FROM"},
        TextRow{"NoProperties", "SELECT FROM Port",
                "at character 8: expected * or the names of properties behind SELECT"},
        TextRow{"CommaAlone", "SELECT Name, FROM Port",
                "at character 14: expected the name of a property behind the comma"},
        TextRow{"NoClass", "SELECT * FROM", "at character 14: expected the name of a class behind FROM"},
        TextRow{"NoCondition", "SELECT * FROM Port WHERE",
                "at character 25: expected a property and what it is compared with"},
        TextRow{"NoOperator", "SELECT * FROM Port WHERE Name 'x'",
                "at character 31: expected one of = != <> < <= > >= LIKE IS ISA behind the property"},
        TextRow{"NoValue", "SELECT * FROM Port WHERE Speed >",
                "at character 33: expected a value: a text between quotes, a number, TRUE, FALSE or NULL"},
        TextRow{"ValueWithoutQuotes", "SELECT * FROM Port WHERE Name = eth0",
                "at character 33: expected a value: a text between quotes, a number, TRUE, FALSE or NULL"},
        TextRow{"OpenText", "SELECT * FROM Port WHERE Name = 'eth0",
                "at character 38: expected ' at the end of the text"},
        TextRow{"IsValue", "SELECT * FROM Port WHERE DriveType IS 5",
                "at character 39: expected NULL or NOT NULL behind IS"},
        TextRow{"NullIsLess", "SELECT * FROM Port WHERE Speed < NULL",
                "at character 34: NULL is neither more nor less than a value"},
        TextRow{"OpenParenthesis", "SELECT * FROM Port WHERE (a=1 OR b=2", "at character 37: expected AND, OR or )"},
        TextRow{"AndAlone", "SELECT * FROM Port WHERE a=1 AND",
                "at character 33: expected a property and what it is compared with"},
        TextRow{"Arithmetic", "SELECT * FROM Port WHERE a < (4 + 7)",
                "at character 30: expected a value: a text between quotes, a number, TRUE, FALSE or NULL"},
        TextRow{"Event", "SELECT * FROM Port WITHIN 5", "at character 20: expected WHERE or the end of the query"},
        TextRow{"TwoProperties", "SELECT * FROM Port WHERE Partitions = SectorsPerTrack",
                "at character 39: expected a value: a text between quotes, a number, TRUE, FALSE or NULL"},
        TextRow{"BehindTheCondition", "SELECT * FROM Port WHERE a=1 b=2",
                "at character 30: expected AND, OR or the end of the query"},
        TextRow{"IsNotValue", "SELECT * FROM Port WHERE FileSystem IS NOT 'NTFS'",
                "at character 44: expected NULL or NOT NULL behind IS"},
        TextRow{"NoPath", "ASSOCIATORS OF Port", "at character 16: expected the path of an instance between { and }"},
        TextRow{"OpenPath", "REFERENCES OF {Port=1", "at character 22: expected } behind the path"},
        TextRow{"UnknownClause", "ASSOCIATORS OF {Port=1} WHERE Name = x",
                "at character 31: expected one of AssocClass, ClassDefsOnly, KEYSONLY, RequiredAssocQualifier, "
                "RequiredQualifier, ResultClass, ResultRole, Role and SchemaOnly"},
        TextRow{"ClausesWithAnd", "REFERENCES OF {Port=1} WHERE ResultClass=A AND Role=b",
                "at character 44: expected the end of the query or one more of AssocClass, ClassDefsOnly, KEYSONLY, "
                "RequiredAssocQualifier, RequiredQualifier, ResultClass, ResultRole, Role and SchemaOnly, without AND "
                "between them"},
        TextRow{"ClauseWithOtherSign", "ASSOCIATORS OF {Port=1} WHERE RequiredQualifier <> Dynamic",
                "at character 49: expected ="},
        TextRow{"ClauseWithoutValue",
                "ASSOCIATORS OF {Port=1} WHERE Role =", "at character 37: expected a name behind ="},
        TextRow{"ClauseTwice", "ASSOCIATORS OF {Port=1} WHERE Role=a Role=b",
                "at character 38: Role stands here twice"},
        TextRow{"ClassesAndResultClass", "ASSOCIATORS OF {Port=1} WHERE ClassDefsOnly ResultClass=A",
                "at character 45: ClassDefsOnly and ResultClass exclude each other"},
        TextRow{"ClassesAndResultClassOfReferences", "REFERENCES OF {Port=1} WHERE ResultClass=A ClassDefsOnly",
                "at character 44: ClassDefsOnly and ResultClass exclude each other"},
        TextRow{"ClassesAndSchema", "REFERENCES OF {Port} WHERE SchemaOnly ClassDefsOnly",
                "at character 39: ClassDefsOnly asks about an instance, SchemaOnly about a class"},
        TextRow{"ClauseOfAssociators", "REFERENCES OF {Port=1} WHERE AssocClass=A",
                "at character 30: AssocClass belongs to ASSOCIATORS OF, not to REFERENCES OF"}),
    rowName);

TEST(QueryParser, Error_marksThePlaceBelowTheText)
{
    try {
        parseQuery("SELECT *\nFROM Grüße WHERE a >");
        FAIL() << "the query was read";
    } catch (const QueryError& error) {
        EXPECT_STREQ(error.what(),
                     "at character 30: expected a value: a text between quotes, a number, TRUE, FALSE or NULL\n"
                     "  SELECT * FROM Grüße WHERE a >\n"
                     "                               ^");
    }
}

TEST(QueryParser, Condition_takesAWordWithoutQuotes)
{
    EXPECT_EQ(textOf(parseCondition("State=Enabled")), "State = 'Enabled'");
    EXPECT_EQ(textOf(parseCondition("Name LIKE eth% AND MAC=02FC00 OR Speed > 10")),
              "((Name LIKE 'eth%') AND (MAC = '02FC00')) OR (Speed > 10)");
    EXPECT_EQ(textOf(parseCondition(R"(__RELPATH=Thing.Name="one")")), R"(__RELPATH = 'Thing.Name="one"')");
    EXPECT_EQ(textOf(parseCondition("(Name=o'neil OR 5<Speed)")), "(Name = 'o'neil') OR (Speed > 5)");
    EXPECT_THROW(parseCondition("State"), QueryError);
    EXPECT_THROW(parseCondition("State="), QueryError);
    EXPECT_THROW(parseCondition(""), QueryError);
}

TEST(QueryParser, SeveralWords_needQuotes)
{
    try {
        parseCondition("State=Enabled but Offline");
        FAIL() << "the condition was read";
    } catch (const QueryError& error) {
        EXPECT_STREQ(error.what(),
                     "at character 15: expected AND, OR or the end; write quotes around a text of several words: "
                     "\"Name='two words'\"\n"
                     "  State=Enabled but Offline\n"
                     "                ^");
    }
}

TEST(QueryParser, DeepNesting_isRefused)
{
    const auto nested = [](std::size_t depth) { return std::string(depth, '(') + "a=1" + std::string(depth, ')'); };
    EXPECT_NO_THROW(parseCondition(nested(100)));
    EXPECT_THROW(parseCondition(nested(100000)), QueryError);
    std::string negations = "a=1";
    for (int i = 0; i < 100000; ++i) {
        negations.insert(0, "NOT ");
    }
    EXPECT_THROW(parseCondition(negations), QueryError);
}

}  // namespace
}  // namespace wmihost::wql
