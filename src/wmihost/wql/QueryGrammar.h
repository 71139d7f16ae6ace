#pragma once

#include <cstddef>

#include <tao/pegtl.hpp>
#include <tao/pegtl/contrib/limit_depth.hpp>
#include <tao/pegtl/contrib/parse_tree.hpp>

// The grammar of WQL's queries for data and for classes. Each rule behind a must<> has a message below, which says what
// was expected at the place where the rule did not match.

namespace wmihost::wql::grammar {

namespace p = tao::pegtl;

// clang-format off

struct gap : p::star<p::space> {};
template <char C> struct mark : p::seq<p::one<C>, gap> {};
template <class Spelling> struct keyword : p::seq<Spelling, p::not_at<p::identifier_other>, gap> {};

struct kw_select : keyword<TAO_PEGTL_ISTRING("select")> {};
struct kw_from : keyword<TAO_PEGTL_ISTRING("from")> {};
struct kw_where : keyword<TAO_PEGTL_ISTRING("where")> {};
struct kw_and : keyword<TAO_PEGTL_ISTRING("and")> {};
struct kw_or : keyword<TAO_PEGTL_ISTRING("or")> {};
struct kw_not : keyword<TAO_PEGTL_ISTRING("not")> {};
struct kw_like : keyword<TAO_PEGTL_ISTRING("like")> {};
struct kw_is : keyword<TAO_PEGTL_ISTRING("is")> {};
struct kw_isa : keyword<TAO_PEGTL_ISTRING("isa")> {};
struct kw_null : keyword<TAO_PEGTL_ISTRING("null")> {};
struct kw_true : keyword<TAO_PEGTL_ISTRING("true")> {};
struct kw_false : keyword<TAO_PEGTL_ISTRING("false")> {};
struct kw_associators : keyword<TAO_PEGTL_ISTRING("associators")> {};
struct kw_references : keyword<TAO_PEGTL_ISTRING("references")> {};
struct kw_of : keyword<TAO_PEGTL_ISTRING("of")> {};
struct kw_classdefsonly : keyword<TAO_PEGTL_ISTRING("classdefsonly")> {};
struct kw_keysonly : keyword<TAO_PEGTL_ISTRING("keysonly")> {};
struct kw_schemaonly : keyword<TAO_PEGTL_ISTRING("schemaonly")> {};
struct reserved : p::sor<kw_select, kw_from, kw_where, kw_and, kw_or, kw_not, kw_like, kw_is, kw_isa, kw_null, kw_true, kw_false> {};

// Names.
// Letters outside ASCII take several bytes, none of which is an ASCII character.
struct letter : p::sor<p::identifier_first, p::not_range<'\0', '\x7F'>> {};
struct name : p::seq<p::not_at<reserved>, letter, p::star<p::sor<letter, p::digit>>> {};
struct property : p::seq<name, p::star<p::one<'.'>, p::must<name>>> {};
struct class_name : p::seq<name> {};

// Constants.
struct escape : p::seq<p::one<'\\'>, p::one<'\\', '"', '\''>> {};
struct double_body : p::star<p::sor<escape, p::not_one<'"'>>> {};
struct single_body : p::star<p::sor<escape, p::not_one<'\''>>> {};
struct double_end : p::one<'"'> {};
struct single_end : p::one<'\''> {};
struct text : p::sor<p::seq<p::one<'"'>, double_body, p::must<double_end>>,
                     p::seq<p::one<'\''>, single_body, p::must<single_end>>> {};
// A value without quotes, up to the next space or parenthesis. It begins with nothing that could be an operator or a
// quote.
struct word_end : p::sor<p::space, p::one<'(', ')'>> {};
struct word_first : p::seq<p::not_at<p::sor<word_end, p::one<'=', '<', '>', '!', '"', '\''>>>, p::any> {};
struct word : p::seq<word_first, p::star<p::not_at<word_end>, p::any>> {};
struct exponent : p::seq<p::one<'e', 'E'>, p::opt<p::one<'+', '-'>>, p::plus<p::digit>> {};
struct number : p::seq<p::opt<p::one<'+', '-'>>,
                       p::sor<p::seq<p::one<'0'>, p::one<'x', 'X'>, p::plus<p::xdigit>>,
                              p::seq<p::plus<p::digit>, p::opt<p::one<'.'>, p::plus<p::digit>>, p::opt<exponent>>>,
                       p::not_at<word_first>> {};
struct constant : p::seq<p::sor<text, number, kw_true, kw_false, kw_null, word>, gap> {};
// What can stand first in a comparison: there a word is a property.
struct leading_constant : p::seq<p::sor<text, number, kw_true, kw_false, kw_null>, gap> {};

// Comparisons.
struct sign : p::sor<p::string<'<', '='>, p::string<'>', '='>, p::string<'!', '='>, p::string<'<', '>'>,
                     p::one<'<', '>', '='>> {};
struct operator_sign : p::seq<sign, gap> {};
struct null_word : p::seq<p::opt<kw_not>, kw_null> {};
struct is_null : p::seq<kw_is, p::must<null_word>> {};
struct pattern : p::seq<p::sor<text, word>, gap> {};
struct like : p::seq<kw_like, p::must<pattern>> {};
struct parent_class : p::seq<p::sor<text, word>, gap> {};
struct isa : p::seq<kw_isa, p::must<parent_class>> {};
struct compared : p::seq<operator_sign, p::must<constant>> {};
struct comparison_tail : p::sor<isa, is_null, like, compared> {};
struct property_last : p::seq<property, gap> {};
struct comparison_sign : p::seq<operator_sign> {};
struct comparison : p::sor<p::seq<leading_constant, p::must<comparison_sign, property_last>>,
                           p::seq<property, gap, p::must<comparison_tail>>> {};

struct any;
struct closing : mark<')'> {};
struct group : p::seq<mark<'('>, p::must<any, closing>> {};
struct negation;
struct term : p::sor<group, negation, comparison> {};
struct needed_term : p::seq<term> {};
struct negation : p::seq<kw_not, p::must<needed_term>> {};
struct all : p::seq<term, p::star<kw_and, p::must<needed_term>>> {};
struct needed_all : p::seq<all> {};
struct any : p::seq<needed_all, p::star<kw_or, p::must<needed_all>>> {};

// Queries.
struct everything : mark<'*'> {};
struct selected : p::seq<name, gap> {};
struct next_selected : p::seq<selected> {};
struct selection : p::sor<everything, p::seq<selected, p::star<mark<','>, p::must<next_selected>>>> {};
struct from_word : p::seq<kw_from> {};
struct from_class : p::seq<class_name, gap> {};
struct condition_end : p::eof {};
struct select_tail : p::sor<p::eof, p::seq<kw_where, p::must<any, condition_end>>> {};
struct select : p::seq<kw_select, p::must<selection, from_word, from_class, select_tail>> {};

struct path_text : p::sor<p::seq<p::one<'"'>, double_body, p::one<'"'>>, p::seq<p::one<'\''>, single_body, p::one<'\''>>> {};
struct path : p::plus<p::sor<path_text, p::not_one<'}'>>> {};
struct path_begin : mark<'{'> {};
struct path_end : mark<'}'> {};
struct of_word : p::seq<kw_of> {};
struct braced_path : p::seq<path_begin, p::must<path, path_end>> {};
struct clause_name : p::sor<keyword<TAO_PEGTL_ISTRING("assocclass")>, keyword<TAO_PEGTL_ISTRING("resultclass")>,
                            keyword<TAO_PEGTL_ISTRING("resultrole")>, keyword<TAO_PEGTL_ISTRING("role")>,
                            keyword<TAO_PEGTL_ISTRING("requiredqualifier")>,
                            keyword<TAO_PEGTL_ISTRING("requiredassocqualifier")>> {};
struct equals : mark<'='> {};
// Nothing else can stand here, so that a word of the language is a name as well.
struct any_name : p::seq<letter, p::star<p::sor<letter, p::digit>>> {};
struct clause_value : p::seq<any_name, gap> {};
struct clause : p::sor<kw_classdefsonly, kw_keysonly, kw_schemaonly,
                       p::seq<clause_name, p::must<equals, clause_value>>> {};
struct clauses : p::plus<clause> {};
struct clauses_end : p::eof {};
struct related_tail : p::sor<p::eof, p::seq<kw_where, p::must<clauses, clauses_end>>> {};
struct related : p::seq<p::sor<kw_associators, kw_references>, p::must<of_word, braced_path, related_tail>> {};

struct statement : p::sor<select, related> {};
struct query : p::seq<gap, p::must<statement>> {};
// What `--where` takes.
struct option_end : p::eof {};
struct option : p::seq<gap, p::must<any, option_end>> {};

// clang-format on

template <class Rule>
inline constexpr const char* message = nullptr;

inline constexpr auto A_CONDITION = "expected a property and what it is compared with";
inline constexpr auto A_VALUE = "expected a value: a text between quotes, a number, TRUE, FALSE or NULL";

template <>
inline constexpr auto message<name> = "expected the name of a property behind the dot";
template <>
inline constexpr auto message<double_end> = "expected \" at the end of the text";
template <>
inline constexpr auto message<single_end> = "expected ' at the end of the text";
template <>
inline constexpr auto message<constant> = A_VALUE;
template <>
inline constexpr auto message<null_word> = "expected NULL or NOT NULL behind IS";
template <>
inline constexpr auto message<pattern> = "expected a pattern between quotes behind LIKE";
template <>
inline constexpr auto message<parent_class> = "expected the name of a class between quotes behind ISA";
template <>
inline constexpr auto message<comparison_sign> = "expected one of = != <> < <= > >= behind the value";
template <>
inline constexpr auto message<property_last> = "expected the property that the value is compared with";
template <>
inline constexpr auto message<comparison_tail> = "expected one of = != <> < <= > >= LIKE IS ISA behind the property";
template <>
inline constexpr auto message<closing> = "expected AND, OR or )";
template <>
inline constexpr auto message<any> = A_CONDITION;
template <>
inline constexpr auto message<needed_all> = A_CONDITION;
template <>
inline constexpr auto message<needed_term> = A_CONDITION;
template <>
inline constexpr auto message<selection> = "expected * or the names of properties behind SELECT";
template <>
inline constexpr auto message<next_selected> = "expected the name of a property behind the comma";
template <>
inline constexpr auto message<from_word> = "expected a comma or FROM";
template <>
inline constexpr auto message<from_class> = "expected the name of a class behind FROM";
template <>
inline constexpr auto message<of_word> = "expected OF";
template <>
inline constexpr auto message<braced_path> = "expected the path of an instance between { and }";
template <>
inline constexpr auto message<path> = "expected the path of an instance behind {";
template <>
inline constexpr auto message<path_end> = "expected } behind the path";
template <>
inline constexpr auto message<equals> = "expected =";
template <>
inline constexpr auto message<clause_value> = "expected a name behind =";
template <>
inline constexpr auto message<clauses> =
    "expected one of AssocClass, ClassDefsOnly, KEYSONLY, RequiredAssocQualifier, RequiredQualifier, ResultClass, "
    "ResultRole, Role and SchemaOnly";
template <>
inline constexpr auto message<clauses_end> =
    "expected the end of the query or one more of AssocClass, ClassDefsOnly, KEYSONLY, RequiredAssocQualifier, "
    "RequiredQualifier, ResultClass, ResultRole, Role and SchemaOnly, without AND between them";
template <>
inline constexpr auto message<statement> = "expected SELECT, ASSOCIATORS OF or REFERENCES OF";
template <>
inline constexpr auto message<select_tail> = "expected WHERE or the end of the query";
template <>
inline constexpr auto message<related_tail> = message<select_tail>;
template <>
inline constexpr auto message<condition_end> = "expected AND, OR or the end of the query";
template <>
inline constexpr auto message<option_end> =
    "expected AND, OR or the end; write quotes around a text of several words: \"Name='two words'\"";

struct Messages
{
    template <class Rule>
    static constexpr const char* message = grammar::message<Rule>;
    // A rule fails without a message while there is an alternative; only a must<> reports one.
    template <class Rule>
    static constexpr bool raise_on_failure = false;
};

template <class Rule>
using control = p::must_if<Messages>::control<Rule>;

// A condition is read, checked and evaluated by functions that call themselves; deeper nesting is refused before the
// stack ends.
inline constexpr std::size_t DEEPEST_CONDITION = 200;

template <class Rule>
struct action : p::nothing<Rule>
{
};
template <>
struct action<term> : p::limit_depth<DEEPEST_CONDITION>
{
};

// The nodes that the parse tree keeps.
template <class Rule>
using selector = p::parse_tree::selector<
    Rule, p::parse_tree::store_content::on<select, related, everything, selected, from_class, any, all, negation,
                                           comparison, property, text, double_body, single_body, word, number, kw_true,
                                           kw_false, kw_null, kw_not, constant, leading_constant, is_null, like, isa,
                                           sign, kw_references, path, clause, clause_name, clause_value, any_name,
                                           kw_classdefsonly, kw_keysonly, kw_schemaonly, name>>;

}  // namespace wmihost::wql::grammar
