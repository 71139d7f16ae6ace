#include "wmihost/mof/MofClasses.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "wmihost/mof/MofValues.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

struct Type
{
    CIMTYPE type;
    std::wstring className;  // of a reference or an embedded object; empty for any class
};

// The type that stands before the name of a property, a method or a parameter.
Type scalarType(const Node& node)
{
    const Node& typeNode = *childOf<type_name>(node);
    const CimTypeInfo* info = findCimType(nameOf(typeNode));
    const bool isObject = info != nullptr && info->type == CIM_OBJECT;
    const Node* embeddedNode = childOf<type_class>(node);
    if (embeddedNode != nullptr && !isObject) {
        fail(typeNode, "only 'object' may be followed by : and a class");
    }
    if (childOf<ref_mark>(node) != nullptr) {
        if (info != nullptr && !isObject) {
            fail(typeNode, "a reference is to a class, not to the type " + inQuotes(typeNode));
        }
        return {CIM_REFERENCE, isObject ? std::wstring() : nameOf(typeNode)};
    }
    if (embeddedNode != nullptr) {
        return {CIM_OBJECT, nameIn<type_name>(*embeddedNode)};
    }
    // A class that stands as a type means an embedded object of that class.
    return info == nullptr ? Type{CIM_OBJECT, nameOf(typeNode)} : Type{info->type, std::wstring()};
}

Type readType(const Node& node)
{
    Type result = scalarType(node);
    if (childOf<array_mark>(node) != nullptr) {
        result.type |= CIM_FLAG_ARRAY;
    }
    return result;
}

// Reads the members of one class.
class ClassReader
{
public:
    ClassReader(Context& context, ClassDefinition& definition) : m_context(context), m_class(definition) {}

    void member(const Node& node)
    {
        if (const Node* list = childOf<parameters>(node)) {
            m_context.strict.checkType(node, m_class.name, m_context.nameSpace());
            method(node, *list);
        } else {
            property(node);
        }
    }

private:
    void property(const Node& node)
    {
        const Node& nameNode = *childOf<member_name>(node);
        const auto [type, className] = readType(node);
        Property result;
        result.name = nameOf(nameNode);
        result.type = type;
        result.className = className;
        result.origin = m_class.name;
        result.qualifiers = standardQualifiers(type, className);
        const int place = m_class.indexOf(result.name);
        if (place >= 0) {
            inherit(result, m_class.properties[static_cast<std::size_t>(place)], nameNode);
        }
        const Node* list = childOf<qualifiers>(node);
        m_context.strict.checkQualifiers(list, type == CIM_REFERENCE ? SCOPE_REFERENCE : SCOPE_PROPERTY,
                                         m_context.qualifiers);
        result.qualifiers = m_context.qualifiers.read(list, std::move(result.qualifiers));
        m_context.strict.checkType(node, m_class.name, namespaceOfType(result));
        checkEmbeddedClass(node, result);
        if (const Node* defaultNode = childOf<default_value>(node)) {
            result.defaultValue = readValue(m_context, *defaultNode->children.front(), result);
        }
        if (place >= 0) {
            m_class.properties[static_cast<std::size_t>(place)] = std::move(result);
        } else {
            m_class.properties.push_back(std::move(result));
        }
    }

    // Where the class of the property's type is declared. A reference may lead to another namespace of WMI, which the
    // qualifier MSFT_TargetNamespace names.
    const Namespace& namespaceOfType(const Property& property) const
    {
        const std::wstring target = qualifierText(property.qualifiers, L"MSFT_TargetNamespace");
        const Namespace* found = target.empty() ? nullptr : m_context.repository.findNamespace(target);
        return found == nullptr ? m_context.nameSpace() : *found;
    }

    // Copies into a property what it inherits from the overridden property of the superclass.
    static void inherit(Property& result, const Property& inherited, const Node& nameNode)
    {
        if (inherited.local) {
            fail(nameNode, "the property " + inQuotes(result.name) + " is declared twice");
        }
        if (inherited.type != result.type) {
            fail(nameNode, "the property " + inQuotes(result.name) + " of the superclass has another type");
        }
        result.origin = inherited.origin;
        result.defaultValue = inherited.defaultValue;
        // The first qualifier names the type. It is not inherited, since a reference may be restricted to a derived
        // class.
        for (const Qualifier& qualifier : inherited.qualifiers) {
            if (!sameName(qualifier.name, L"CIMTYPE")) {
                result.qualifiers.push_back(qualifier);
            }
        }
        result.overridden = std::make_shared<const Property>(inherited);
    }

    // The qualifier EmbeddedInstance names a class by a text.
    void checkEmbeddedClass(const Node& node, const Property& property)
    {
        const Qualifier* found = findQualifier(property.qualifiers, L"EmbeddedInstance");
        const bool inherited = found != nullptr && (found->flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        if (found != nullptr && !inherited) {
            m_context.strict.checkReference(node, qualifierText(property.qualifiers, L"EmbeddedInstance"), m_class.name,
                                            m_context.nameSpace());
        }
    }

    void method(const Node& node, const Node& list)
    {
        const Node& nameNode = *childOf<member_name>(node);
        Method result;
        result.name = nameOf(nameNode);
        result.origin = m_class.name;
        const auto same = [&result](const Method& m) { return sameName(m.name, result.name); };
        const auto inherited = std::find_if(m_class.methods.begin(), m_class.methods.end(), same);
        const bool overrides = inherited != m_class.methods.end();
        if (overrides && inherited->local) {
            fail(nameNode, "the method " + inQuotes(result.name) + " is declared twice");
        }
        if (overrides) {
            result.origin = inherited->origin;
            result.qualifiers = inherited->qualifiers;
        }
        const Node* qualifierNode = childOf<qualifiers>(node);
        m_context.strict.checkQualifiers(qualifierNode, SCOPE_METHOD, m_context.qualifiers);
        result.qualifiers = m_context.qualifiers.read(qualifierNode, std::move(result.qualifiers));
        readSignatures(node, list, result);
        if (overrides) {
            *inherited = std::move(result);
        } else {
            m_class.methods.push_back(std::move(result));
        }
    }

    void readSignatures(const Node& node, const Node& list, Method& result)
    {
        ClassDefinition in = signature();
        ClassDefinition out = signature();
        long id = 0;
        for (const auto& child : list.children) {
            parameter(*child, id++, in, out);
        }
        if (!sameName(nameIn<type_name>(node), L"void")) {
            const auto [type, className] = readType(node);
            Property returnValue;
            returnValue.name = L"ReturnValue";
            returnValue.type = type;
            returnValue.className = className;
            returnValue.origin = out.name;
            returnValue.qualifiers = standardQualifiers(type, className);
            returnValue.qualifiers.push_back(flag(L"out"));
            out.properties.push_back(std::move(returnValue));
        }
        if (!in.properties.empty()) {
            result.in = std::make_shared<const ClassDefinition>(std::move(in));
        }
        if (!out.properties.empty()) {
            result.out = std::make_shared<const ClassDefinition>(std::move(out));
        }
    }

    void parameter(const Node& node, long id, ClassDefinition& in, ClassDefinition& out)
    {
        m_context.strict.checkType(node, m_class.name, m_context.nameSpace());
        m_context.strict.checkParameterDefault(node);
        const auto [type, className] = readType(node);
        Property result;
        result.name = nameIn<parameter_name>(node);
        result.type = type;
        result.className = className;
        result.origin = in.name;
        const Node* list = childOf<qualifiers>(node);
        m_context.strict.checkQualifiers(list, SCOPE_PARAMETER, m_context.qualifiers);
        result.qualifiers = m_context.qualifiers.read(list, standardQualifiers(type, className));
        checkEmbeddedClass(node, result);
        if (findQualifier(result.qualifiers, L"ID") == nullptr) {
            result.qualifiers.push_back({L"ID", CIM_SINT32, Variant::ofLong(id), keyQualifier().flavor});
        }
        if (const Node* defaultNode = childOf<default_value>(node)) {
            result.defaultValue = readValue(m_context, *defaultNode->children.front(), result);
        }
        const bool isOut = hasQualifier(result.qualifiers, L"out");
        const bool isIn = isInput(result, isOut);
        if (!isIn && !isOut) {
            fail(node, "the parameter " + inQuotes(result.name) + " is neither an input nor an output");
        }
        if ((isIn && in.indexOf(result.name) >= 0) || (isOut && out.indexOf(result.name) >= 0)) {
            fail(node, "the parameter " + inQuotes(result.name) + " is declared twice");
        }
        if (isIn) {
            in.properties.push_back(result);
        }
        if (isOut) {
            out.properties.push_back(std::move(result));
        }
    }

    // A parameter without In and Out is an input and gets the qualifier In.
    bool isInput(Property& parameter, bool isOut) const
    {
        if (findQualifier(parameter.qualifiers, L"in") != nullptr) {
            return hasQualifier(parameter.qualifiers, L"in");
        }
        const bool result = !isOut || m_context.qualifiers.outputsAreInputs();
        if (result) {
            parameter.qualifiers.push_back(flag(L"in"));
        }
        return result;
    }

    ClassDefinition signature() const
    {
        ClassDefinition result;
        result.name = L"__PARAMETERS";
        result.nameSpace = m_class.nameSpace;
        result.qualifiers.push_back(
            {L"abstract", CIM_BOOLEAN, Variant::ofBool(true), WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE});
        return result;
    }

    static Qualifier flag(const wchar_t* name)
    {
        return {name, CIM_BOOLEAN, Variant::ofBool(true), keyQualifier().flavor};
    }

    Context& m_context;
    ClassDefinition& m_class;
};

void demandUpdateRule(const Context& context, const Node& nameNode, bool exists)
{
    if (context.classRule.createOnly && exists) {
        fail(nameNode, "the class " + inQuotes(nameNode) + " exists, and #pragma classflags asks for new classes only");
    }
    if (context.classRule.updateOnly && !exists) {
        fail(nameNode,
             "the class " + inQuotes(nameNode) + " does not exist, and #pragma classflags asks for updates only");
    }
}

}  // namespace

ClassPointer readClass(Context& context, const Node& node, const Node* classQualifiers)
{
    const Node& nameNode = *childOf<class_name>(node);
    ClassDefinition definition;
    if (const Node* superNode = childOf<superclass_name>(node)) {
        const ClassPointer superclass = context.requiredClass(*superNode, "the superclass");
        definition = derivedFrom(*superclass, nameOf(nameNode));
    }
    definition.name = nameOf(nameNode);
    definition.nameSpace = context.nameSpace().name();
    definition.qualifiers = context.qualifiers.read(classQualifiers, std::move(definition.qualifiers));
    context.strict.checkQualifiers(classQualifiers, classScope(definition.qualifiers), context.qualifiers);
    ClassReader reader(context, definition);
    for (const auto& child : node.children) {
        if (child->is_type<mof::member>()) {
            reader.member(*child);
        }
    }
    return std::make_shared<const ClassDefinition>(std::move(definition));
}

void declareClass(Context& context, const Node& node, const Node* classQualifiers)
{
    const Node& nameNode = *childOf<class_name>(node);
    demandUpdateRule(context, nameNode, context.nameSpace().findClass(nameOf(nameNode)) != nullptr);
    const ClassPointer shared = readClass(context, node, classQualifiers);
    context.nameSpace().addClass(shared);
    if (const Node* aliasNode = childOf<instance_alias>(node)) {
        context.define(*aliasNode,
                       {L"\\\\.\\" + context.nameSpace().name() + L":" + shared->name, std::nullopt, shared});
    }
}

}  // namespace wmihost::mof
