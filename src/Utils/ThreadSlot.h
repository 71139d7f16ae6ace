#pragma once

namespace utils {

// Platform boundary: a pointer that each thread has for itself, null at first.
// It is not a thread_local object. One with a destructor would keep this module loaded for as long as a thread that
// used it lives, and WMI's threads live long.
//
// CONTRACT: `atEnd` is called for each pointer that is not null, when its thread ends or when the slot is destroyed.
// The call may come on any thread, and also while the process ends. The constructor throws utils::Exception when the
// platform has no slot left. Any thread may get and set. Destroy the slot only when no thread does.
class ThreadSlot
{
public:
    explicit ThreadSlot(void (*atEnd)(void* value));
    ~ThreadSlot();
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    void* get() const noexcept;

    // False when the platform has no memory for the thread's pointer, which then stays as it was.
    bool set(void* value) noexcept;

private:
    void* m_handle;
};

}  // namespace utils
