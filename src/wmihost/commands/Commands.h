#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "wmihost/com/CallContext.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/session/Workspace.h"

namespace wmihost {

// A command line that makes no sense; what() says why, in UTF-8.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class Format
{
    table,
    json,
    mof,
    markdown  // of `describe` alone
};

// NAME=VALUE of the command line.
using Assignment = std::pair<std::wstring, std::wstring>;

// What all commands take from the command line.
struct CommandOptions
{
    std::wstring nameSpace;  // empty: wherever the class is
    Format format = Format::table;
    Impersonation impersonation = Impersonation::impersonate;
    std::vector<std::wstring> properties;  // empty: the command chooses
    std::vector<Assignment> conditions;
    unsigned threads = 1;
    unsigned repeat = 1;
    unsigned count = 0;  // samples of `watch`, readings of `metrics`; 0: until it is interrupted
    unsigned intervalMilliseconds = 1000;
    std::wstring output;        // of `metrics`; empty: standard output
    unsigned everySeconds = 0;  // 0: one reading
    bool wait = false;
};

// Each command writes its result to standard output and returns the exit code: 0 for success, 1 if what was
// asked for did not come out well. They throw RequestError, PathError and UsageError.
int runClasses(const Workspace& workspace, const CommandOptions& options);
// All classes if `className` is empty.
int runDescribe(const Workspace& workspace, const std::wstring& className, const CommandOptions& options);
// The network adapters if `className` is empty.
int runList(Workspace& workspace, const std::wstring& className, const CommandOptions& options);
int runGet(Workspace& workspace, const std::wstring& path, const CommandOptions& options);
int runSet(Workspace& workspace, const std::wstring& path, const std::vector<Assignment>& values,
           const CommandOptions& options);
int runDelete(Workspace& workspace, const std::wstring& path, const CommandOptions& options);
int runInvoke(Workspace& workspace, const std::wstring& path, const std::wstring& method,
              const std::vector<Assignment>& arguments, const CommandOptions& options);
int runMetrics(Workspace& workspace, const CommandOptions& options);
int runWatch(Workspace& workspace, const std::wstring& className, const CommandOptions& options);
int runSelfTest(Workspace& workspace, const CommandOptions& options);

}  // namespace wmihost
