#include "wmihost/session/Workspace.h"

#include <algorithm>
#include <cstddef>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr std::wstring_view adapterNamespace = L"root\\DCIM\\vexal";

std::vector<std::wstring> keysOf(const ClassDefinition& definition)
{
    std::vector<std::wstring> keys;
    for (const Property& property : definition.properties) {
        if (property.isKey()) {
            keys.push_back(property.name);
        }
    }
    return keys;
}

// The name of the only key, for paths in the short form Class="value".
std::wstring onlyKey(const ClassDefinition& definition)
{
    const std::vector<std::wstring> keys = keysOf(definition);
    if (keys.size() != 1) {
        std::string names;
        for (const std::wstring& key : keys) {
            names += (names.empty() ? "" : ", ") + toUtf8(key);
        }
        throw RequestError(
            code(WBEM_E_INVALID_OBJECT_PATH),
            "the class " + toUtf8(definition.name) +
                (keys.empty() ? " has no keys" : " has several keys, and the path must name each: " + names));
    }
    return keys.front();
}

// Which of its keys a path names is a matter of the provider; a name that is no key of the class is a slip.
void checkKeys(const ObjectPath& path, const ClassDefinition& definition)
{
    const std::vector<std::wstring> keys = keysOf(definition);
    for (const PathKey& key : path.keys) {
        const auto same = [&key](const std::wstring& name) { return sameName(name, key.name); };
        if (!key.name.empty() && std::none_of(keys.begin(), keys.end(), same)) {
            throw RequestError(code(WBEM_E_INVALID_OBJECT_PATH), "the class " + toUtf8(definition.name) +
                                                                     " has no key " + toUtf8(key.name) +
                                                                     suggestion(key.name, keys));
        }
    }
}

void checkServer(const std::wstring& server)
{
    if (!server.empty() && server != L"." && !sameName(server, serverName()) && !sameName(server, L"localhost")) {
        throw RequestError(code(WBEM_E_TRANSPORT_FAILURE),
                           "the path leads to the machine " + toUtf8(server) + "; this is " + toUtf8(serverName()));
    }
}

// The end of a complaint about a class that none of the namespaces has.
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

ClassTarget Workspace::findClass(std::wstring_view className, std::wstring_view nameSpace) const
{
    if (!nameSpace.empty()) {
        const Namespace* given = m_repository.findNamespace(nameSpace);
        if (given == nullptr) {
            throw RequestError(code(WBEM_E_INVALID_NAMESPACE),
                               "the MOF declares no namespace " + toUtf8(nameSpace) +
                                   namespaceSuggestion(nameSpace, m_repository.namespaces()));
        }
        if (ClassPointer found = given->findClass(className)) {
            return {given, std::move(found)};
        }
        throw RequestError(code(WBEM_E_INVALID_CLASS), "the namespace " + toUtf8(given->name()) + " has no class " +
                                                           toUtf8(className) + classSuggestion(className, {given}));
    }
    ClassTarget result;
    for (const Namespace* candidate : m_repository.namespaces()) {
        ClassPointer found = candidate->findClass(className);
        if (found && (!result.definition || sameName(candidate->name(), adapterNamespace))) {
            result = {candidate, std::move(found)};
        }
    }
    if (!result.definition) {
        throw RequestError(code(WBEM_E_INVALID_CLASS), "the MOF declares no class " + toUtf8(className) +
                                                           classSuggestion(className, m_repository.namespaces()));
    }
    return result;
}

InstanceTarget Workspace::findInstance(std::wstring_view path, std::wstring_view nameSpace) const
{
    const ObjectPath parsed = ObjectPath::parse(path);
    checkServer(parsed.server);
    InstanceTarget result{findClass(parsed.className, parsed.nameSpace.empty() ? nameSpace : parsed.nameSpace),
                          std::wstring(path)};
    if (!parsed.isInstance()) {
        throw RequestError(code(WBEM_E_INVALID_OBJECT_PATH),
                           "the path names a class; the path of an instance has keys");
    }
    checkKeys(parsed, *result.target.definition);
    if (!parsed.singleton && parsed.keys.front().name.empty()) {
        const std::size_t equals = result.path.find(L'=');
        result.path.insert(equals, L"." + onlyKey(*result.target.definition));
    }
    return result;
}

const ProviderSession& Workspace::sessionFor(const ClassTarget& target)
{
    ProviderRegistration registration = findRegistration(*target.nameSpace, *target.definition);
    const std::lock_guard lock(m_mutex);
    auto& session = m_sessions[{target.nameSpace->name(), registration.name}];
    if (!session) {
        session = std::make_unique<ProviderSession>(m_repository, *target.nameSpace, std::move(registration));
    }
    return *session;
}

}  // namespace wmihost
