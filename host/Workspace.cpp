#include "host/Workspace.h"

#include "host/Guard.h"
#include "host/MofCompiler.h"
#include "host/RequestError.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::wstring_view adapterNamespace = L"root\\DCIM\\vexal";

// The name of the only key, for paths in the short form Class="value".
std::wstring onlyKey(const ClassDefinition& definition)
{
    std::vector<std::wstring> keys;
    std::string names;
    for (const Property& property : definition.properties) {
        if (property.isKey()) {
            keys.push_back(property.name);
            names += (names.empty() ? "" : ", ") + toUtf8(property.name);
        }
    }
    if (keys.size() != 1) {
        throw RequestError(
            code(WBEM_E_INVALID_OBJECT_PATH),
            "the class " + toUtf8(definition.name) +
                (keys.empty() ? " has no keys" : " has several keys, and the path must name each: " + names));
    }
    return keys.front();
}

void checkServer(const std::wstring& server)
{
    if (!server.empty() && server != L"." && !sameName(server, serverName()) && !sameName(server, L"localhost")) {
        throw RequestError(code(WBEM_E_TRANSPORT_FAILURE),
                           "the path leads to the machine " + toUtf8(server) + "; this is " + toUtf8(serverName()));
    }
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
            throw RequestError(code(WBEM_E_INVALID_NAMESPACE), "the MOF declares no namespace " + toUtf8(nameSpace));
        }
        if (ClassPointer found = given->findClass(className)) {
            return {given, std::move(found)};
        }
        throw RequestError(code(WBEM_E_INVALID_CLASS),
                           "the namespace " + toUtf8(given->name()) + " has no class " + toUtf8(className));
    }
    ClassTarget result;
    for (const Namespace* candidate : m_repository.namespaces()) {
        ClassPointer found = candidate->findClass(className);
        if (found && (!result.definition || sameName(candidate->name(), adapterNamespace))) {
            result = {candidate, std::move(found)};
        }
    }
    if (!result.definition) {
        throw RequestError(code(WBEM_E_INVALID_CLASS), "the MOF declares no class " + toUtf8(className));
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

}  // namespace host
