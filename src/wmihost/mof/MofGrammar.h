#pragma once

#include <cstddef>

#include <tao/pegtl.hpp>
#include <tao/pegtl/contrib/limit_depth.hpp>
#include <tao/pegtl/contrib/parse_tree.hpp>

// The grammar of MOF text. Each rule in a must<> has a message in MofMessages.h, which says what was expected where the
// rule did not match.

namespace wmihost::mof {

namespace p = tao::pegtl;

// clang-format off

struct comment_end : p::until<p::string<'*', '/'>> {};
struct line_comment : p::seq<p::string<'/', '/'>, p::until<p::eolf>> {};
struct block_comment : p::seq<p::string<'/', '*'>, p::must<comment_end>> {};
struct gap : p::star<p::sor<p::space, line_comment, block_comment>> {};

template <char C> struct mark : p::seq<p::one<C>, gap> {};
// A leaf of the tree, without the gap behind it; `expected` reports what is missing when it is not there.
template <class Leaf> struct token : p::seq<Leaf, gap> {};
template <class Leaf> struct expected : p::seq<p::must<Leaf>, gap> {};

// Names may hold letters outside ASCII; the bytes of their UTF-8 form are 0x80 and above.
struct name_first : p::sor<p::identifier_first, p::not_range<'\0', '\x7F'>> {};
struct name_other : p::sor<p::identifier_other, p::not_range<'\0', '\x7F'>> {};
struct identifier : p::seq<name_first, p::star<name_other>> {};
struct name : identifier {};
template <class Spelling> struct keyword : p::seq<Spelling, p::not_at<name_other>, gap> {};

struct kw_class : keyword<TAO_PEGTL_ISTRING("class")> {};
struct kw_instance : keyword<TAO_PEGTL_ISTRING("instance")> {};
struct kw_of : keyword<TAO_PEGTL_ISTRING("of")> {};
struct kw_as : keyword<TAO_PEGTL_ISTRING("as")> {};
struct kw_ref : keyword<TAO_PEGTL_ISTRING("ref")> {};
struct kw_true : keyword<TAO_PEGTL_ISTRING("true")> {};
struct kw_false : keyword<TAO_PEGTL_ISTRING("false")> {};
struct kw_null : keyword<TAO_PEGTL_ISTRING("null")> {};
struct kw_qualifier : keyword<TAO_PEGTL_ISTRING("qualifier")> {};
struct kw_scope : keyword<TAO_PEGTL_ISTRING("scope")> {};
struct kw_flavor : keyword<TAO_PEGTL_ISTRING("flavor")> {};

// Texts. Adjacent pieces form one text.
struct escape_code : p::sor<p::one<'b', 't', 'n', 'f', 'r', '"', '\'', '\\'>,
                            p::seq<p::one<'x', 'X'>, p::xdigit, p::rep_opt<3, p::xdigit>>> {};
struct escape : p::seq<p::one<'\\'>, p::must<escape_code>> {};
struct plain_char : p::not_one<'"', '\\', '\n', '\r'> {};
struct text_char : p::sor<escape, plain_char> {};
struct text_body : p::star<text_char> {};
struct text_end : p::one<'"'> {};
struct text_piece : p::seq<p::one<'"'>, text_body, p::must<text_end>, gap> {};
struct text : p::plus<text_piece> {};

// A character of 16 bits; in UTF-8 it takes up to three bytes.
struct char_body : p::sor<escape, p::seq<p::not_at<p::one<'\'', '\\', '\n', '\r'>>, p::utf8::range<0, 0xFFFF>>> {};
struct char_end : p::one<'\''> {};
struct character : p::seq<p::one<'\''>, p::must<char_body, char_end>, gap> {};

// Numbers.
struct sign : p::opt<p::one<'+', '-'>> {};
struct number_end : p::not_at<name_other> {};
struct exponent : p::seq<p::one<'e', 'E'>, sign, p::plus<p::digit>> {};
struct fraction : p::sor<p::seq<p::star<p::digit>, p::one<'.'>, p::plus<p::digit>>,
                         p::seq<p::plus<p::digit>, p::one<'.'>>> {};
struct real : p::seq<sign, p::sor<p::seq<fraction, p::opt<exponent>>, p::seq<p::plus<p::digit>, exponent>>,
                     number_end> {};
struct binary : p::seq<sign, p::plus<p::one<'0', '1'>>, p::one<'b', 'B'>, number_end> {};
struct hexadecimal : p::seq<sign, p::one<'0'>, p::one<'x', 'X'>, p::plus<p::xdigit>, number_end> {};
struct octal : p::seq<sign, p::one<'0'>, p::plus<p::range<'0', '7'>>, number_end> {};
struct decimal : p::seq<sign, p::plus<p::digit>, number_end> {};

struct alias : p::seq<p::one<'$'>, identifier> {};

// An instance that is the value of a property. Its assignments contain values in turn.
struct assignment;
struct class_name : identifier {};
struct instance_alias : p::seq<p::one<'$'>, identifier> {};
struct of_word : p::seq<kw_of> {};
struct body_begin : mark<'{'> {};
struct instance_body : p::seq<kw_instance, p::must<of_word>, expected<class_name>,
                              p::opt<kw_as, expected<instance_alias>>,
                              p::must<body_begin>, p::until<mark<'}'>, assignment>> {};
struct embedded_instance : p::seq<instance_body> {};

// So can a class be, where a property holds an object of any kind.
struct qualifiers;
struct class_body;
struct embedded_class : p::seq<p::opt<qualifiers>, class_body> {};

// Values.
struct scalar : p::sor<text, character, embedded_instance, embedded_class, token<real>, token<binary>, token<hexadecimal>,
                       token<octal>, token<decimal>, kw_true, kw_false, kw_null, token<alias>> {};
struct scalar_value : p::seq<scalar> {};
struct list_end : mark<'}'> {};
struct list : p::seq<mark<'{'>, p::opt<scalar, p::star<mark<','>, p::must<scalar_value>>>, p::must<list_end>> {};
struct value : p::sor<list, scalar> {};

// Qualifiers.
struct qualifier_value_end : mark<')'> {};
struct qualifier_value : p::sor<p::seq<mark<'('>, p::must<value, qualifier_value_end>>, list> {};
struct flavor : identifier {};
struct flavors : p::plus<token<flavor>> {};
struct qualifier_name : identifier {};
struct qualifier : p::seq<token<qualifier_name>, p::opt<qualifier_value>, p::opt<mark<':'>, p::must<flavors>>> {};
struct qualifiers_end : mark<']'> {};
struct qualifiers : p::seq<mark<'['>, p::must<qualifier>, p::star<mark<','>, p::must<qualifier>>, p::must<qualifiers_end>> {};

// Members of a class.
struct type_name : identifier {};
struct type_class : p::seq<mark<':'>, expected<type_name>> {};
struct ref_mark : p::seq<kw_ref> {};
struct type : p::seq<token<type_name>, p::opt<type_class>, p::opt<ref_mark>> {};
struct array_mark : p::seq<mark<'['>, p::opt<token<decimal>>, p::must<qualifiers_end>> {};
struct default_value : p::seq<mark<'='>, p::must<value>> {};
struct parameter_name : identifier {};
struct parameter_type : p::seq<type> {};
struct parameter : p::seq<p::opt<qualifiers>, p::must<parameter_type>, expected<parameter_name>, p::opt<array_mark>,
                          p::opt<default_value>> {};
struct parameters_end : mark<')'> {};
struct parameters : p::seq<mark<'('>, p::sor<mark<')'>, p::seq<parameter, p::star<mark<','>, parameter>, p::must<parameters_end>>>> {};
struct member_type : p::seq<type> {};
struct member_name : identifier {};
struct member_end : mark<';'> {};
struct member : p::seq<p::opt<qualifiers>, p::must<member_type>, expected<member_name>,
                       p::sor<parameters, p::seq<p::opt<array_mark>, p::opt<default_value>>>, p::must<member_end>> {};

// Classes and instances.
struct superclass_name : identifier {};
struct declaration_end : mark<';'> {};
struct class_alias : p::opt<kw_as, expected<instance_alias>> {};
struct class_body : p::seq<kw_class, expected<class_name>, class_alias,
                           p::opt<mark<':'>, expected<superclass_name>, class_alias>, p::must<body_begin>,
                           p::until<mark<'}'>, member>> {};
struct class_declaration : p::seq<class_body, p::must<declaration_end>> {};
struct property_name : identifier {};
struct assignment_mark : mark<'='> {};
struct assignment : p::seq<p::opt<qualifiers>, expected<property_name>, p::must<assignment_mark, value, member_end>> {};
struct instance_declaration : p::seq<instance_body, p::must<declaration_end>> {};
struct declared : p::sor<class_declaration, instance_declaration> {};
struct declared_after_qualifiers : p::seq<declared> {};
struct declaration : p::sor<p::seq<qualifiers, p::must<declared_after_qualifiers>>, declared> {};

// Declarations of qualifiers.
struct declared_qualifier : identifier {};
struct qualifier_colon : mark<':'> {};
struct qualifier_type : identifier {};
struct words_begin : mark<'('> {};
struct scope_word : identifier {};
struct scope_end : mark<')'> {};
struct scope : p::seq<kw_scope, p::must<words_begin>, expected<scope_word>, p::star<mark<','>, expected<scope_word>>,
                      p::must<scope_end>> {};
struct flavor_word : p::seq<flavor> {};
struct flavor_end : mark<')'> {};
struct default_flavor : p::seq<kw_flavor, p::must<words_begin>, expected<flavor_word>,
                               p::star<mark<','>, expected<flavor_word>>, p::must<flavor_end>> {};
struct scope_or_flavor : p::sor<scope, default_flavor> {};
struct qualifier_declaration_end : mark<';'> {};
struct qualifier_declaration : p::seq<kw_qualifier, expected<declared_qualifier>, p::must<qualifier_colon>,
                                      expected<qualifier_type>, p::star<token<flavor>>, p::opt<array_mark>,
                                      p::opt<default_value>,
                                      p::star<mark<','>, p::must<scope_or_flavor>>,
                                      p::must<qualifier_declaration_end>> {};

// Directives.
struct include_text : p::seq<text> {};
struct include : p::seq<TAO_PEGTL_ISTRING("#include"), gap, p::must<include_text>> {};
struct pragma_name : identifier {};
struct pragma_argument : p::sor<text, token<name>> {};
struct pragma_end : mark<')'> {};
struct pragma_arguments : p::seq<mark<'('>, p::must<pragma_argument>, p::star<mark<','>, p::must<pragma_argument>>, p::must<pragma_end>> {};
struct pragma : p::seq<TAO_PEGTL_ISTRING("#pragma"), gap, expected<pragma_name>, p::opt<pragma_arguments>> {};

struct statement : p::sor<pragma, include, qualifier_declaration, declaration> {};
struct file_end : p::eof {};
struct file : p::seq<gap, p::star<statement>, p::must<file_end>> {};

// clang-format on

// Instances in instances beyond this depth, and classes in classes, would exhaust the stack.
constexpr std::size_t DEEPEST_INSTANCE = 64;
constexpr std::size_t DEEPEST_CLASS = 16;

template <class Rule>
struct action : p::nothing<Rule>
{
};

template <>
struct action<embedded_instance> : p::limit_depth<DEEPEST_INSTANCE>
{
};

template <>
struct action<embedded_class> : p::limit_depth<DEEPEST_CLASS>
{
};

// The nodes that the parse tree keeps; only these keep their text.
template <class Rule>
using selector = p::parse_tree::selector<
    Rule, p::parse_tree::store_content::on<
              pragma, pragma_name, include, class_declaration, class_name, superclass_name, member, type_name,
              type_class, ref_mark, member_name, array_mark, parameters, parameter, parameter_name, default_value,
              instance_declaration, instance_alias, assignment, property_name, declaration, qualifiers, qualifier,
              qualifier_name, flavor, qualifier_declaration, declared_qualifier, qualifier_type, scope_word,
              embedded_instance, embedded_class, list, text, text_body, character, real, binary, hexadecimal, octal,
              decimal, kw_true, kw_false, kw_null, alias, name>>;

}  // namespace wmihost::mof
