#pragma once

#include <string>

#include "broker/BrokerWorld.h"
#include "broker/Properties.h"
#include "broker/jobs/JobEntry.h"

namespace fakes {

// Stores ended jobs and their results, as other processes leave them: "stored 0" and so on, one millisecond apart.
inline void storeEndedJobs(Storage& storage, broker::Machine& machine, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        broker::StoredJob job;
        job.host = "1-1";
        job.status.id = "stored " + std::to_string(i);
        job.status.state = broker::JobState::COMPLETED;
        job.status.startTime = machine.now() + std::chrono::milliseconds{i};
        job.endTime = job.status.startTime;
        job.status.retention = std::chrono::hours{1};
        storage.set("Jobs", job.status.id, broker::entryOf(job));
        broker::DiagnosticResult result;
        result.id = job.status.id;
        result.startTime = job.status.startTime;
        storage.set("Results", result.id, broker::entryOf(result));
    }
}

// A broker that keeps a number of ended jobs and as many results. It makes whole requests for them and reads every
// value that a client would read.
class JobRequests : BrokerWorld
{
public:
    explicit JobRequests(std::size_t entries) : m_entries(entries)
    {
        m_adapters.set({adapter(1)});
        storeEndedJobs(m_storage, m_machine, entries);
    }

    // Returns the number of instances that were read.
    std::size_t listJobs() { return list("Zerix_ConcreteJob"); }
    std::size_t listResults() { return list("Zerix_DiagnosticResult"); }
    std::size_t getJob()
    {
        core::CimPath path("Zerix_ConcreteJob.InstanceID=\"stored " + std::to_string(m_entries / 2) + "\"");
        core::CimInstance* const found = m_broker.getInstanceByPath(path);
        return found == nullptr ? 0 : read(*found);
    }

    // Changes one entry as another process would, so that the next request reads the stored entries again.
    void changeOne()
    {
        m_machine.pass(std::chrono::milliseconds{1});
        storeEndedJobs(m_storage, m_machine, 1);
    }

private:
    static std::size_t read(core::CimInstance& instance)
    {
        return support::values(instance).empty() || instance.toPathString().empty() ? 0 : 1;
    }

    std::size_t list(const char* className)
    {
        std::size_t count = 0;
        auto found = m_broker.getInstances(className);
        auto iterator = found.getIterator();
        while (core::CimInstance* instance = iterator.next()) {
            count += read(*instance);
        }
        return count;
    }

    std::size_t m_entries;
};

}  // namespace fakes
