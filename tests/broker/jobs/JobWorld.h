#pragma once

#include <memory>
#include <string>
#include <vector>

#include "broker/Fakes.h"
#include "broker/jobs/Jobs.h"

namespace fakes {

// One process that runs jobs. It may share its machine with other processes.
class JobProcess
{
public:
    JobProcess(std::shared_ptr<StoredKeys> stored, std::shared_ptr<HostTable> table, Machine& clocks, Adapters& ports,
               const std::string& name)
        : storage(std::move(stored)), hosts(std::move(table), name), jobs({ports, clocks, storage, thread, hosts})
    {
    }

    std::string start(const broker::Adapter& adapter, const broker::DiagnosticSetting& setting, std::uint16_t samples)
    {
        return jobs.startDiagnostic(adapter, setting, samples).id;
    }

    // "state of id" of each job.
    std::vector<std::string> states()
    {
        std::vector<std::string> result;
        for (const broker::JobStatus& job : jobs.jobs()) {
            result.push_back(std::to_string(static_cast<int>(job.state)) + " " + job.id);
        }
        return result;
    }

    void mark(const std::string& id) { jobs.makeInstance(id, "Zerix_ConcreteJob")->markForDeletion(true); }

    Storage storage;
    ManualThread thread;
    Hosts hosts;
    broker::Jobs jobs;
};

// A machine with one adapter whose processes run jobs.
class JobMachine
{
public:
    JobMachine()
    {
        adapters.set({adapter});
        setting.samplePeriod = std::chrono::milliseconds{100};
        setting.jobRetention = std::chrono::seconds{60};
    }

    std::unique_ptr<JobProcess> makeProcess(const std::string& name)
    {
        return std::make_unique<JobProcess>(stored, table, machine, adapters, name);
    }

    Machine machine;
    Adapters adapters;
    broker::Adapter adapter = fakes::adapter(1);
    broker::DiagnosticSetting setting;
    std::shared_ptr<StoredKeys> stored = std::make_shared<StoredKeys>();
    std::shared_ptr<HostTable> table = std::make_shared<HostTable>();
};

}  // namespace fakes
