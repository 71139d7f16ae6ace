#include "broker/jobs/JobReader.h"

#include "broker/jobs/JobEntry.h"

namespace broker {

void JobReader::refresh()
{
    const Moment moment = now();
    {
        const utils::MutexGuard guard(m_archive.mutex());
        if (const auto contents = m_archive.readIfChanged()) {
            try {
                m_registry.merge(*contents, moment);
            } catch (...) {
                // The merge may be incomplete.
                m_archive.readAgain();
                throw;
            }
        }
    }
    std::set<std::string> hosts = m_registry.otherHosts();
    // A job of this process that nobody here runs was left behind when this module was loaded before.
    std::erase_if(hosts, [this](const std::string& host) { return host != m_hosts.own() && m_hosts.isAlive(host); });
    if (!hosts.empty()) {
        m_registry.endJobsOf(hosts, moment);
    }
    m_registry.expire(moment.steady);
}

Moment JobReader::now() noexcept
{
    return {inCalendar(m_machine.now()), m_machine.steadyNow()};
}

}  // namespace broker
