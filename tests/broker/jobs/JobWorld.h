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

}  // namespace fakes
