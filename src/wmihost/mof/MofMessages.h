#pragma once

#include "wmihost/mof/MofGrammar.h"

// The compiler's messages for texts that do not follow the grammar.

namespace wmihost::mof {

template <class Rule>
inline constexpr const char* message = nullptr;

template <>
inline constexpr auto message<comment_end> = "expected */ to end the comment";
template <>
inline constexpr auto message<escape_code> =
    "expected one of b t n f r \" ' \\ or x and a hexadecimal number after the backslash";
template <>
inline constexpr auto message<text_end> = "expected \" to end the text on the line where it begins";
template <>
inline constexpr auto message<char_body> = "expected a character after '";
template <>
inline constexpr auto message<char_end> = "expected ' to end the character";
template <>
inline constexpr auto message<scalar_value> = "expected a value after ,";
template <>
inline constexpr auto message<list_end> = "expected , or } in the list of values";
template <>
inline constexpr auto message<value> = "expected a value";
template <>
inline constexpr auto message<qualifier_value_end> = "expected ) after the qualifier's value";
template <>
inline constexpr auto message<flavors> = "expected a flavor after :";
template <>
inline constexpr auto message<qualifier> = "expected the name of a qualifier";
template <>
inline constexpr auto message<qualifiers_end> = "expected ]";
template <>
inline constexpr auto message<type_name> = "expected the name of a class after :";
template <>
inline constexpr auto message<parameter_type> = "expected the type of a parameter";
template <>
inline constexpr auto message<parameter_name> = "expected the name of a parameter";
template <>
inline constexpr auto message<parameters_end> = "expected , or ) after the parameter";
template <>
inline constexpr auto message<member_type> = "expected the type of a property or method, or }";
template <>
inline constexpr auto message<member_name> = "expected the name of a property or method";
template <>
inline constexpr auto message<member_end> = "expected ;";
template <>
inline constexpr auto message<class_name> = "expected the name of a class";
template <>
inline constexpr auto message<superclass_name> = "expected the name of the superclass after :";
template <>
inline constexpr auto message<body_begin> = "expected {";
template <>
inline constexpr auto message<declaration_end> = "expected ; after }";
template <>
inline constexpr auto message<property_name> = "expected the name of a property, or }";
template <>
inline constexpr auto message<assignment_mark> = "expected = after the name of the property";
template <>
inline constexpr auto message<instance_alias> = "expected an alias that begins with $";
template <>
inline constexpr auto message<of_word> = "expected 'of' after 'instance'";
template <>
inline constexpr auto message<declared_after_qualifiers> = "expected 'class' or 'instance' after the qualifiers";
template <>
inline constexpr auto message<declared_qualifier> = "expected the name of a qualifier";
template <>
inline constexpr auto message<qualifier_colon> = "expected : and the type of the qualifier";
template <>
inline constexpr auto message<qualifier_type> = "expected the type of the qualifier";
template <>
inline constexpr auto message<words_begin> = "expected (";
template <>
inline constexpr auto message<scope_word> = "expected where the qualifier may stand";
template <>
inline constexpr auto message<scope_end> = "expected , or ) after the scope";
template <>
inline constexpr auto message<flavor_word> = "expected a flavor";
template <>
inline constexpr auto message<flavor_end> = "expected , or ) after the flavor";
template <>
inline constexpr auto message<scope_or_flavor> = "expected 'Scope' or 'Flavor' after ,";
template <>
inline constexpr auto message<qualifier_declaration_end> = "expected , or ; after the declaration of the qualifier";
template <>
inline constexpr auto message<include_text> = "expected the name of a file between quotes";
template <>
inline constexpr auto message<pragma_name> = "expected the name of a pragma";
template <>
inline constexpr auto message<pragma_argument> = "expected a text or a name";
template <>
inline constexpr auto message<pragma_end> = "expected , or ) after the argument of the pragma";
template <>
inline constexpr auto message<file_end> = "expected a class, an instance, a qualifier or a directive";

struct Messages
{
    template <class Rule>
    static constexpr const char* message = mof::message<Rule>;
    // A rule fails without a message while there is an alternative; only a must<> reports one.
    template <class Rule>
    static constexpr bool raise_on_failure = false;
};

template <class Rule>
using control = p::must_if<Messages>::control<Rule>;

}  // namespace wmihost::mof
