#pragma once

namespace utils {

// The one lock of the system.
// Platform boundary. CONTRACT: recursive, a thread may take a mutex that it holds again. Only construction can throw
// (utils::Exception); a lock, unlock or close that fails is logged, and the caller goes on as if it had succeeded.
class Mutex
{
public:
    Mutex();
    virtual ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

private:
    friend class MutexGuard;
    void lock() noexcept;
    void unlock() noexcept;

    void* m_handle;
};

// Holds a mutex for the length of a scope. Does not own it.
class MutexGuard
{
public:
    explicit MutexGuard(Mutex& mutex) noexcept : m_mutex(&mutex) { m_mutex->lock(); }
    ~MutexGuard() { m_mutex->unlock(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    Mutex* m_mutex;
};

}  // namespace utils
