#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "wmihost/repository/ClassRepository.h"
#include "wmihost/session/Connection.h"
#include "wmihost/session/ProviderSession.h"

namespace wmihost {

// The classes of a MOF file, and their providers in this process. The first request to a provider creates it; it lives
// as long as the workspace.
class Workspace final : public Connection
{
public:
    // Throws MofError.
    explicit Workspace(const std::filesystem::path& mofFile);

    const ClassRepository& repository() const { return m_repository; }

    ClassTarget findClass(std::wstring_view className, std::wstring_view nameSpace) const override;
    std::vector<ClassTarget> classes(std::wstring_view nameSpace) const override;
    // Throws RequestError if the provider is not registered or does not start.
    const ProviderSession& sessionFor(const ClassTarget& target) override;
    std::vector<ClassTarget> derivedClasses(const ClassTarget& target) const override;
    bool hasProvider(const ClassTarget& target) const override;
    ComPtr<IWbemClassObject> makeArguments(const ClassTarget& target, const Method& method) override;

private:
    // The namespace that a user named. Throws RequestError with WBEM_E_INVALID_NAMESPACE.
    const Namespace& givenNamespace(std::wstring_view name) const;

    ClassRepository m_repository;
    std::mutex m_mutex;
    std::map<std::pair<std::wstring, std::wstring>, std::unique_ptr<ProviderSession>> m_sessions;
};

}  // namespace wmihost
