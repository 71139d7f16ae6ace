#pragma once

#include <vector>

#include "wmihost/mof/MofContext.h"

namespace wmihost::mof {

// The instances of a text. One that uses an alias defined further down is postponed until the whole text is read.
class InstanceDeclarations
{
public:
    explicit InstanceDeclarations(Context& context) : m_context(context) {}

    // Adds the instance that the node declares to the current namespace, now or in declarePostponed. `qualifiers` may
    // be null. The node must live until then. Throws MofError.
    void declare(const Node& node, const Node* qualifiers);

    // Adds the postponed instances. Throws MofError for an undefined alias.
    void declarePostponed();

private:
    struct Postponed
    {
        const Node* node;
        const Node* alias;  // the one that it waits for
        Namespace* nameSpace;
    };

    void declareNow(const Node& node);
    void add(const Node& node, InstanceData instance, const std::wstring& path);

    Context& m_context;
    std::vector<Postponed> m_postponed;
};

}  // namespace wmihost::mof
