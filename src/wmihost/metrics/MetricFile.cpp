#include "wmihost/metrics/MetricFile.h"

#include <chrono>
#include <string>
#include <system_error>

#include "wmihost/com/Platform.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr std::chrono::milliseconds PAUSE{50};
constexpr int MOST_ATTEMPTS = 100;

struct FileCloser
{
    HANDLE handle;
    ~FileCloser() { CloseHandle(handle); }
};

DWORD write(const std::filesystem::path& file, std::string_view text)
{
    const HANDLE handle =
        CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    const FileCloser closer{handle};
    while (!text.empty()) {
        DWORD written = 0;
        if (WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0) {
            return GetLastError();
        }
        text.remove_prefix(written);
    }
    return ERROR_SUCCESS;
}

// While a reader has opened the file without sharing its deletion, the platform refuses with one of these errors.
bool isHeldByReader(DWORD error)
{
    return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
}

DWORD replace(const std::filesystem::path& from, const std::filesystem::path& to)
{
    for (int attempt = 1;; ++attempt) {
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) {
            return ERROR_SUCCESS;
        }
        const DWORD error = GetLastError();
        if (!isHeldByReader(error) || attempt == MOST_ATTEMPTS) {
            return error;
        }
        Sleep(static_cast<DWORD>(PAUSE.count()));
    }
}

}  // namespace

void replaceMetricFile(const std::filesystem::path& file, std::string_view text)
{
    std::filesystem::path next = file;
    next += L".tmp";
    const DWORD written = write(next, text);
    const DWORD error = written == ERROR_SUCCESS ? replace(next, file) : written;
    if (error != ERROR_SUCCESS) {
        DeleteFileW(next.c_str());
        throw MetricFileError(toUtf8(written == ERROR_SUCCESS ? file.wstring() : next.wstring()) + " cannot be " +
                              (written == ERROR_SUCCESS ? "replaced: " : "written: ") +
                              std::system_category().message(static_cast<int>(error)));
    }
}

}  // namespace wmihost
