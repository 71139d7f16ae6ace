#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "wmihost/com/CallContext.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/session/Connection.h"
#include "wmihost/wql/Query.h"

namespace wmihost {

// An invalid command line; what() says in UTF-8 why.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class Format
{
    TABLE,
    JSON,
    MOF,
    CSV,
    MARKDOWN  // of `describe` alone
};

// NAME=VALUE of the command line.
using Assignment = std::pair<std::wstring, std::wstring>;

// The options of all commands.
struct CommandOptions
{
    std::wstring nameSpace;  // empty: any namespace that has the class
    Format format = Format::TABLE;
    Impersonation impersonation = Impersonation::IMPERSONATE;
    std::vector<std::wstring> properties;    // empty: the command chooses
    std::vector<wql::Condition> conditions;  // an instance is shown if all of them hold
    unsigned threads = 1;
    unsigned repeat = 1;
    unsigned count = 0;                        // samples of `watch`, readings of `metrics`; 0: until it is interrupted
    std::chrono::milliseconds interval{1000};  // between two tables of `watch`
    std::wstring output;                       // of `metrics`; empty: standard output
    std::chrono::seconds every{0};             // between two readings of `metrics`; 0: one reading
    bool wait = false;
    bool hasPropertyOption = false;  // a hint may name --property
    bool quiet = false;              // no hints and no progress
    bool jobsGoOn = false;           // after the end of the command, since the provider's host outlives it
};

// Additional options of `related`.
struct RelatedOptions
{
    bool references = false;  // show the associations, not what they lead to
    std::string where;        // keywords of the query's WHERE; empty: none
};

// Each command writes its result to standard output and returns the exit code: 0 for success, 1 for a failure that it
// has reported. They throw RequestError, PathError, UsageError and wql::QueryError.
int runClasses(const Connection& connection, const CommandOptions& options);
// All classes if `className` is empty.
int runDescribe(const Connection& connection, const std::wstring& className, const CommandOptions& options);
// The network adapters if `className` is empty.
int runList(Connection& connection, const std::wstring& className, const CommandOptions& options);
int runGet(Connection& connection, const std::wstring& path, const CommandOptions& options);
int runSet(Connection& connection, const std::wstring& path, const std::vector<Assignment>& values,
           const CommandOptions& options);
int runDelete(Connection& connection, const std::wstring& path, const CommandOptions& options);
int runInvoke(Connection& connection, const std::wstring& path, const std::wstring& method,
              const std::vector<Assignment>& arguments, const CommandOptions& options);
// Answers a query in WQL: the machine's WMI does if the connection leads there and `local` is false, else this program.
int runQuery(Connection& connection, const std::string& text, bool local, const CommandOptions& options);
// The short form of ASSOCIATORS OF and REFERENCES OF.
int runRelated(Connection& connection, const std::string& path, const RelatedOptions& related, bool local,
               const CommandOptions& options);
int runMetrics(Connection& connection, const CommandOptions& options);
int runWatch(Connection& connection, const std::wstring& className, const CommandOptions& options);
int runSelfTest(Connection& connection, const CommandOptions& options);

}  // namespace wmihost
