#pragma once

#include "broker/Methods.h"
#include "broker/jobs/Jobs.h"
#include "broker/model/SettingsStore.h"
#include "broker/model/ThreadWorkspaces.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/JobHosts.h"
#include "broker/platform/JobThread.h"
#include "broker/platform/Machine.h"
#include "broker/platform/SettingsStorage.h"
#include "core/CimBroker.h"

namespace broker {

// What a broker needs of the platform. All must outlive it.
struct Platform
{
    AdapterSource& adapters;
    Machine& machine;
    SettingsStorage& settings;
    JobThread& jobThread;
    JobHosts& jobHosts;
};

// The broker of the live machine. Every operation uses the calling thread's workspace and first brings the classes that
// it needs up to date. It holds no lock meanwhile, so requests of several threads run side by side.
class ObjectBroker : public core::CimBroker
{
public:
    explicit ObjectBroker(const Platform& platform);

    ObjectBroker(const ObjectBroker&) = delete;
    ObjectBroker& operator=(const ObjectBroker&) = delete;

    // Throws if the class cannot be read: an empty list would be a wrong answer.
    utils::SafeList<core::CimInstance*> getInstances(const std::string& className) override;

    void modifyInstance(core::CimPath& path, core::CimPropertyList& properties) override;

    std::uint32_t invokeMethod(core::CimPath& path, std::string methodName, core::CimPropertyList& inArguments,
                               core::CimPropertyList& outArguments, core::CimInstance*& job) override;

    // Implements core::CimBroker::getInstanceByPath.
    core::CimInstance* findInstance(const core::CimPath& path);

private:
    // The calling thread's workspace at the begin of a request about the class.
    Workspace& beginRequest(const std::string& className);

    SettingsStore m_settings;
    Jobs m_jobs;
    Methods m_methods;
    // The last member: the instances that show jobs end before the jobs.
    ThreadWorkspaces m_workspaces;
};

}  // namespace broker
