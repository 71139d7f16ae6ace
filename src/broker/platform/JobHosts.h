#pragma once

#include <string>

namespace broker {

// Platform boundary: the processes of this machine that carry on jobs, each with a name that no other process ever has.
// CONTRACT: any thread, but for lock() and unlock(), which only the job thread calls, nested if it likes.
class JobHosts
{
public:
    JobHosts() = default;
    virtual ~JobHosts() = default;
    JobHosts(const JobHosts&) = delete;
    JobHosts& operator=(const JobHosts&) = delete;

    // The name of this process: its id and its start time, as digits with a hyphen between them.
    virtual std::string own() = 0;

    // From now on this process counts as alive, until it ends or this object does. False, and an error line, when the
    // platform refuses: other processes then take this one for dead.
    virtual bool announce() noexcept = 0;

    // Whether the process of that name has announced itself and still lives. True when the platform does not tell.
    virtual bool isAlive(const std::string& host) = 0;

    // Keeps other processes from changing what is stored of jobs. Waits for a second at most; when that is over, or the
    // platform refuses, it writes an error line and the caller goes on as if it held the lock.
    virtual void lock() noexcept = 0;
    virtual void unlock() noexcept = 0;
};

}  // namespace broker
