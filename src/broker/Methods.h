#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "broker/jobs/Jobs.h"
#include "broker/model/SettingsStore.h"
#include "broker/model/Workspace.h"
#include "core/CimPropertyList.h"

namespace broker {

// The arguments of a method call, and the list that takes its outputs.
struct MethodCall
{
    const InstanceStore::Record& target;
    core::CimPropertyList& inArguments;
    core::CimPropertyList& outArguments;
    core::CimInstance*& job;
};

// The methods of the served classes.
class Methods
{
public:
    // All must outlive this.
    Methods(AdapterSource& adapters, SettingsStore& settings, Jobs& jobs) noexcept
        : m_adapters(adapters), m_settings(settings), m_jobs(jobs)
    {
    }

    // Runs the method, named without case, of the target in the calling thread's workspace; returns its return value.
    // Throws wa::EMethodNotSupported when the class has no such method and wa::EInvalidParameter for an argument that
    // is unknown, missing, or of a wrong type or range, and utils::EForbidden for ending somebody else's job.
    std::uint32_t invoke(Workspace& workspace, const std::string& methodName, const MethodCall& call);

private:
    struct Method
    {
        const char* className;
        const char* name;
        std::uint32_t (Methods::*run)(Workspace& workspace, const MethodCall& call);
    };

    static const std::array<Method, 5> all;

    std::uint32_t runLinkDiagnostic(Workspace& workspace, const MethodCall& call);
    std::uint32_t requestPortState(Workspace& workspace, const MethodCall& call);
    std::uint32_t requestJobState(Workspace& workspace, const MethodCall& call);
    std::uint32_t restoreDefaults(Workspace& workspace, const MethodCall& call);

    AdapterSource& m_adapters;
    SettingsStore& m_settings;
    Jobs& m_jobs;
};

}  // namespace broker
