#include "support/CapturedSinks.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

#include "support/CapturedModules.h"
#include "support/ImportHook.h"

namespace support {

namespace {

struct Captured
{
    std::mutex mutex;
    std::vector<std::string> events;
    std::vector<std::string> debugger;
    std::vector<std::string> sequence;
};

Captured& captured()
{
    static Captured instance;
    return instance;
}

HANDLE theEventSource()
{
    return &captured();
}

HANDLE WINAPI openSource(LPCSTR /*server*/, LPCSTR /*source*/)
{
    return theEventSource();
}

BOOL WINAPI report(HANDLE /*source*/, WORD /*type*/, WORD /*category*/, DWORD /*id*/, PSID /*user*/, WORD count,
                   DWORD /*size*/, LPCSTR* texts, LPVOID /*data*/)
{
    const std::lock_guard guard(captured().mutex);
    for (WORD i = 0; i < count; ++i) {
        captured().events.emplace_back(texts[i]);
        captured().sequence.push_back("event: " + captured().events.back());
    }
    return TRUE;
}

BOOL WINAPI closeSource(HANDLE /*source*/)
{
    return TRUE;
}

void WINAPI print(LPCSTR text)
{
    const std::lock_guard guard(captured().mutex);
    captured().debugger.emplace_back(text);
    captured().sequence.push_back("debugger: " + captured().debugger.back());
}

struct SinkHooks
{
    explicit SinkHooks(HMODULE module)
        : open("RegisterEventSourceA", &openSource, module),
          report("ReportEventA", &support::report, module),
          close("DeregisterEventSource", &closeSource, module),
          debugger("OutputDebugStringA", &print, module)
    {
    }

    ImportHook open;
    ImportHook report;
    ImportHook close;
    ImportHook debugger;
};

std::map<HMODULE, std::unique_ptr<SinkHooks>>& hooks()
{
    static std::map<HMODULE, std::unique_ptr<SinkHooks>> instance;
    return instance;
}

}  // namespace

void setLogLevelVariable(const char* value)
{
    // The C run time keeps a copy of the environment of its own; a removal is an empty value to it.
    _putenv_s("VEXAL_DRAVEv2_LOG_LEVEL", value != nullptr ? value : "");
    SetEnvironmentVariableA("VEXAL_DRAVEv2_LOG_LEVEL", value);
}

void captureModule(HMODULE module)
{
    hooks()[module] = std::make_unique<SinkHooks>(module);
}

void releaseModule(HMODULE module)
{
    hooks().erase(module);
}

void startCapturing()
{
    clearCaptured();
    captureModule(GetModuleHandleA(nullptr));
}

void stopCapturing()
{
    hooks().clear();
}

void clearCaptured()
{
    const std::lock_guard guard(captured().mutex);
    captured().events.clear();
    captured().debugger.clear();
    captured().sequence.clear();
}

std::vector<std::string> capturedEvents()
{
    const std::lock_guard guard(captured().mutex);
    return captured().events;
}

std::vector<std::string> capturedDebugger()
{
    const std::lock_guard guard(captured().mutex);
    return captured().debugger;
}

std::vector<std::string> capturedSequence()
{
    const std::lock_guard guard(captured().mutex);
    return captured().sequence;
}

}  // namespace support
