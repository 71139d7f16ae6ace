#include "wmihost/objects/SystemProperties.h"

#include <algorithm>
#include <cstddef>

#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Values = std::optional<std::vector<Variant>>;

std::optional<std::wstring> pathOf(const ClassDefinition& definition, const Values& values)
{
    if (values) {
        return relativePath(definition, *values);
    }
    return definition.name.empty() ? std::nullopt : std::optional(definition.name);
}

Variant textOrNull(const std::wstring& text)
{
    return text.empty() ? Variant() : Variant::ofText(text);
}

Variant genus(const ClassDefinition&, const Values& values)
{
    return Variant::ofLong(values ? WBEM_GENUS_INSTANCE : WBEM_GENUS_CLASS);
}

Variant className(const ClassDefinition& definition, const Values&)
{
    return textOrNull(definition.name);
}

Variant superclass(const ClassDefinition& definition, const Values&)
{
    return definition.ancestors.empty() ? Variant() : Variant::ofText(definition.ancestors.front());
}

Variant dynasty(const ClassDefinition& definition, const Values&)
{
    return textOrNull(definition.ancestors.empty() || definition.name.empty() ? definition.name
                                                                              : definition.ancestors.back());
}

Variant relPath(const ClassDefinition& definition, const Values& values)
{
    return textOrNull(pathOf(definition, values).value_or(std::wstring()));
}

Variant propertyCount(const ClassDefinition& definition, const Values&)
{
    return Variant::ofLong(static_cast<long>(definition.properties.size()));
}

Variant derivation(const ClassDefinition& definition, const Values&)
{
    return Variant::ofTexts(definition.ancestors);
}

Variant server(const ClassDefinition&, const Values&)
{
    return Variant::ofText(serverName());
}

Variant nameSpace(const ClassDefinition& definition, const Values&)
{
    return Variant::ofText(definition.nameSpace);
}

Variant path(const ClassDefinition& definition, const Values& values)
{
    const auto relative = pathOf(definition, values);
    return relative ? Variant::ofText(fullPath(definition.nameSpace, *relative)) : Variant();
}

struct SystemProperty
{
    CIMTYPE type;
    Variant (*value)(const ClassDefinition&, const Values&);
};

// In the order of the names.
constexpr std::array<SystemProperty, 10> PROPERTIES{{
    {CIM_SINT32, genus},
    {CIM_STRING, className},
    {CIM_STRING, superclass},
    {CIM_STRING, dynasty},
    {CIM_STRING, relPath},
    {CIM_SINT32, propertyCount},
    {CIM_STRING | CIM_FLAG_ARRAY, derivation},
    {CIM_STRING, server},
    {CIM_STRING, nameSpace},
    {CIM_STRING, path},
}};

}  // namespace

const std::array<std::wstring_view, 10> SYSTEM_PROPERTY_NAMES{
    L"__GENUS",          L"__CLASS",      L"__SUPERCLASS", L"__DYNASTY",   L"__RELPATH",
    L"__PROPERTY_COUNT", L"__DERIVATION", L"__SERVER",     L"__NAMESPACE", L"__PATH"};

bool isSystemName(std::wstring_view name)
{
    return name.starts_with(L"__");
}

bool isSystemProperty(std::wstring_view name)
{
    return findSystemProperty(name) != nullptr;
}

const std::vector<Property>& systemProperties()
{
    static const std::vector<Property> declared = [] {
        std::vector<Property> result(PROPERTIES.size());
        for (std::size_t i = 0; i < result.size(); ++i) {
            result[i].name = SYSTEM_PROPERTY_NAMES[i];
            result[i].type = PROPERTIES[i].type;
        }
        return result;
    }();
    return declared;
}

const Property* findSystemProperty(std::wstring_view name)
{
    const auto& all = systemProperties();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [name](const Property& property) { return sameName(property.name, name); });
    return found == all.end() ? nullptr : &*found;
}

std::optional<SystemValue> systemValue(const ClassDefinition& definition, const Values& values, std::wstring_view name)
{
    for (std::size_t i = 0; i < PROPERTIES.size(); ++i) {
        if (sameName(SYSTEM_PROPERTY_NAMES[i], name)) {
            return SystemValue{PROPERTIES[i].value(definition, values), PROPERTIES[i].type};
        }
    }
    return std::nullopt;
}

}  // namespace wmihost
