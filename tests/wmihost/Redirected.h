#pragma once

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "wmihost/com/Platform.h"

namespace wmihost {

// While the scope lives, standard output or standard error goes to a file.
class Redirected
{
public:
    explicit Redirected(DWORD which) : m_which(which), m_file(newFile()), m_before(GetStdHandle(which))
    {
        m_handle = CreateFileW(m_file.wstring().c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(m_handle, INVALID_HANDLE_VALUE) << m_file;
        SetStdHandle(which, m_handle);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;
    ~Redirected()
    {
        SetStdHandle(m_which, m_before);
        CloseHandle(m_handle);
        // A Wine service that starts meanwhile inherits the handle and keeps the file open. The file then remains.
        std::error_code ignored;
        std::filesystem::remove(m_file, ignored);
    }

    std::string text() const
    {
        std::ifstream stream(m_file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    // A file that nobody else has. The numbers of processes come back, and a file may have remained from the process
    // that had this number before.
    static std::filesystem::path newFile()
    {
        std::array<wchar_t, MAX_PATH> name{};
        const std::wstring folder = std::filesystem::temp_directory_path().wstring();
        EXPECT_NE(GetTempFileNameW(folder.c_str(), L"out", 0, name.data()), 0U);
        return name.data();
    }

    DWORD m_which;
    std::filesystem::path m_file;
    HANDLE m_before;
    HANDLE m_handle;
};

}  // namespace wmihost
