#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "wmihost/repository/ClassRepository.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/session/ProviderSession.h"

namespace wmihost {

// A class and the namespace in which it was found.
struct ClassTarget
{
    const Namespace* nameSpace = nullptr;
    ClassPointer definition;
};

// An instance that a user named.
struct InstanceTarget
{
    ClassTarget target;
    std::wstring path;  // as the provider receives it: the user's text, its short form written out
};

// The classes of a MOF file and the providers that serve them. A provider is created when it is first needed
// and lives as long as the workspace. May be used by several threads.
class Workspace
{
public:
    // Throws MofError.
    explicit Workspace(const std::filesystem::path& mofFile);

    const ClassRepository& repository() const { return m_repository; }

    // The class of that name, in the namespace if one is given, else in the one that has it; the namespace
    // of the adapters comes first. Throws RequestError: WBEM_E_INVALID_NAMESPACE, WBEM_E_INVALID_CLASS.
    ClassTarget findClass(std::wstring_view className, std::wstring_view nameSpace) const;

    // The instance that a path names. Throws PathError, or RequestError for a class, a namespace or a server
    // that is not there, and for the path of a class.
    InstanceTarget findInstance(std::wstring_view path, std::wstring_view nameSpace) const;

    // The provider of a class. Throws RequestError if it is not registered or does not start.
    const ProviderSession& sessionFor(const ClassTarget& target);

private:
    ClassRepository m_repository;
    std::mutex m_mutex;
    std::map<std::pair<std::wstring, std::wstring>, std::unique_ptr<ProviderSession>> m_sessions;
};

}  // namespace wmihost
