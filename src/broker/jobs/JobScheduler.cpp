#include "broker/jobs/JobScheduler.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "Utils/Log.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "JobScheduler";

}  // namespace

bool JobScheduler::run(std::function<void()> task, std::chrono::milliseconds patience, Late late)
{
    const auto handed = std::make_shared<Task>();
    handed->run = std::move(task);
    handed->done = m_thread.makeSignal();
    enqueue(handed);
    if (!handed->done->wait(patience) && late == Late::IS_WITHDRAWN && !withdraw(handed)) {
        handed->done->wait(std::chrono::milliseconds::max());
    }
    return handed->isDone;
}

void JobScheduler::nudge() noexcept
{
    bool startsThread = false;
    {
        const utils::MutexGuard guard(m_mutex);
        m_isNudged = true;
        startsThread = !std::exchange(m_threadRuns, true);
    }
    if (!startsThread) {
        m_thread.wake();
    } else if (!m_thread.start(*this)) {
        giveUp();
    }
}

void JobScheduler::enqueue(const std::shared_ptr<Task>& task)
{
    {
        const utils::MutexGuard guard(m_mutex);
        m_queue.push_back(task);
    }
    nudge();
}

// Empties the queue, since no thread could be started. This also affects tasks that other requests have added
// meanwhile, because they relied on the same thread.
void JobScheduler::giveUp() noexcept
{
    const utils::MutexGuard guard(m_mutex);
    m_threadRuns = false;
    for (const std::shared_ptr<Task>& task : m_queue) {
        task->done->raise();
    }
    m_queue.clear();
}

bool JobScheduler::withdraw(const std::shared_ptr<Task>& task)
{
    const utils::MutexGuard guard(m_mutex);
    return std::erase(m_queue, task) != 0;
}

std::shared_ptr<JobScheduler::Task> JobScheduler::next()
{
    const utils::MutexGuard guard(m_mutex);
    if (m_queue.empty()) {
        m_isNudged = false;
        return nullptr;
    }
    std::shared_ptr<Task> task = std::move(m_queue.front());
    m_queue.pop_front();
    return task;
}

std::optional<std::chrono::milliseconds> JobScheduler::work() noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::JobScheduler::work"};
    for (;;) {
        if (const std::shared_ptr<Task> task = next()) {
            try {
                task->run();
                task->isDone = true;
            } catch (const std::exception& exception) {
                here.error("Task of the job thread failed: %s", exception.what());
            }
            task->done->raise();
            continue;
        }
        const std::optional<SteadyTime> due = m_duty.step();
        const utils::MutexGuard guard(m_mutex);
        if (m_isNudged) {
            continue;
        }
        if (!due) {
            // Set under the lock, so that a later nudge starts a new thread.
            m_threadRuns = false;
            return std::nullopt;
        }
        const SteadyTime now = m_machine.steadyNow();
        if (now < *due) {
            return std::min(LONGEST_PAUSE, std::chrono::ceil<std::chrono::milliseconds>(*due - now));
        }
    }
}

}  // namespace broker
