#pragma once

#include <chrono>
#include <memory>
#include <optional>

namespace broker {

// What the job thread does.
class JobWork
{
public:
    JobWork(const JobWork&) = delete;
    JobWork& operator=(const JobWork&) = delete;

    // Does what is due and returns after how long it wants to be called again, or nothing when nothing is left to do.
    virtual std::optional<std::chrono::milliseconds> work() noexcept = 0;

protected:
    JobWork() = default;
    ~JobWork() = default;
};

// A flag that one thread raises, once, and others wait for.
// CONTRACT: any thread. Waiting is by a steady clock.
class Signal
{
public:
    Signal() = default;
    virtual ~Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    virtual void raise() noexcept = 0;

    // Returns whether the flag was raised before the limit was over.
    virtual bool wait(std::chrono::milliseconds limit) noexcept = 0;
};

// Platform boundary: the thread that carries on the jobs, while there are any.
// CONTRACT: nobody waits for the thread; the module stays loaded while it runs, and the process may end at any moment.
class JobThread
{
public:
    JobThread() = default;
    virtual ~JobThread() = default;
    JobThread(const JobThread&) = delete;
    JobThread& operator=(const JobThread&) = delete;

    // Starts a thread of the process's own identity that calls work() until nothing is left. False, and one error line,
    // when the platform has no thread to give. Called again only after work() has decided that nothing is left; the
    // thread before may still be on its way out.
    virtual bool start(JobWork& work) noexcept = 0;

    // Cuts the present wait, or the next one, short. Any thread.
    virtual void wake() noexcept = 0;

    // Throws utils::Exception when the platform refuses.
    virtual std::unique_ptr<Signal> makeSignal() = 0;
};

}  // namespace broker
