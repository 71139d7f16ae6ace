#pragma once

#include "broker/jobs/JobArchive.h"
#include "broker/jobs/JobRegistry.h"
#include "broker/platform/JobHosts.h"
#include "broker/platform/Machine.h"

namespace broker {

// Brings the registry up to date with the archive, the clocks and the other hosts. Writes nothing. Any thread; reads
// under the identity of the calling thread.
class JobReader
{
public:
    // All must outlive this.
    JobReader(Machine& machine, JobHosts& hosts, JobArchive& archive, JobRegistry& registry) noexcept
        : m_machine(machine), m_hosts(hosts), m_archive(archive), m_registry(registry)
    {
    }

    // Throws utils::EFailed if the archive cannot be read; the registry is then unchanged.
    void refresh();

    // Both clocks; the wall clock is limited to the calendar.
    Moment now() noexcept;

private:
    Machine& m_machine;
    JobHosts& m_hosts;
    JobArchive& m_archive;
    JobRegistry& m_registry;
};

}  // namespace broker
