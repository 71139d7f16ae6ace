#pragma once

#include <array>
#include <string>

#include "Os/Windows/Platform.h"

namespace support {

// Runs this program again as a separate process, which runs one test that the ordinary run disables. The process
// inherits the environment. The destructor does not end it.
class TestProcess
{
public:
    explicit TestProcess(const std::string& test)
    {
        std::array<char, MAX_PATH> program{};
        GetModuleFileNameA(nullptr, program.data(), program.size());
        std::string command = std::string(program.data()) + " --gtest_also_run_disabled_tests --gtest_filter=" + test;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &m_process);
    }
    ~TestProcess()
    {
        CloseHandle(m_process.hProcess);
        CloseHandle(m_process.hThread);
    }
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;

    // Returns false when the platform did not start the process.
    bool hasStarted() const noexcept { return m_process.hProcess != nullptr; }

    bool isRunning() const noexcept { return WaitForSingleObject(m_process.hProcess, 0) == WAIT_TIMEOUT; }

    void end() const noexcept
    {
        TerminateProcess(m_process.hProcess, 9);
        WaitForSingleObject(m_process.hProcess, INFINITE);
    }

    // Waits until the process ends. Returns 0 when its test passed.
    DWORD exitCode() const noexcept
    {
        DWORD code = 0;
        WaitForSingleObject(m_process.hProcess, INFINITE);
        GetExitCodeProcess(m_process.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION m_process{};
};

}  // namespace support
