#include "wmihost/repository/SystemClasses.h"

#include <initializer_list>
#include <utility>

namespace wmihost {
namespace {

struct Member
{
    const wchar_t* name;
    CIMTYPE type;
    bool key = false;
    Variant defaultValue = {};
};

// Properties of the system's classes carry the qualifiers that the host looks at, and no others.
ClassPointer makeClass(const Namespace& target, const wchar_t* name, const ClassDefinition* superclass,
                       std::initializer_list<Member> members)
{
    ClassDefinition result = superclass == nullptr ? ClassDefinition() : derivedFrom(*superclass, name);
    result.name = name;
    result.nameSpace = target.name();
    for (const Member& member : members) {
        Property property;
        property.name = member.name;
        property.type = member.type;
        property.origin = name;
        property.defaultValue = member.defaultValue;
        property.qualifiers = standardQualifiers(member.type, L"");
        if (member.key) {
            property.qualifiers.push_back(keyQualifier());
        }
        result.properties.push_back(std::move(property));
    }
    return std::make_shared<const ClassDefinition>(std::move(result));
}

}  // namespace

void addSystemClasses(Namespace& target)
{
    const auto add = [&target](const wchar_t* name, const ClassPointer& superclass,
                               std::initializer_list<Member> members) {
        ClassPointer made = makeClass(target, name, superclass.get(), members);
        target.addClass(made);
        return made;
    };
    constexpr CIMTYPE texts = CIM_STRING | CIM_FLAG_ARRAY;

    const ClassPointer systemClass = add(L"__SystemClass", nullptr, {});
    add(L"__PARAMETERS", nullptr, {});
    add(L"__NAMESPACE", systemClass, {{L"Name", CIM_STRING, true}});

    const ClassPointer provider = add(L"__Provider", systemClass, {{L"Name", CIM_STRING, true}});
    add(L"__Win32Provider", provider,
        {{L"CLSID", CIM_STRING},
         {L"ClientLoadableCLSID", CIM_STRING},
         {L"Concurrency", CIM_SINT32},
         {L"DefaultMachineName", CIM_STRING},
         {L"Enabled", CIM_BOOLEAN},
         {L"HostingModel", CIM_STRING},
         {L"ImpersonationLevel", CIM_SINT32, false, Variant::ofLong(0)},
         {L"InitializationReentrancy", CIM_SINT32, false, Variant::ofLong(0)},
         {L"InitializationTimeoutInterval", CIM_DATETIME},
         {L"InitializeAsAdminFirst", CIM_BOOLEAN},
         {L"OperationTimeoutInterval", CIM_DATETIME},
         {L"PerLocaleInitialization", CIM_BOOLEAN, false, Variant::ofBool(false)},
         {L"PerUserInitialization", CIM_BOOLEAN, false, Variant::ofBool(false)},
         {L"Pure", CIM_BOOLEAN, false, Variant::ofBool(true)},
         {L"SecurityDescriptor", CIM_STRING},
         {L"SupportsExplicitShutdown", CIM_BOOLEAN},
         {L"SupportsExtendedStatus", CIM_BOOLEAN},
         {L"SupportsQuotas", CIM_BOOLEAN},
         {L"SupportsSendStatus", CIM_BOOLEAN},
         {L"SupportsShutdown", CIM_BOOLEAN},
         {L"SupportsThrottling", CIM_BOOLEAN},
         {L"UnloadTimeout", CIM_DATETIME},
         {L"Version", CIM_UINT32}});

    const ClassPointer registration = add(L"__ProviderRegistration", systemClass, {{L"Provider", CIM_REFERENCE, true}});
    const ClassPointer objectRegistration =
        add(L"__ObjectProviderRegistration", registration,
            {{L"InteractionType", CIM_SINT32, false, Variant::ofLong(0)},
             {L"QuerySupportLevels", texts},
             {L"SupportsBatching", CIM_BOOLEAN, false, Variant::ofBool(false)},
             {L"SupportsDelete", CIM_BOOLEAN, false, Variant::ofBool(false)},
             {L"SupportsEnumeration", CIM_BOOLEAN, false, Variant::ofBool(false)},
             {L"SupportsGet", CIM_BOOLEAN, false, Variant::ofBool(false)},
             {L"SupportsPut", CIM_BOOLEAN, false, Variant::ofBool(false)},
             {L"SupportsTransactions", CIM_BOOLEAN, false, Variant::ofBool(false)}});
    add(L"__InstanceProviderRegistration", objectRegistration, {});
    add(L"__MethodProviderRegistration", registration, {});
}

}  // namespace wmihost
