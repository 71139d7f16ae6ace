#pragma once

#include <tao/pegtl.hpp>
#include <tao/pegtl/contrib/parse_tree.hpp>

namespace wmihost {

// The first child of that rule in a parse tree; null if there is none. The node owns it.
template <class Rule>
const tao::pegtl::parse_tree::node* childOf(const tao::pegtl::parse_tree::node& node)
{
    for (const auto& child : node.children) {
        if (child->is_type<Rule>()) {
            return child.get();
        }
    }
    return nullptr;
}

}  // namespace wmihost
