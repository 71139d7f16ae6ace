#include "wmihost/terminal/Console.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>

#include "wmihost/com/Platform.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

bool isTerminal(DWORD which)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(which), &mode) != 0;
}

void write(DWORD which, std::string_view text)
{
    const HANDLE handle = GetStdHandle(which);
    DWORD written = 0;
    if (isTerminal(which)) {
        const std::wstring wide = toWide(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
        return;
    }
    while (!text.empty() && WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0) {
        text.remove_prefix(written);
    }
}

}  // namespace

void writeOut(std::string_view text)
{
    write(STD_OUTPUT_HANDLE, text);
}

void writeError(std::string_view text)
{
    write(STD_ERROR_HANDLE, text);
}

bool outIsTerminal()
{
    return isTerminal(STD_OUTPUT_HANDLE);
}

bool errorIsTerminal()
{
    return isTerminal(STD_ERROR_HANDLE);
}

std::optional<std::size_t> lineWidth()
{
    if (const char* columns = std::getenv("COLUMNS")) {
        if (const auto width = parseUnsigned(toWide(columns)); width && *width > 0) {
            return *width;
        }
    }
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0 &&
        info.srWindow.Right > info.srWindow.Left) {
        // One less than the window has: a character in the last column would make some terminals begin a new line.
        return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left);
    }
    return std::nullopt;
}

void eraseLines(std::size_t count)
{
    const HANDLE handle = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(handle, &info) == 0) {
        return;
    }
    const auto lines = static_cast<SHORT>(std::min(count, static_cast<std::size_t>(info.dwCursorPosition.Y)));
    const COORD begin{0, static_cast<SHORT>(info.dwCursorPosition.Y - lines)};
    DWORD written = 0;
    FillConsoleOutputCharacterW(handle, L' ', static_cast<DWORD>(info.dwSize.X) * (static_cast<DWORD>(lines) + 1),
                                begin, &written);
    SetConsoleCursorPosition(handle, begin);
}

}  // namespace wmihost
