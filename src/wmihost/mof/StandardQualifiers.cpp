#include "wmihost/mof/StandardQualifiers.h"

#include <array>
#include <string_view>

namespace wmihost::mof {
namespace {

struct Entry
{
    std::wstring_view name;
    CIMTYPE type;
    unsigned scopes;
    long flavor;
};

constexpr CIMTYPE texts = CIM_STRING | CIM_FLAG_ARRAY;

constexpr unsigned classes = scopeClass | scopeAssociation | scopeIndication;
constexpr unsigned features = scopeProperty | scopeReference;
constexpr unsigned values = scopeProperty | scopeMethod | scopeParameter;

constexpr long restricted = 0;
constexpr long inherited = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
constexpr long fixed = inherited | WBEM_FLAVOR_NOT_OVERRIDABLE;

constexpr std::array<Entry, 86> entries{{
    // DSP0004
    {L"Abstract", CIM_BOOLEAN, classes, restricted},
    {L"Aggregate", CIM_BOOLEAN, scopeReference, fixed},
    {L"Aggregation", CIM_BOOLEAN, scopeAssociation, fixed},
    {L"Alias", CIM_STRING, features | scopeMethod, inherited},
    {L"ArrayType", CIM_STRING, scopeProperty | scopeParameter, fixed},
    {L"Association", CIM_BOOLEAN, scopeAssociation, fixed},
    {L"BitMap", texts, values, inherited},
    {L"BitValues", texts, values, inherited},
    {L"ClassConstraint", texts, classes, inherited},
    {L"Composition", CIM_BOOLEAN, scopeAssociation, fixed},
    {L"Correlatable", texts, scopeProperty, inherited},
    {L"Counter", CIM_BOOLEAN, values, inherited},
    {L"Delete", CIM_BOOLEAN, scopeAssociation | scopeReference, inherited},
    {L"Deprecated", texts, scopeAny, restricted},
    {L"Description", CIM_STRING, scopeAny, inherited},
    {L"DisplayDescription", CIM_STRING, scopeAny, inherited},
    {L"DisplayName", CIM_STRING, scopeAny, inherited},
    {L"DN", CIM_BOOLEAN, values, fixed},
    {L"EmbeddedInstance", CIM_STRING, values, inherited},
    {L"EmbeddedObject", CIM_BOOLEAN, values, fixed},
    {L"Exception", CIM_BOOLEAN, scopeClass | scopeIndication, fixed},
    {L"Expensive", CIM_BOOLEAN, classes | features | scopeMethod | scopeParameter, inherited},
    {L"Experimental", CIM_BOOLEAN, scopeAny, restricted},
    {L"Gauge", CIM_BOOLEAN, values, inherited},
    {L"IfDeleted", CIM_BOOLEAN, scopeAssociation | scopeReference, inherited},
    {L"In", CIM_BOOLEAN, scopeParameter, fixed},
    {L"Indication", CIM_BOOLEAN, scopeClass | scopeIndication, fixed},
    {L"Invisible", CIM_BOOLEAN, classes | features | scopeMethod, inherited},
    {L"IsPUnit", CIM_BOOLEAN, values, inherited},
    {L"Key", CIM_BOOLEAN, features, fixed},
    {L"Large", CIM_BOOLEAN, scopeClass | scopeProperty, inherited},
    {L"MappingStrings", texts, scopeAny, inherited},
    {L"Max", CIM_UINT32, scopeReference, inherited},
    {L"MaxLen", CIM_UINT32, values, inherited},
    {L"MaxValue", CIM_SINT64, values, inherited},
    {L"MethodConstraint", texts, scopeMethod, inherited},
    {L"Min", CIM_UINT32, scopeReference, inherited},
    {L"MinLen", CIM_UINT32, values, inherited},
    {L"MinValue", CIM_SINT64, values, inherited},
    {L"ModelCorrespondence", texts, scopeAny, inherited},
    {L"NullValue", CIM_STRING, scopeProperty, fixed},
    {L"OctetString", CIM_BOOLEAN, values, fixed},
    {L"Out", CIM_BOOLEAN, scopeParameter, fixed},
    {L"Override", CIM_STRING, features | scopeMethod, restricted},
    {L"Propagated", CIM_STRING, scopeProperty, fixed},
    {L"PropertyConstraint", texts, features, inherited},
    {L"Provider", CIM_STRING, scopeAny, inherited},
    {L"PUnit", CIM_STRING, values, inherited},
    {L"Read", CIM_BOOLEAN, scopeProperty, inherited},
    {L"Required", CIM_BOOLEAN, features | scopeMethod | scopeParameter, fixed},
    {L"Schema", CIM_STRING, scopeProperty | scopeMethod, fixed},
    {L"Static", CIM_BOOLEAN, scopeProperty | scopeMethod, fixed},
    {L"Structure", CIM_BOOLEAN, classes, restricted},
    {L"Syntax", CIM_STRING, features | scopeParameter, inherited},
    {L"SyntaxType", CIM_STRING, features | scopeParameter, inherited},
    {L"Terminal", CIM_BOOLEAN, classes, inherited},
    {L"TriggerType", CIM_STRING, classes | features | scopeMethod, inherited},
    {L"UMLPackagePath", CIM_STRING, classes, inherited},
    {L"Units", CIM_STRING, values, inherited},
    {L"UnknownValues", texts, scopeProperty, inherited},
    {L"UnsupportedValues", texts, scopeProperty, inherited},
    {L"ValueMap", texts, values, inherited},
    {L"Values", texts, values, inherited},
    {L"Version", CIM_STRING, classes, restricted},
    {L"Weak", CIM_BOOLEAN, scopeReference, fixed},
    {L"Write", CIM_BOOLEAN, scopeProperty, inherited},
    {L"XMLNamespaceName", CIM_STRING, classes | scopeProperty | scopeMethod | scopeParameter, inherited},
    // WMI
    {L"Amendment", CIM_BOOLEAN, classes, restricted},
    {L"Bypass_GetObject", CIM_BOOLEAN, scopeMethod, restricted},
    {L"CIM_Key", CIM_BOOLEAN, scopeProperty, inherited},
    {L"CreateBy", CIM_STRING, classes, inherited},
    {L"DeleteBy", CIM_STRING, classes, inherited},
    {L"Dynamic", CIM_BOOLEAN, classes | scopeProperty, inherited},
    {L"DynProps", CIM_BOOLEAN, classes, inherited},
    {L"ID", CIM_SINT32, scopeParameter, fixed},
    {L"Implemented", CIM_BOOLEAN, scopeMethod, inherited},
    {L"Locale", CIM_SINT32, classes, inherited},
    {L"MSFT_TargetNamespace", CIM_STRING, scopeReference, inherited},
    {L"Optional", CIM_BOOLEAN, scopeParameter, inherited},
    {L"Privileges", texts, classes | scopeProperty | scopeMethod, inherited},
    {L"Singleton", CIM_BOOLEAN, classes, inherited},
    {L"SupportsCreate", CIM_BOOLEAN, classes, inherited},
    {L"SupportsDelete", CIM_BOOLEAN, classes, inherited},
    {L"SupportsUpdate", CIM_BOOLEAN, classes, inherited},
    {L"UUID", CIM_STRING, classes, inherited},
    {L"WritePrivileges", texts, scopeProperty, inherited},
}};

}  // namespace

void addStandardQualifiers(QualifierTable& qualifiers)
{
    for (const Entry& entry : entries) {
        QualifierDeclaration declaration;
        declaration.type = entry.type;
        declaration.flavor = entry.flavor;
        declaration.scopes = entry.scopes;
        declaration.isStandard = true;
        qualifiers.add(entry.name, std::move(declaration));
    }
}

}  // namespace wmihost::mof
