#include "wmihost/session/Workspace.h"

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// The end of an error message about a class that none of the namespaces has.
std::string classSuggestion(std::wstring_view name, const std::vector<const Namespace*>& namespaces)
{
    std::vector<std::wstring> names;
    for (const Namespace* nameSpace : namespaces) {
        for (const ClassPointer& definition : nameSpace->classes()) {
            names.push_back(definition->name);
        }
    }
    return suggestion(name, names);
}

std::string namespaceSuggestion(std::wstring_view name, const std::vector<const Namespace*>& namespaces)
{
    std::vector<std::wstring> names;
    for (const Namespace* nameSpace : namespaces) {
        names.push_back(nameSpace->name());
    }
    return suggestion(ClassRepository::plainName(name), names);
}

}  // namespace

Workspace::Workspace(const std::filesystem::path& mofFile)
{
    compileMofFile(mofFile, m_repository);
}

const Namespace& Workspace::givenNamespace(std::wstring_view name) const
{
    const Namespace* given = m_repository.findNamespace(name);
    if (given == nullptr) {
        throw RequestError(code(WBEM_E_INVALID_NAMESPACE), "the MOF declares no namespace " + toUtf8(name) +
                                                               namespaceSuggestion(name, m_repository.namespaces()));
    }
    return *given;
}

ClassTarget Workspace::findClass(std::wstring_view className, std::wstring_view nameSpace) const
{
    if (!nameSpace.empty()) {
        const Namespace& given = givenNamespace(nameSpace);
        if (ClassPointer found = given.findClass(className)) {
            return {given.name(), std::move(found)};
        }
        throw RequestError(code(WBEM_E_INVALID_CLASS), "the namespace " + toUtf8(given.name()) + " has no class " +
                                                           toUtf8(className) + classSuggestion(className, {&given}));
    }
    ClassTarget result;
    for (const Namespace* candidate : m_repository.namespaces()) {
        ClassPointer found = candidate->findClass(className);
        if (found && (!result.definition || sameName(candidate->name(), ADAPTER_NAMESPACE))) {
            result = {candidate->name(), std::move(found)};
        }
    }
    if (!result.definition) {
        throw RequestError(code(WBEM_E_INVALID_CLASS), "the MOF declares no class " + toUtf8(className) +
                                                           classSuggestion(className, m_repository.namespaces()));
    }
    return result;
}

std::vector<ClassTarget> Workspace::classes(std::wstring_view nameSpace) const
{
    if (!nameSpace.empty()) {
        givenNamespace(nameSpace);
    }
    std::vector<ClassTarget> result;
    for (const Namespace* candidate : m_repository.namespaces()) {
        if (!nameSpace.empty() && !sameName(ClassRepository::plainName(nameSpace), candidate->name())) {
            continue;
        }
        for (const ClassPointer& definition : candidate->classes()) {
            if (!definition->name.starts_with(L"__")) {
                result.push_back({candidate->name(), definition});
            }
        }
    }
    return result;
}

const ProviderSession& Workspace::sessionFor(const ClassTarget& target)
{
    const Namespace& nameSpace = *m_repository.findNamespace(target.nameSpace);
    ProviderRegistration registration = findRegistration(nameSpace, *target.definition);
    const std::lock_guard lock(m_mutex);
    auto& session = m_sessions[{target.nameSpace, registration.name}];
    if (!session) {
        session = std::make_unique<ProviderSession>(m_repository, nameSpace, std::move(registration));
    }
    return *session;
}

std::vector<ClassTarget> Workspace::derivedClasses(const ClassTarget& target) const
{
    std::vector<ClassTarget> result;
    for (ClassTarget& candidate : classes(target.nameSpace)) {
        if (candidate.definition != target.definition && candidate.definition->inheritsFrom(target.definition->name) &&
            hasProvider(candidate))
        {
            result.push_back(std::move(candidate));
        }
    }
    return result;
}

bool Workspace::hasProvider(const ClassTarget& target) const
{
    return !qualifierText(target.definition->qualifiers, L"provider").empty();
}

// A method without inputs takes an empty instance of __PARAMETERS.
ComPtr<IWbemClassObject> Workspace::makeArguments(const ClassTarget& target, const Method& method)
{
    const ClassPointer signature =
        method.in ? method.in : m_repository.findNamespace(target.nameSpace)->findClass(L"__PARAMETERS");
    return ClassObject::ofInstance(InstanceData(signature));
}

}  // namespace wmihost
