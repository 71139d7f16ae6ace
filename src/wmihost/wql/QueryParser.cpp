#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "wmihost/repository/ParseTree.h"
#include "wmihost/repository/QuotedText.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Query.h"
#include "wmihost/wql/QueryGrammar.h"

namespace wmihost::wql {
namespace {

using Node = grammar::p::parse_tree::node;

template <class Rule>
std::unique_ptr<Node> parsed(std::string_view text)
{
    // cppcheck-suppress invalidLifetime ; the text is the caller's and lives until this call returns
    grammar::p::memory_input input(text.data(), text.data() + text.size(), "");
    try {
        return grammar::p::parse_tree::parse<Rule, grammar::selector, grammar::action, grammar::control>(input);
    } catch (const grammar::p::parse_error& error) {
        throw QueryError(errorAt(text, error.positions().front().byte, std::string(error.message())));
    }
}

std::size_t placeOf(const Node& node)
{
    return node.begin().byte;
}

std::wstring nameIn(const Node& node)
{
    return toWide(childOf<grammar::name>(node)->string_view());
}

// Reads the tree of one text.
class Reader
{
public:
    // With `words`, a value that is one word needs no quotes.
    Reader(std::string_view text, bool words) : m_text(text), m_words(words) {}

    Condition condition(const Node& node) const
    {
        if (node.is_type<grammar::comparison>()) {
            return {Condition::Kind::COMPARISON, comparison(node), {}, {}};
        }
        Condition result;
        for (const auto& child : node.children) {
            result.parts.push_back(condition(*child));
        }
        if (node.is_type<grammar::negation>()) {
            // The first child is the word NOT.
            result.parts.erase(result.parts.begin());
            result.kind = Condition::Kind::NEGATION;
            return result;
        }
        if (result.parts.size() == 1) {
            return std::move(result.parts.front());
        }
        result.kind = node.is_type<grammar::all>() ? Condition::Kind::ALL : Condition::Kind::ANY;
        return result;
    }

private:
    Comparison comparison(const Node& node) const
    {
        Comparison result;
        const Node& property = *childOf<grammar::property>(node);
        result.place = placeOf(property);
        for (const auto& part : property.children) {
            result.property.push_back(toWide(part->string_view()));
        }
        if (const Node* null = childOf<grammar::is_null>(node)) {
            result.op = childOf<grammar::kw_not>(*null) == nullptr ? Operator::IS_NULL : Operator::IS_NOT_NULL;
        } else if (const Node* like = childOf<grammar::like>(node)) {
            result.op = Operator::LIKE;
            result.constant = constant(*like);
        } else if (const Node* isa = childOf<grammar::isa>(node)) {
            result.op = Operator::IS_A;
            result.constant = constant(*isa);
        } else {
            const Node* leading = childOf<grammar::leading_constant>(node);
            result.op = operatorOf(*childOf<grammar::sign>(node), leading != nullptr);
            result.constant = constant(leading != nullptr ? *leading : *childOf<grammar::constant>(node));
            if (result.constant.kind == Constant::Kind::NULL_VALUE) {
                result.op = nullTest(result);
            }
        }
        return result;
    }

    // Behind a constant the sign means the opposite: 5 < Speed means Speed > 5.
    static Operator operatorOf(const Node& sign, bool constantFirst)
    {
        struct Meaning
        {
            std::string_view sign;
            Operator op;
            Operator mirrored;
        };
        static constexpr std::array<Meaning, 7> MEANINGS{{{"=", Operator::EQUAL, Operator::EQUAL},
                                                          {"<>", Operator::NOT_EQUAL, Operator::NOT_EQUAL},
                                                          {"!=", Operator::NOT_EQUAL, Operator::NOT_EQUAL},
                                                          {"<", Operator::LESS, Operator::GREATER},
                                                          {"<=", Operator::LESS_OR_EQUAL, Operator::GREATER_OR_EQUAL},
                                                          {">", Operator::GREATER, Operator::LESS},
                                                          {">=", Operator::GREATER_OR_EQUAL, Operator::LESS_OR_EQUAL}}};
        const auto* const found = std::find_if(MEANINGS.begin(), MEANINGS.end(), [&sign](const Meaning& meaning) {
            return meaning.sign == sign.string_view();
        });
        return constantFirst ? found->mirrored : found->op;
    }

    Operator nullTest(const Comparison& comparison) const
    {
        if (comparison.op == Operator::EQUAL) {
            return Operator::IS_NULL;
        }
        if (comparison.op == Operator::NOT_EQUAL) {
            return Operator::IS_NOT_NULL;
        }
        throw QueryError(errorAt(m_text, comparison.constant.place, "NULL is neither more nor less than a value"));
    }

    Constant constant(const Node& holder) const
    {
        const Node& node = *holder.children.front();
        Constant result{Constant::Kind::TEXT, {}, placeOf(node)};
        if (node.is_type<grammar::text>()) {
            result.text = unescapedText(node.children.front()->string_view());
        } else if (node.is_type<grammar::word>()) {
            if (!m_words) {
                throw QueryError(errorAt(m_text, result.place, grammar::A_VALUE));
            }
            result.text = toWide(node.string_view());
        } else if (node.is_type<grammar::number>()) {
            result.kind = Constant::Kind::NUMBER;
            result.text = toWide(node.string_view());
        } else if (node.is_type<grammar::kw_null>()) {
            result.kind = Constant::Kind::NULL_VALUE;
        } else {
            result.kind = Constant::Kind::BOOLEAN;
            result.text = node.is_type<grammar::kw_true>() ? L"TRUE" : L"FALSE";
        }
        return result;
    }

    std::string_view m_text;
    bool m_words;
};

SelectQuery selectIn(const Node& node, std::string_view text)
{
    SelectQuery result;
    for (const auto& child : node.children) {
        if (child->is_type<grammar::selected>()) {
            result.properties.push_back(nameIn(*child));
        } else if (child->is_type<grammar::from_class>()) {
            result.className = nameIn(*child);
        } else if (child->is_type<grammar::any>()) {
            result.where = Reader(text, false).condition(*child);
            result.where->source = text;
        }
    }
    return result;
}

[[noreturn]] void failAt(std::string_view text, const Node& node, const std::string& reason)
{
    throw QueryError(errorAt(text, placeOf(node), reason));
}

using Part = std::wstring RelatedQuery::*;

// The part of the query that a keyword of its WHERE sets. The grammar knows the same keywords.
Part partFor(std::wstring_view keyword)
{
    static constexpr std::array<std::pair<std::wstring_view, Part>, 6> PARTS{
        {{L"AssocClass", &RelatedQuery::assocClass},
         {L"ResultClass", &RelatedQuery::resultClass},
         {L"ResultRole", &RelatedQuery::resultRole},
         {L"Role", &RelatedQuery::role},
         {L"RequiredQualifier", &RelatedQuery::requiredQualifier},
         {L"RequiredAssocQualifier", &RelatedQuery::requiredAssocQualifier}}};
    const auto* const found =
        std::find_if(PARTS.begin(), PARTS.end(), [keyword](const auto& part) { return sameName(part.first, keyword); });
    return found->second;
}

void readClause(const Node& node, std::string_view text, RelatedQuery& query)
{
    const auto raise = [&](bool& flag, const char* name) {
        if (flag) {
            failAt(text, node, std::string(name) + " stands here twice");
        }
        flag = true;
    };
    if (childOf<grammar::kw_classdefsonly>(node) != nullptr) {
        raise(query.classDefsOnly, "ClassDefsOnly");
        return;
    }
    if (childOf<grammar::kw_keysonly>(node) != nullptr) {
        raise(query.keysOnly, "KEYSONLY");
        return;
    }
    if (childOf<grammar::kw_schemaonly>(node) != nullptr) {
        raise(query.schemaOnly, "SchemaOnly");
        return;
    }
    std::string_view keyword = childOf<grammar::clause_name>(node)->string_view();
    keyword = keyword.substr(0, keyword.find_last_not_of(" \t\r\n") + 1);
    const Part part = partFor(toWide(keyword));
    const bool ofAssociators = part == &RelatedQuery::assocClass || part == &RelatedQuery::resultRole ||
                               part == &RelatedQuery::requiredAssocQualifier;
    if (query.references && ofAssociators) {
        failAt(text, node, std::string(keyword) + " belongs to ASSOCIATORS OF, not to REFERENCES OF");
    }
    if (!(query.*part).empty()) {
        failAt(text, node, std::string(keyword) + " stands here twice");
    }
    query.*part = toWide(childOf<grammar::any_name>(*childOf<grammar::clause_value>(node))->string_view());
}

RelatedQuery relatedIn(const Node& node, std::string_view text)
{
    RelatedQuery result;
    for (const auto& child : node.children) {
        if (child->is_type<grammar::kw_references>()) {
            result.references = true;
        } else if (child->is_type<grammar::path>()) {
            result.path = toWide(child->string_view());
        } else if (child->is_type<grammar::clause>()) {
            readClause(*child, text, result);
            if (result.classDefsOnly && !result.resultClass.empty()) {
                failAt(text, *child, "ClassDefsOnly and ResultClass exclude each other");
            }
            if (result.classDefsOnly && result.schemaOnly) {
                failAt(text, *child, "ClassDefsOnly asks about an instance, SchemaOnly about a class");
            }
        }
    }
    result.path.erase(result.path.find_last_not_of(L" \t\r\n") + 1);
    return result;
}

}  // namespace

std::string errorAt(std::string_view text, std::size_t place, const std::string& reason)
{
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    // Bytes that continue a character take no column.
    const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
    const auto column = static_cast<std::size_t>(
        std::count_if(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(std::min(place, line.size())), begins));
    return "at character " + std::to_string(column + 1) + ": " + reason + "\n  " + line + "\n  " +
           std::string(column, ' ') + "^";
}

Query parseQuery(std::string_view text)
{
    const auto root = parsed<grammar::query>(text);
    const Node& statement = *root->children.front();
    if (statement.is_type<grammar::select>()) {
        return selectIn(statement, text);
    }
    return relatedIn(statement, text);
}

Condition parseCondition(std::string_view text)
{
    const auto root = parsed<grammar::option>(text);
    Condition result = Reader(text, true).condition(*root->children.front());
    result.source = text;
    return result;
}

}  // namespace wmihost::wql
