#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/CimType.h"

namespace wmihost {

// A qualifier of a class, a property, a method or a parameter.
struct Qualifier
{
    std::wstring name;
    CIMTYPE type = CIM_BOOLEAN;
    Variant value;
    long flavor = 0;  // WBEM_FLAVOR_ bits
};

using Qualifiers = std::vector<Qualifier>;

// Null if there is none of that name (without case).
const Qualifier* findQualifier(const Qualifiers& qualifiers, std::wstring_view name);

// Whether the boolean qualifier exists and is true.
bool hasQualifier(const Qualifiers& qualifiers, std::wstring_view name);

// The text of a qualifier; empty if it does not exist or is not a text.
std::wstring qualifierText(const Qualifiers& qualifiers, std::wstring_view name);

// The qualifier that every property and parameter has: CIMTYPE, "uint16" or "ref:Class".
Qualifiers standardQualifiers(CIMTYPE type, std::wstring_view className);

// The qualifier `key`, with the flavor that WMI gives it in every MOF.
Qualifier keyQualifier();

struct Property
{
    std::wstring name;
    CIMTYPE type = CIM_STRING;
    // The class of a reference or an embedded object; empty for any class and for other types.
    std::wstring className;
    Variant defaultValue;
    std::wstring origin;  // the class that declares it first
    bool local = true;    // declared or overridden by the class itself, not only inherited
    Qualifiers qualifiers;
    // The inherited property that this one overrides; null if there is none.
    std::shared_ptr<const Property> overridden = nullptr;

    bool isKey() const { return hasQualifier(qualifiers, L"key"); }
};

struct ClassDefinition;

struct Method
{
    std::wstring name;
    std::wstring origin;
    bool local = true;
    Qualifiers qualifiers;
    // Parameter classes named __PARAMETERS; null if the method has no inputs or no outputs. The outputs have a property
    // ReturnValue for the return value.
    std::shared_ptr<const ClassDefinition> in;
    std::shared_ptr<const ClassDefinition> out;
};

// A class as the repository keeps it, including inherited members. Threads and objects share it, so it never changes
// once it is shared.
struct ClassDefinition
{
    std::wstring name;
    std::wstring nameSpace;               // "root\DCIM\vexal"
    std::vector<std::wstring> ancestors;  // the superclass first
    Qualifiers qualifiers;
    std::vector<Property> properties;  // inherited ones first
    std::vector<Method> methods;

    // Null if there is none of that name (without case).
    const Property* findProperty(std::wstring_view propertyName) const;
    const Method* findMethod(std::wstring_view methodName) const;
    // The index of a property in `properties` and in an instance's values; -1 if the class does not have it.
    int indexOf(std::wstring_view propertyName) const;
    bool inheritsFrom(std::wstring_view ancestor) const;
};

using ClassPointer = std::shared_ptr<const ClassDefinition>;

// The names and values of the properties of one instance, in the order of its class.
struct InstanceData
{
    ClassPointer definition;
    std::vector<Variant> values;

    // An instance with the defaults of its class.
    explicit InstanceData(ClassPointer instanceClass);
};

// A class of that name that has only inherited members and qualifiers. Qualifiers are inherited if their flavor says
// so.
ClassDefinition derivedFrom(const ClassDefinition& superclass, std::wstring name);

// The qualifiers that a derived class, or with WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE an instance, receives.
Qualifiers propagated(const Qualifiers& qualifiers, long flag);

}  // namespace wmihost
