#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Query.h"

namespace wmihost::wql {
namespace {

std::string operatorText(Operator op)
{
    static const std::map<Operator, const char*> texts{
        {Operator::EQUAL, "="},         {Operator::NOT_EQUAL, "<>"},
        {Operator::LESS, "<"},          {Operator::LESS_OR_EQUAL, "<="},
        {Operator::GREATER, ">"},       {Operator::GREATER_OR_EQUAL, ">="},
        {Operator::LIKE, "LIKE"},       {Operator::IS_A, "ISA"},
        {Operator::IS_NULL, "IS NULL"}, {Operator::IS_NOT_NULL, "IS NOT NULL"}};
    return texts.at(op);
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

// A text behind "--where " is a condition alone.
std::string textOf(const std::string& query)
{
    constexpr std::string_view WHERE = "--where";
    if (query.starts_with(WHERE)) {
        return textOf(parseCondition(query.substr(std::min(query.size(), WHERE.size() + 1))));
    }
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
