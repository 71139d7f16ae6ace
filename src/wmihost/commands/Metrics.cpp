#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <thread>

#include "wmihost/com/StatusText.h"
#include "wmihost/commands/Requests.h"
#include "wmihost/metrics/Exposition.h"
#include "wmihost/metrics/MachineMetrics.h"
#include "wmihost/metrics/MetricFile.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Clock = std::chrono::steady_clock;

// The classes that a reading asks for.
struct Targets
{
    ClassTarget ports;
    ClassTarget statistics;
    ClassTarget endpoints;
    ClassTarget jobs;
};

Targets findTargets(const Connection& connection, const CommandOptions& options)
{
    const auto find = [&](const wchar_t* name) { return connection.findClass(name, options.nameSpace); };
    return {find(L"Zerix_EthernetPort"), find(L"Zerix_EthernetPortStatistics"), find(L"Zerix_IPProtocolEndpoint"),
            find(L"Zerix_ConcreteJob")};
}

std::vector<MetricFamily> readMachine(Connection& connection, const Targets& targets, const CommandOptions& options)
{
    const auto rows = [&](const ClassTarget& target) {
        return ClassRows{target.definition, enumerateInstances(connection, target, options)};
    };
    return machineMetrics({rows(targets.ports), rows(targets.statistics), rows(targets.endpoints), rows(targets.jobs)});
}

// Reads the machine once. Returns the failure, if there was one.
std::exception_ptr read(Exposition& exposition, Connection& connection, const Targets& targets,
                        const CommandOptions& options)
{
    const auto begin = Clock::now();
    try {
        auto metrics = readMachine(connection, targets, options);
        exposition.succeeded(std::move(metrics), Clock::now() - begin, std::chrono::system_clock::now());
        return nullptr;
    } catch (const std::exception&) {
        exposition.failed(Clock::now() - begin);
        return std::current_exception();
    }
}

void write(const Exposition& exposition, const CommandOptions& options)
{
    if (options.output.empty()) {
        writeOut(exposition.text());
    } else {
        replaceMetricFile(options.output, exposition.text());
    }
}

// Writes a line about a failure after which the command goes on.
void report(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const RequestError& error) {
        const std::string reason = *error.what() == '\0' ? "" : "; " + std::string(error.what());
        writeError("wmihost metrics: the machine cannot be read: " + statusText(error.status()) + reason + "\n");
    } catch (const std::exception& error) {
        writeError(std::string("wmihost metrics: ") + error.what() + "\n");
    }
}

void checkOutput(const CommandOptions& options)
{
    if (!options.output.empty() && std::filesystem::path(options.output).extension() != L".prom") {
        throw UsageError("'" + toUtf8(options.output) + "' does not end in .prom; collectors read no other files");
    }
}

}  // namespace

int runMetrics(Connection& connection, const CommandOptions& options)
{
    checkOutput(options);
    const Targets targets = findTargets(connection, options);
    const unsigned count = options.every == std::chrono::seconds(0) ? 1 : options.count;
    Exposition exposition;
    auto due = Clock::now();
    for (unsigned done = 1;; ++done) {
        std::exception_ptr failure = read(exposition, connection, targets, options);
        try {
            write(exposition, options);
        } catch (const MetricFileError&) {
            failure = std::current_exception();
        }
        if (failure) {
            report(failure);
        }
        if (done == count) {
            return failure ? 1 : 0;
        }
        // Readings that were missed, because the machine slept or the provider was slow, are skipped.
        due = std::max(due + options.every, Clock::now());
        std::this_thread::sleep_until(due);
    }
}

}  // namespace wmihost
