#pragma once

#include <chrono>
#include <memory>
#include <optional>

namespace broker {

// The work of the job thread.
class JobWork
{
public:
    JobWork(const JobWork&) = delete;
    JobWork& operator=(const JobWork&) = delete;

    // Does the work that is due. Returns the time until the next call, or nothing if no work is left.
    virtual std::optional<std::chrono::milliseconds> work() noexcept = 0;

protected:
    JobWork() = default;
    ~JobWork() = default;
};

// A flag that one thread raises once and others wait for. CONTRACT: any thread. Waiting goes by a steady clock.
class Signal
{
public:
    Signal() = default;
    virtual ~Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    virtual void raise() noexcept = 0;

    // Returns false if the limit passed before the flag was raised.
    virtual bool wait(std::chrono::milliseconds limit) noexcept = 0;
};

// Platform boundary: the thread that runs the jobs while there are any. CONTRACT: nobody waits for the thread. The
// module stays loaded while it runs. The process may end at any moment.
class JobThread
{
public:
    JobThread() = default;
    virtual ~JobThread() = default;
    JobThread(const JobThread&) = delete;
    JobThread& operator=(const JobThread&) = delete;

    // Starts a thread with the process's own identity that calls work() until no work is left. Returns false, with one
    // error line, if the platform cannot start one. It is called again only after work() has returned nothing; the
    // previous thread may then still be ending.
    virtual bool start(JobWork& work) noexcept = 0;

    // Ends the present wait of the thread, or its next one, at once. Any thread.
    virtual void wake() noexcept = 0;

    // Throws utils::Exception if the platform refuses.
    virtual std::unique_ptr<Signal> makeSignal() = 0;
};

}  // namespace broker
