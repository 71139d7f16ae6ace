#pragma once

#include "Os/Windows/Platform.h"
#include "broker/platform/JobHosts.h"

namespace broker {

// Hosts announce themselves by named kernel mutexes, which the platform removes when their process ends. The names are
// global, so that hosts of different sessions see each other. Only the system, administrators and network services may
// lock.
class WindowsJobHosts final : public JobHosts
{
public:
    WindowsJobHosts() = default;
    ~WindowsJobHosts() override;
    WindowsJobHosts(const WindowsJobHosts&) = delete;
    WindowsJobHosts& operator=(const WindowsJobHosts&) = delete;

    std::string own() override;
    bool announce() noexcept override;
    bool isAlive(const std::string& host) override;
    void lock() noexcept override;
    void unlock() noexcept override;

private:
    // Not null from the first announcement on.
    HANDLE m_announcement = nullptr;
    // Not null while it is locked.
    HANDLE m_lock = nullptr;
    int m_depth = 0;
};

}  // namespace broker
