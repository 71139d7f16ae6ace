#include "wmihost/terminal/Console.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <string>

#include "wmihost/com/Platform.h"
#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

bool isTerminal(DWORD which)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(which), &mode) != 0;
}

// The positive number in a variable of the environment.
std::optional<std::size_t> environmentNumber(const char* name)
{
    const char* text = std::getenv(name);
    const auto number = text == nullptr ? std::nullopt : parseUnsigned(toWide(text));
    return number && *number > 0 ? std::optional<std::size_t>(*number) : std::nullopt;
}

// Longer texts are written in pieces of this size, since some terminals accept at most 64 KB at once.
constexpr std::size_t TERMINAL_PIECE = 8000;

// The length of the next piece, which does not cut through a surrogate pair.
std::size_t pieceOf(std::wstring_view text)
{
    const std::size_t size = std::min(text.size(), TERMINAL_PIECE);
    return size < text.size() && IS_HIGH_SURROGATE(text[size - 1]) ? size - 1 : size;
}

// Returns 0, or why the text could not be written.
DWORD writeToTerminal(HANDLE handle, std::wstring_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        if (WriteConsoleW(handle, text.data(), static_cast<DWORD>(pieceOf(text)), &written, nullptr) == 0) {
            return GetLastError();
        }
        text.remove_prefix(written);
    }
    return 0;
}

DWORD writeToFile(HANDLE handle, std::string_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        if (WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0) {
            return GetLastError();
        }
        if (written == 0) {
            return ERROR_WRITE_FAULT;
        }
        text.remove_prefix(written);
    }
    return 0;
}

DWORD write(DWORD which, std::string_view text)
{
    const HANDLE handle = GetStdHandle(which);
    return isTerminal(which) ? writeToTerminal(handle, toWide(text)) : writeToFile(handle, text);
}

// Reads one byte at a time, since another program may want the input behind the line.
std::optional<std::string> lineOfFile(HANDLE handle)
{
    std::string line;
    char byte = 0;
    DWORD count = 0;
    bool any = false;
    while (ReadFile(handle, &byte, 1, &count, nullptr) != 0 && count == 1) {
        any = true;
        if (byte == '\n') {
            break;
        }
        line += byte;
    }
    return any ? std::optional(line) : std::nullopt;
}

std::optional<std::string> lineOfTerminal(HANDLE handle)
{
    constexpr wchar_t END_OF_INPUT = 26;  // Ctrl+Z
    std::wstring line;
    std::array<wchar_t, 256> buffer{};
    do {
        DWORD count = 0;
        SetLastError(0);
        if (ReadConsoleW(handle, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) == 0) {
            return std::nullopt;
        }
        if (count == 0) {
            // After Ctrl+C there are no characters.
            return GetLastError() == ERROR_OPERATION_ABORTED ? std::optional<std::string>("") : std::nullopt;
        }
        line.append(buffer.data(), count);
    } while (line.back() != L'\n');
    if (line.front() == END_OF_INPUT) {
        return std::nullopt;
    }
    line.erase(line.find_last_not_of(L"\r\n") + 1);
    return toUtf8(line);
}

bool meansNobodyReads(DWORD error)
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
}

// The platform's text for an error, without the line break.
std::string systemText(DWORD error)
{
    std::array<wchar_t, 512> buffer{};
    const DWORD size = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                      buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
    std::string text = toUtf8(std::wstring_view(buffer.data(), size));
    text.erase(text.find_last_not_of(" .\r\n") + 1);
    return text.empty() ? "error " + std::to_string(error) : text;
}

}  // namespace

void writeOut(std::string_view text)
{
    const DWORD error = outIsTerminal() ? write(STD_OUTPUT_HANDLE, visibleLines(text)) : write(STD_OUTPUT_HANDLE, text);
    if (meansNobodyReads(error)) {
        throw OutputClosed();
    }
    if (error != 0) {
        throw OutputError("the output cannot be written: " + systemText(error));
    }
}

void writeError(std::string_view text)
{
    write(STD_ERROR_HANDLE, visibleLines(text));
}

void writeStatus(std::string_view text)
{
    write(STD_ERROR_HANDLE, "\r" + visible(text));
}

std::optional<std::string> readLine(std::string_view prompt)
{
    if (!isTerminal(STD_INPUT_HANDLE)) {
        return lineOfFile(GetStdHandle(STD_INPUT_HANDLE));
    }
    writeError(prompt);
    return lineOfTerminal(GetStdHandle(STD_INPUT_HANDLE));
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
    if (const auto width = environmentNumber("COLUMNS")) {
        return width;
    }
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0 &&
        info.srWindow.Right > info.srWindow.Left) {
        // The last column stays empty, since a character there makes some terminals begin a new line.
        return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left);
    }
    return std::nullopt;
}

std::optional<std::size_t> screenHeight()
{
    if (const auto height = environmentNumber("LINES")) {
        return height;
    }
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0 &&
        info.srWindow.Bottom > info.srWindow.Top) {
        return static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1);
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
