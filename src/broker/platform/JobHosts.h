#pragma once

#include <string>

namespace broker {

// Platform boundary: the processes of this machine that run jobs. Each has a unique name, which is never used again.
// CONTRACT: any thread, except that only the job thread calls lock() and unlock(); it may nest them.
class JobHosts
{
public:
    JobHosts() = default;
    virtual ~JobHosts() = default;
    JobHosts(const JobHosts&) = delete;
    JobHosts& operator=(const JobHosts&) = delete;

    // The name of this process: its id and its start time, as digits with a hyphen between them.
    virtual std::string own() = 0;

    // From now on this process counts as alive, until it or this object ends. Returns false, with an error line, if the
    // platform refuses; other processes then assume that this one is dead.
    virtual bool announce() noexcept = 0;

    // Whether the process of that name has announced itself and is still alive. True if the platform does not know.
    virtual bool isAlive(const std::string& host) = 0;

    // Keeps other processes from changing the entries of jobs. Waits at most a second. If it does not get the lock, it
    // writes an error line, and the caller goes on as if it had the lock.
    virtual void lock() noexcept = 0;
    virtual void unlock() noexcept = 0;
};

}  // namespace broker
