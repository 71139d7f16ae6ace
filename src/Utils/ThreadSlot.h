#pragma once

namespace utils {

// Platform boundary: a pointer that each thread has for itself, null at first.
// Not a thread_local object: one with a destructor would keep this module loaded for as long as a thread that used it
// lives, and WMI's threads live long.
// CONTRACT: when a thread ends, or when the slot does, `atEnd` is called for the thread's pointer unless it is null, on
// whatever thread, and also while the process ends. The constructor throws utils::Exception when the platform has no
// slot left. Any thread may get and set; the slot must not end while one does.
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
