#include <new>

#include "Os/Windows/Platform.h"
#include "Utils/LogSinks.h"
#include "Utils/Utils.h"

namespace utils {

namespace {

void tellDebugger(const char* form, DWORD error, const char* line) noexcept
{
    try {
        writeDebugger(format(form, static_cast<unsigned>(error), line).c_str());
    } catch (const std::bad_alloc&) {
        // No sink is left for the message.
    }
}

}  // namespace

void reportEvent(const std::string& line) noexcept
{
    // Opened and closed once per line: no handle outlives a module that may be unloaded at any time.
    const HANDLE source = RegisterEventSourceA(nullptr, "Vexal DRAVEv2 Provider");
    if (source == nullptr) {
        tellDebugger("Problem %x with RegisterEventSource\n", GetLastError(), "");
    }
    const char* text = line.c_str();
    // Goes on with a null handle as well: the second message then says that the event was lost, and which.
    if (!ReportEventA(source, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, &text, nullptr)) {
        tellDebugger("Problem %x with ReportEvent %s\n", GetLastError(), text);
    }
    DeregisterEventSource(source);
}

}  // namespace utils
