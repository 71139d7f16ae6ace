#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "Utils/Mutex.h"
#include "broker/platform/JobThread.h"
#include "broker/platform/Machine.h"

namespace broker {

// The recurring work of the job thread.
class JobDuty
{
public:
    JobDuty(const JobDuty&) = delete;
    JobDuty& operator=(const JobDuty&) = delete;

    // Takes the one step that is due, if any. Returns the time of the next step, or nothing if no job runs.
    virtual std::optional<SteadyTime> step() noexcept = 0;

protected:
    JobDuty() = default;
    ~JobDuty() = default;
};

// Runs the tasks of requests and the steps of the duty one after the other on the job thread. The thread starts with
// the first task and ends when nothing is left. The lock guards the queue; code under it only raises signals.
class JobScheduler final : private JobWork
{
public:
    // The longest sleep of the thread while jobs run, since another process may drop one of them.
    static constexpr std::chrono::milliseconds LONGEST_PAUSE{1000};

    enum class Late
    {
        // The task stays in the queue.
        STAYS,
        // A task that has not begun is removed from the queue; one that has begun is waited for.
        IS_WITHDRAWN
    };

    // All must outlive the scheduler. The scheduler must outlive the job thread's work.
    JobScheduler(JobThread& thread, Machine& machine, JobDuty& duty)
        : m_thread(thread), m_machine(machine), m_duty(duty)
    {
    }

    // Runs the task on the job thread and waits for its end. Returns whether the task completed. An exception of the
    // task is logged. Any thread except the job thread.
    bool run(std::function<void()> task, std::chrono::milliseconds patience, Late late);

    // Makes the duty take its next step soon. Needs no memory. Any thread.
    void nudge() noexcept;

private:
    struct Task
    {
        std::function<void()> run;
        std::unique_ptr<Signal> done;
        std::atomic<bool> isDone{false};
    };

    std::optional<std::chrono::milliseconds> work() noexcept override;
    void enqueue(const std::shared_ptr<Task>& task);
    // Null when the queue is empty.
    std::shared_ptr<Task> next();
    bool withdraw(const std::shared_ptr<Task>& task);
    void giveUp() noexcept;

    JobThread& m_thread;
    Machine& m_machine;
    JobDuty& m_duty;
    utils::Mutex m_mutex;
    std::deque<std::shared_ptr<Task>> m_queue;
    bool m_threadRuns = false;
    // Whether a nudge came since the thread found the queue empty.
    bool m_isNudged = false;
};

}  // namespace broker
