#pragma once

#include <tao/pegtl.hpp>
#include <tao/pegtl/contrib/parse_tree.hpp>

// The grammar of object paths. Each rule behind a must<> has a message, which says what was expected at its place.

namespace wmihost::path_grammar {

namespace p = tao::pegtl;

// clang-format off

// The parts before the class; slashes of either kind separate them.
struct slash : p::one<'\\', '/'> {};
struct server : p::plus<p::not_one<'\\', '/', ':'>> {};
struct server_end : p::seq<slash> {};
struct name_space : p::star<p::not_one<':'>> {};
struct name_space_end : p::one<':'> {};
struct full_prefix : p::seq<p::sor<p::string<'\\', '\\'>, p::string<'/', '/'>>,
                            p::must<server, server_end, name_space, name_space_end>> {};
// Behind a dot, an equals sign or a quote, a colon belongs to a key.
struct local_name_space : p::star<p::not_one<':', '"', '\'', '.', '='>> {};
struct local_prefix : p::seq<p::opt<slash>, local_name_space, name_space_end> {};

// Letters outside ASCII take several bytes, none of which is an ASCII character.
struct letter : p::sor<p::identifier_first, p::not_range<'\0', '\x7F'>> {};
struct name : p::seq<letter, p::star<p::sor<letter, p::digit>>> {};
struct class_name : p::seq<name> {};
struct key_name : p::seq<name> {};

// Values. A backslash protects a quote or another backslash; before anything else it stands for itself.
struct escape : p::seq<p::one<'\\'>, p::one<'\\', '"', '\''>> {};
struct double_body : p::star<p::sor<escape, p::not_one<'"'>>> {};
struct double_end : p::one<'"'> {};
struct single_body : p::star<p::sor<escape, p::not_one<'\''>>> {};
struct single_end : p::one<'\''> {};
struct bare : p::plus<p::not_one<','>> {};
struct value : p::sor<p::seq<p::one<'"'>, double_body, p::must<double_end>>,
                      p::seq<p::one<'\''>, single_body, p::must<single_end>>, bare> {};

struct equals : p::one<'='> {};
struct key : p::seq<p::must<key_name, equals, value>> {};
struct keys : p::seq<p::one<'.'>, key, p::star<p::one<','>, key>> {};
struct singleton : p::one<'@'> {};
struct short_form : p::seq<equals, p::sor<singleton, p::must<value>>> {};
struct path_end : p::eof {};
struct path : p::seq<p::opt<p::sor<full_prefix, local_prefix>>,
                     p::must<class_name>, p::opt<p::sor<keys, short_form>>, p::must<path_end>> {};

// clang-format on

template <class Rule>
inline constexpr const char* message = nullptr;

template <>
inline constexpr auto message<server> = "expected the name of a machine";
template <>
inline constexpr auto message<server_end> = "expected a namespace behind the machine";
template <>
inline constexpr auto message<name_space> = "expected a namespace";
template <>
inline constexpr auto message<name_space_end> = "expected : behind the namespace";
template <>
inline constexpr auto message<class_name> = "expected the name of a class";
template <>
inline constexpr auto message<key_name> = "expected the name of a key";
template <>
inline constexpr auto message<equals> = "expected =";
template <>
inline constexpr auto message<value> = "expected the value of a key";
template <>
inline constexpr auto message<double_end> = "expected \" at the end of the value";
template <>
inline constexpr auto message<single_end> = "expected ' at the end of the value";
template <>
inline constexpr auto message<path_end> = "expected the end";

struct Messages
{
    template <class Rule>
    static constexpr const char* message = path_grammar::message<Rule>;
    // A rule fails without a message while there is an alternative; only a must<> reports one.
    template <class Rule>
    static constexpr bool raise_on_failure = false;
};

template <class Rule>
using control = p::must_if<Messages>::control<Rule>;

// The nodes that the parse tree keeps.
template <class Rule>
using selector = p::parse_tree::selector<
    Rule, p::parse_tree::store_content::on<server, name_space, local_name_space, class_name, key, key_name, double_body,
                                           single_body, bare, singleton, short_form>>;

}  // namespace wmihost::path_grammar
