#pragma once

#include <array>
#include <string>

#include "Os/Windows/Platform.h"

namespace support {

// HKEY_LOCAL_MACHINE is a branch of the user's registry, for this process, as long as this lives.
class OwnRegistry
{
public:
    explicit OwnRegistry(const std::string& name)
    {
        RegCreateKeyExA(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_key);
    }
    ~OwnRegistry()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_key);
    }
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;

    HKEY key() const noexcept { return m_key; }

private:
    HKEY m_key = nullptr;
};

// This program once more, in a process of its own, which runs one test that is disabled in the ordinary run. It
// inherits the environment. Does not end the process.
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

    // False when the platform did not start it.
    bool hasStarted() const noexcept { return m_process.hProcess != nullptr; }

    bool isRunning() const noexcept { return WaitForSingleObject(m_process.hProcess, 0) == WAIT_TIMEOUT; }

    void end() const noexcept
    {
        TerminateProcess(m_process.hProcess, 9);
        WaitForSingleObject(m_process.hProcess, INFINITE);
    }

    // Waits for its end; 0 when the test has passed.
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
