#include "wmihost/mof/MofValues.h"

#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "wmihost/mof/MofClasses.h"
#include "wmihost/mof/MofLiterals.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::mof {
namespace {

// The class that the qualifier of a text property demands of the instance in the text; none for a plain text.
std::optional<std::wstring> embeddedClass(const Property& target)
{
    if (const std::wstring name = qualifierText(target.qualifiers, L"EmbeddedInstance"); !name.empty()) {
        return name;
    }
    return hasQualifier(target.qualifiers, L"EmbeddedObject") ? std::optional(std::wstring()) : std::nullopt;
}

// Throws MofError unless the class is `demanded`, or derived from it. Any class is right where that is empty.
void demandClass(const Node& node, const ClassDefinition& definition, const std::wstring& demanded)
{
    if (!demanded.empty() && !definition.inheritsFrom(demanded)) {
        fail(node, "expected an instance of " + inQuotes(demanded) + ", not of " + inQuotes(definition.name));
    }
}

// The object as the value of the property: itself if the property holds objects, its MOF if the property holds texts.
Variant embedded(const Node& node, const Alias& object, const Property& target)
{
    const bool asText = elementTypeOf(target.type) == CIM_STRING;
    const ClassDefinition& definition = object.instance ? *object.instance->definition : *object.definition;
    demandClass(node, definition, asText ? embeddedClass(target).value_or(std::wstring()) : target.className);
    if (asText) {
        return Variant::ofText(object.instance ? instanceText(definition, object.instance->values)
                                               : classText(definition, true));
    }
    return Variant::ofObject(object.instance ? ClassObject::ofInstance(*object.instance)
                                             : ClassObject::ofClass(object.definition));
}

Variant aliasValue(const Context& context, const Node& node, const Property& target)
{
    const Alias* found = context.findAlias(node);
    if (found == nullptr) {
        fail(node, "the alias " + std::string(node.string_view()) + " is not defined above");
    }
    const CIMTYPE type = elementTypeOf(target.type);
    if (type == CIM_OBJECT || (type == CIM_STRING && embeddedClass(target))) {
        return embedded(node, *found, target);
    }
    if (type != CIM_REFERENCE && type != CIM_STRING) {
        fail(node, "expected a value of type " + toUtf8(infoOf(type).name));
    }
    if (found->path.empty()) {
        fail(node, "the alias " + std::string(node.string_view()) + " has no path, because its class has no keys");
    }
    return Variant::ofText(found->path);
}

Variant scalarValue(Context& context, const Node& node, const Property& target)
{
    if (node.is_type<alias>()) {
        return aliasValue(context, node, target);
    }
    const CIMTYPE type = elementTypeOf(target.type);
    const bool takesObjects = type == CIM_OBJECT || (type == CIM_STRING && embeddedClass(target));
    if (takesObjects && node.is_type<embedded_instance>()) {
        return embedded(node, {{}, readInstance(context, node), nullptr}, target);
    }
    if (takesObjects && node.is_type<embedded_class>()) {
        return embedded(node, {{}, std::nullopt, readClass(context, node, childOf<qualifiers>(node))}, target);
    }
    return literal(node, type);
}

}  // namespace

Variant readValue(Context& context, const Node& node, const Property& target)
{
    if (node.is_type<kw_null>()) {
        return Variant();
    }
    if (!node.is_type<list>()) {
        if (isArray(target.type)) {
            fail(node, "expected a list of values between { and }");
        }
        return scalarValue(context, node, target);
    }
    if (!isArray(target.type)) {
        fail(node, "expected a single value, not a list");
    }
    std::vector<Variant> elements;
    for (const auto& element : node.children) {
        elements.push_back(scalarValue(context, *element, target));
    }
    return Variant::ofArray(infoOf(target.type).variant, elements);
}

Variant readValue(Context& context, const Node& node, CIMTYPE type)
{
    Property target;
    target.type = type;
    return readValue(context, node, target);
}

InstanceData readInstance(Context& context, const Node& node)
{
    const ClassPointer definition = context.requiredClass(*childOf<class_name>(node), "the class");
    InstanceData instance(definition);
    std::set<int> assigned;
    for (const auto& child : node.children) {
        if (!child->is_type<assignment>()) {
            continue;
        }
        const Node& nameNode = *childOf<property_name>(*child);
        const int place = definition->indexOf(nameOf(nameNode));
        if (place < 0) {
            fail(nameNode, "the class " + inQuotes(definition->name) + " has no property " + inQuotes(nameNode));
        }
        if (!assigned.insert(place).second) {
            fail(nameNode, "the property " + inQuotes(nameNode) + " gets a value a second time");
        }
        // The qualifiers of a value follow from its class. Those in the text are only checked.
        context.qualifiers.read(childOf<qualifiers>(*child));
        const auto index = static_cast<std::size_t>(place);
        instance.values[index] = readValue(context, *child->children.back(), definition->properties[index]);
    }
    return instance;
}

const Node* undefinedAlias(const Context& context, const Node& node)
{
    if (node.is_type<alias>()) {
        return context.findAlias(node) == nullptr ? &node : nullptr;
    }
    for (const auto& child : node.children) {
        if (const Node* found = undefinedAlias(context, *child)) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace wmihost::mof
