#include "broker/windows/WindowsJobHosts.h"

#include <chrono>
#include <new>

#include "Utils/Log.h"
#include "broker/windows/NamedMutex.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "WindowsJobHosts";
constexpr const char* JOBS_LOCK_NAME = "Global\\Vexal-DRAVEv2-Jobs";
constexpr std::chrono::milliseconds JOBS_LOCK_PATIENCE{1000};

// As ADMINISTRATORS_ACCESS; besides, everybody may see that a host is alive.
constexpr const char* HOST_ACCESS = "D:(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;NS)(A;;0x100000;;;WD)";

std::string hostName(const std::string& host)
{
    return "Global\\Vexal-DRAVEv2-Host-" + host;
}

}  // namespace

WindowsJobHosts::~WindowsJobHosts()
{
    if (m_announcement != nullptr) {
        CloseHandle(m_announcement);
    }
}

std::string WindowsJobHosts::own()
{
    FILETIME start{};
    FILETIME end{};
    FILETIME kernelTime{};
    FILETIME userTime{};
    // This cannot fail for the own process.
    GetProcessTimes(GetCurrentProcess(), &start, &end, &kernelTime, &userTime);
    const ULONGLONG time = ULONGLONG{start.dwHighDateTime} << 32U | start.dwLowDateTime;
    return std::to_string(GetCurrentProcessId()) + "-" + std::to_string(time);
}

bool WindowsJobHosts::announce() noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::WindowsJobHosts::announce"};
    if (m_announcement != nullptr) {
        return true;
    }
    try {
        m_announcement = openNamedMutex(hostName(own()).c_str(), HOST_ACCESS);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (m_announcement == nullptr) {
        here.error("Jobs will not survive this process, which other hosts would take for ended. Error %d",
                   static_cast<int>(GetLastError()));
    }
    return m_announcement != nullptr;
}

bool WindowsJobHosts::isAlive(const std::string& host)
{
    const HANDLE mutex = OpenMutexA(SYNCHRONIZE, FALSE, hostName(host).c_str());
    if (mutex == nullptr) {
        return GetLastError() != ERROR_FILE_NOT_FOUND;
    }
    CloseHandle(mutex);
    return true;
}

void WindowsJobHosts::lock() noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::WindowsJobHosts::lock"};
    // Only the outermost lock() opens and waits.
    if (m_depth++ == 0) {
        m_lock = openNamedMutex(JOBS_LOCK_NAME, ADMINISTRATORS_ACCESS);
    }
    // A process that ended while it held the lock left every entry whole or absent, so an abandoned lock counts as
    // locked.
    const DWORD result =
        m_lock == nullptr ? WAIT_FAILED : WaitForSingleObject(m_lock, static_cast<DWORD>(JOBS_LOCK_PATIENCE.count()));
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) {
        here.error("Stored jobs are changed without a lock. Result %d, error %d", static_cast<int>(result),
                   static_cast<int>(GetLastError()));
    }
}

void WindowsJobHosts::unlock() noexcept
{
    if (m_lock != nullptr) {
        // If lock() did not get the lock, this fails without harm.
        ReleaseMutex(m_lock);
    }
    if (--m_depth == 0 && m_lock != nullptr) {
        CloseHandle(m_lock);
        m_lock = nullptr;
    }
}

}  // namespace broker
