#include "wmihost/mof/MofInstances.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "wmihost/mof/MofValues.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

bool hasKeys(const ClassDefinition& definition)
{
    return hasQualifier(definition.qualifiers, L"singleton") ||
           std::any_of(definition.properties.begin(), definition.properties.end(),
                       [](const Property& property) { return property.isKey(); });
}

const VARIANT& nameValue(const InstanceData& instance)
{
    return instance.values[static_cast<std::size_t>(instance.definition->indexOf(L"Name"))].get();
}

}  // namespace

void InstanceDeclarations::declare(const Node& node, const Node* qualifiers)
{
    // The qualifiers of an instance follow from its class. Those in the text are only checked.
    m_context.qualifiers.read(qualifiers);
    if (const Node* alias = undefinedAlias(m_context, node)) {
        m_postponed.push_back({&node, alias, &m_context.nameSpace()});
    } else {
        declareNow(node);
    }
}

// Instances may wait for each other. If a round declares none, an alias is missing.
void InstanceDeclarations::declarePostponed()
{
    Namespace* const current = m_context.current;
    while (!m_postponed.empty()) {
        const std::vector<Postponed> round = std::exchange(m_postponed, {});
        for (const Postponed& instance : round) {
            m_context.current = instance.nameSpace;
            declare(*instance.node, nullptr);
        }
        if (m_postponed.size() == round.size()) {
            const Node& alias = *m_postponed.front().alias;
            fail(alias, "no instance has the alias " + std::string(alias.string_view()));
        }
    }
    m_context.current = current;
}

void InstanceDeclarations::declareNow(const Node& node)
{
    InstanceData instance = readInstance(m_context, node);
    const Node& classNode = *childOf<class_name>(node);
    const ClassDefinition& definition = *instance.definition;
    const std::wstring path = relativePath(definition, instance.values).value_or(std::wstring());
    // An instance of a class without keys can only be used through its alias, as the value of a property.
    if (path.empty() && hasKeys(definition)) {
        fail(classNode, "an instance of " + inQuotes(definition.name) + " needs a value for each of its keys");
    }
    if (const Node* aliasNode = childOf<instance_alias>(node)) {
        const std::wstring prefix = L"\\\\.\\" + m_context.nameSpace().name() + L":";
        m_context.define(*aliasNode, {path.empty() ? path : prefix + path, instance, nullptr});
    }
    add(classNode, std::move(instance), path);
}

void InstanceDeclarations::add(const Node& node, InstanceData instance, const std::wstring& path)
{
    Namespace& target = m_context.nameSpace();
    if (sameName(instance.definition->name, L"__NAMESPACE")) {
        // An instance of __NAMESPACE creates that namespace.
        m_context.repository.openNamespace(target.name() + L"\\" + scalarText(nameValue(instance), CIM_STRING));
        return;
    }
    const bool exists = !path.empty() && target.findInstance(path) != nullptr;
    if (m_context.instanceRule.createOnly && exists) {
        fail(node, "the instance exists, and #pragma instanceflags asks for new instances only");
    }
    if (m_context.instanceRule.updateOnly && !exists) {
        fail(node, "the instance does not exist, and #pragma instanceflags asks for updates only");
    }
    target.addInstance(std::move(instance));
}

}  // namespace wmihost::mof
