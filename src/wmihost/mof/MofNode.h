#pragma once

#include <string>
#include <string_view>

#include "wmihost/mof/MofGrammar.h"
#include "wmihost/repository/ParseTree.h"

// Helpers for reading the parse tree of a MOF text.

namespace wmihost::mof {

using Node = p::parse_tree::node;

// "file:line:column: reason"
std::string at(const p::position& where, std::string_view reason);

// Throws MofError with the place and the reason.
[[noreturn]] void fail(const p::position& where, std::string_view reason);
[[noreturn]] void fail(const Node& node, std::string_view reason);

// The name between quotes, in UTF-8.
std::string inQuotes(std::wstring_view name);
std::string inQuotes(const Node& name);

// The text of a node.
std::wstring nameOf(const Node& node);

// The text of the first child of that rule; empty if there is none.
template <class Rule>
std::wstring nameIn(const Node& node)
{
    const Node* child = childOf<Rule>(node);
    return child == nullptr ? std::wstring() : nameOf(*child);
}

}  // namespace wmihost::mof
