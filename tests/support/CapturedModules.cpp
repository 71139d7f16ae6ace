#include "support/CapturedModules.h"

#include <cstdlib>
#include <map>
#include <memory>

#include "support/CapturedSinks.h"
#include "support/ImportHook.h"

namespace support {

namespace {

HANDLE WINAPI openSource(LPCSTR /*server*/, LPCSTR /*source*/)
{
    static int source = 0;
    return &source;
}

BOOL WINAPI report(HANDLE /*source*/, WORD /*type*/, WORD /*category*/, DWORD /*id*/, PSID /*user*/, WORD count,
                   DWORD /*size*/, LPCSTR* texts, LPVOID /*data*/)
{
    for (WORD i = 0; i < count; ++i) {
        addToCaptured(EVENT, texts[i]);
    }
    return TRUE;
}

BOOL WINAPI closeSource(HANDLE /*source*/)
{
    return TRUE;
}

void WINAPI print(LPCSTR text)
{
    addToCaptured(DEBUGGER, text);
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
    // The C run time keeps a separate copy of the environment. It treats an empty value as a removal.
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

void redirectSinks()
{
    captureModule(GetModuleHandleA(nullptr));
}

void restoreSinks()
{
    hooks().clear();
}

}  // namespace support
