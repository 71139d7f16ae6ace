#include "wmihost/repository/SystemClasses.h"

#include <utility>
#include <vector>

namespace wmihost {
namespace {

struct Member
{
    const wchar_t* name;
    CIMTYPE type;
    Variant defaultValue = {};
    const wchar_t* className = L"";  // of a reference or an embedded object
    bool key = false;
};

struct SystemClass
{
    const wchar_t* name;
    const wchar_t* superclass;  // empty for none; declared further up
    std::vector<Member> members;
};

constexpr CIMTYPE TEXTS = CIM_STRING | CIM_FLAG_ARRAY;
constexpr CIMTYPE BYTES = CIM_UINT8 | CIM_FLAG_ARRAY;

Member key(const wchar_t* name, CIMTYPE type, const wchar_t* className = L"")
{
    return {name, type, {}, className, true};
}

Member flag(const wchar_t* name, bool defaultValue)
{
    return {name, CIM_BOOLEAN, Variant::ofBool(defaultValue)};
}

Member number(const wchar_t* name, long defaultValue)
{
    return {name, CIM_SINT32, Variant::ofLong(defaultValue)};
}

Member object(const wchar_t* name, const wchar_t* className = L"")
{
    return {name, CIM_OBJECT, {}, className};
}

std::vector<SystemClass> generalClasses()
{
    return {
        {L"__SystemClass", L"", {}},
        {L"__PARAMETERS", L"", {}},
        {L"__NAMESPACE", L"__SystemClass", {key(L"Name", CIM_STRING)}},
        {L"__ThisNAMESPACE", L"__SystemClass", {{L"SECURITY_DESCRIPTOR", BYTES}}},
        {L"__NotifyStatus", L"", {{L"StatusCode", CIM_UINT32}}},
        {L"__ExtendedStatus",
         L"__NotifyStatus",
         {{L"Description", CIM_STRING},
          {L"Operation", CIM_STRING},
          {L"ParameterInfo", CIM_STRING},
          {L"ProviderName", CIM_STRING}}},
        {L"__SecurityRelatedClass", L"", {}},
        {L"__Trustee",
         L"__SecurityRelatedClass",
         {{L"Domain", CIM_STRING},
          {L"Name", CIM_STRING},
          {L"SID", BYTES},
          {L"SidLength", CIM_UINT32},
          {L"SIDString", CIM_STRING}}},
        {L"__ACE",
         L"__SecurityRelatedClass",
         {{L"AccessMask", CIM_UINT32},
          {L"AceFlags", CIM_UINT32},
          {L"AceType", CIM_UINT32},
          {L"GuidInheritedObjectType", CIM_STRING},
          {L"GuidObjectType", CIM_STRING},
          object(L"Trustee", L"__Trustee")}},
        {L"__SecurityDescriptor",
         L"__SecurityRelatedClass",
         {{L"ControlFlags", CIM_UINT32},
          {L"DACL", CIM_OBJECT | CIM_FLAG_ARRAY, {}, L"__ACE"},
          object(L"Group", L"__Trustee"),
          object(L"Owner", L"__Trustee"),
          {L"SACL", CIM_OBJECT | CIM_FLAG_ARRAY, {}, L"__ACE"}}},
    };
}

std::vector<SystemClass> providerClasses()
{
    return {
        {L"__Provider", L"__SystemClass", {key(L"Name", CIM_STRING)}},
        {L"__Win32Provider",
         L"__Provider",
         {{L"CLSID", CIM_STRING},
          {L"ClientLoadableCLSID", CIM_STRING},
          {L"Concurrency", CIM_SINT32},
          {L"DefaultMachineName", CIM_STRING},
          {L"Enabled", CIM_BOOLEAN},
          {L"HostingModel", CIM_STRING},
          number(L"ImpersonationLevel", 0),
          number(L"InitializationReentrancy", 0),
          {L"InitializationTimeoutInterval", CIM_DATETIME},
          {L"InitializeAsAdminFirst", CIM_BOOLEAN},
          {L"OperationTimeoutInterval", CIM_DATETIME},
          flag(L"PerLocaleInitialization", false),
          flag(L"PerUserInitialization", false),
          flag(L"Pure", true),
          {L"SecurityDescriptor", CIM_STRING},
          {L"SupportsExplicitShutdown", CIM_BOOLEAN},
          {L"SupportsExtendedStatus", CIM_BOOLEAN},
          {L"SupportsQuotas", CIM_BOOLEAN},
          {L"SupportsSendStatus", CIM_BOOLEAN},
          {L"SupportsShutdown", CIM_BOOLEAN},
          {L"SupportsThrottling", CIM_BOOLEAN},
          {L"UnloadTimeout", CIM_DATETIME},
          {L"Version", CIM_UINT32}}},
        {L"__ProviderRegistration", L"__SystemClass", {key(L"Provider", CIM_REFERENCE)}},
        {L"__ObjectProviderRegistration",
         L"__ProviderRegistration",
         {number(L"InteractionType", 0),
          {L"QuerySupportLevels", TEXTS},
          flag(L"SupportsBatching", false),
          flag(L"SupportsDelete", false),
          flag(L"SupportsEnumeration", false),
          flag(L"SupportsGet", false),
          flag(L"SupportsPut", false),
          flag(L"SupportsTransactions", false)}},
        {L"__InstanceProviderRegistration", L"__ObjectProviderRegistration", {}},
        {L"__ClassProviderRegistration",
         L"__ObjectProviderRegistration",
         {{L"CacheRefreshInterval", CIM_DATETIME},
          flag(L"PerUserSchema", false),
          {L"ReferencedSetQueries", TEXTS},
          {L"ResultSetQueries", TEXTS},
          flag(L"ReSynchroniseOnNamespaceOpen", false),
          {L"UnsupportedQueries", TEXTS},
          {L"Version", CIM_UINT32}}},
        {L"__MethodProviderRegistration", L"__ProviderRegistration", {}},
        {L"__PropertyProviderRegistration",
         L"__ProviderRegistration",
         {flag(L"SupportsGet", false), flag(L"SupportsPut", false)}},
        {L"__EventProviderRegistration", L"__ProviderRegistration", {{L"EventQueryList", TEXTS}}},
        {L"__EventConsumerProviderRegistration", L"__ProviderRegistration", {{L"ConsumerClassNames", TEXTS}}},
    };
}

std::vector<SystemClass> eventClasses()
{
    return {
        {L"__IndicationRelated", L"__SystemClass", {}},
        {L"__Event", L"__IndicationRelated", {{L"SECURITY_DESCRIPTOR", BYTES}, {L"TIME_CREATED", CIM_UINT64}}},
        {L"__ExtrinsicEvent", L"__Event", {}},
        {L"__SystemEvent", L"__ExtrinsicEvent", {}},
        {L"__EventDroppedEvent",
         L"__SystemEvent",
         {object(L"Event", L"__Event"), {L"IntendedConsumer", CIM_REFERENCE, {}, L"__EventConsumer"}}},
        {L"__EventQueueOverflowEvent", L"__EventDroppedEvent", {{L"CurrentQueueSize", CIM_UINT32}}},
        {L"__QOSFailureEvent", L"__EventDroppedEvent", {{L"ErrorCode", CIM_UINT32}, {L"ErrorDescription", CIM_STRING}}},
        {L"__ConsumerFailureEvent",
         L"__EventDroppedEvent",
         {{L"ErrorCode", CIM_UINT32}, {L"ErrorDescription", CIM_STRING}, object(L"ErrorObject", L"__ExtendedStatus")}},
        {L"__NamespaceOperationEvent", L"__Event", {object(L"TargetNamespace", L"__NAMESPACE")}},
        {L"__NamespaceCreationEvent", L"__NamespaceOperationEvent", {}},
        {L"__NamespaceDeletionEvent", L"__NamespaceOperationEvent", {}},
        {L"__NamespaceModificationEvent", L"__NamespaceOperationEvent", {object(L"PreviousNamespace", L"__NAMESPACE")}},
        {L"__ClassOperationEvent", L"__Event", {object(L"TargetClass")}},
        {L"__ClassCreationEvent", L"__ClassOperationEvent", {}},
        {L"__ClassDeletionEvent", L"__ClassOperationEvent", {}},
        {L"__ClassModificationEvent", L"__ClassOperationEvent", {object(L"PreviousClass")}},
        {L"__InstanceOperationEvent", L"__Event", {object(L"TargetInstance")}},
        {L"__InstanceCreationEvent", L"__InstanceOperationEvent", {}},
        {L"__InstanceDeletionEvent", L"__InstanceOperationEvent", {}},
        {L"__InstanceModificationEvent", L"__InstanceOperationEvent", {object(L"PreviousInstance")}},
        {L"__MethodInvocationEvent",
         L"__InstanceOperationEvent",
         {{L"Method", CIM_STRING}, object(L"Parameters"), {L"PreCall", CIM_BOOLEAN}}},
        {L"__TimerEvent", L"__Event", {{L"NumFirings", CIM_UINT32}, {L"TimerId", CIM_STRING}}},
        {L"__AggregateEvent", L"__IndicationRelated", {{L"NumberOfEvents", CIM_UINT32}, object(L"Representative")}},
    };
}

std::vector<SystemClass> consumerClasses()
{
    return {
        {L"__EventConsumer",
         L"__IndicationRelated",
         {{L"CreatorSID", BYTES}, {L"MachineName", CIM_STRING}, {L"MaximumQueueSize", CIM_UINT32}}},
        {L"__EventFilter",
         L"__IndicationRelated",
         {{L"CreatorSID", BYTES},
          {L"EventAccess", CIM_STRING},
          {L"EventNamespace", CIM_STRING},
          key(L"Name", CIM_STRING),
          {L"Query", CIM_STRING},
          {L"QueryLanguage", CIM_STRING}}},
        {L"__FilterToConsumerBinding",
         L"__IndicationRelated",
         {key(L"Consumer", CIM_REFERENCE, L"__EventConsumer"),
          {L"CreatorSID", BYTES},
          {L"DeliveryQoS", CIM_UINT32},
          flag(L"DeliverSynchronously", false),
          key(L"Filter", CIM_REFERENCE, L"__EventFilter"),
          flag(L"MaintainSecurityContext", false),
          flag(L"SlowDownProviders", false)}},
        {L"__EventGenerator", L"__IndicationRelated", {}},
        {L"__TimerInstruction", L"__EventGenerator", {flag(L"SkipIfPassed", false), key(L"TimerId", CIM_STRING)}},
        {L"__AbsoluteTimerInstruction", L"__TimerInstruction", {{L"EventDateTime", CIM_DATETIME}}},
        {L"__IntervalTimerInstruction", L"__TimerInstruction", {{L"IntervalBetweenEvents", CIM_UINT32}}},
        {L"__TimerNextFiring",
         L"__IndicationRelated",
         {{L"NextEvent64BitTime", CIM_SINT64}, key(L"TimerId", CIM_STRING)}},
    };
}

// Properties of the system's classes only have the qualifiers that wmihost uses.
Property propertyOf(const Member& member, const wchar_t* origin)
{
    Property property;
    property.name = member.name;
    property.type = member.type;
    property.className = member.className;
    property.origin = origin;
    property.defaultValue = member.defaultValue;
    property.qualifiers = standardQualifiers(member.type, member.className);
    if (member.key) {
        property.qualifiers.push_back(keyQualifier());
    }
    return property;
}

void add(Namespace& target, const SystemClass& systemClass)
{
    const ClassPointer superclass = target.findClass(systemClass.superclass);
    ClassDefinition definition = superclass ? derivedFrom(*superclass, systemClass.name) : ClassDefinition();
    definition.name = systemClass.name;
    definition.nameSpace = target.name();
    for (const Member& member : systemClass.members) {
        definition.properties.push_back(propertyOf(member, systemClass.name));
    }
    target.addClass(std::make_shared<const ClassDefinition>(std::move(definition)));
}

}  // namespace

void addSystemClasses(Namespace& target)
{
    for (const auto& group : {generalClasses(), providerClasses(), eventClasses(), consumerClasses()}) {
        for (const SystemClass& systemClass : group) {
            add(target, systemClass);
        }
    }
}

}  // namespace wmihost
