#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/CaseFile.h"
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

TEST(QueryParser, Query_isReadOrRefused)
{
    expectOutcomes(ZERIX_WMIHOST_TESTS "/wql/queries.cases", [](const std::string& query) {
        try {
            return textOf(query);
        } catch (const QueryError& error) {
            const std::string text = error.what();
            return text.substr(0, text.find('\n'));
        }
    });
}

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
