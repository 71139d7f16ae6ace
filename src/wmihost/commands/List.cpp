#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

#include "wmihost/com/StatusText.h"
#include "wmihost/commands/Output.h"
#include "wmihost/commands/Report.h"
#include "wmihost/terminal/Console.h"

namespace wmihost {
namespace {

using Clock = std::chrono::steady_clock;

// The totals of many requests.
struct Tally
{
    std::mutex mutex;
    unsigned requests = 0;
    unsigned failures = 0;
    Clock::duration slowest{};
    Clock::duration total{};
    HRESULT firstFailure = 0;
};

void countRequest(const std::function<void()>& request, Tally& tally)
{
    const auto begin = Clock::now();
    HRESULT failure = 0;
    try {
        request();
    } catch (const RequestError& error) {
        failure = error.status();
    }
    const auto duration = Clock::now() - begin;
    const std::lock_guard lock(tally.mutex);
    ++tally.requests;
    tally.total += duration;
    tally.slowest = std::max(tally.slowest, duration);
    if (FAILED(failure)) {
        ++tally.failures;
        tally.firstFailure = tally.firstFailure == 0 ? failure : tally.firstFailure;
    }
}

std::string milliseconds(Clock::duration duration)
{
    const auto micro = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
    return std::to_string(micro / 1000) + "." + std::to_string(micro / 100 % 10) + " ms";
}

// Sends the request `repeat` times, one after the other, on each of `threads` threads.
int runMany(const CommandOptions& options, const std::function<void()>& request)
{
    Tally tally;
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 0; i < options.threads; ++i) {
            threads.emplace_back([&] {
                const ComApartment apartment;
                for (unsigned n = 0; n < options.repeat; ++n) {
                    countRequest(request, tally);
                }
            });
        }
    }
    writeRemark(options, std::to_string(tally.requests) + " requests, " + std::to_string(tally.failures) +
                             " failures, slowest " + milliseconds(tally.slowest) + ", mean " +
                             milliseconds(tally.total / std::max(1U, tally.requests)) + "\n");
    if (tally.failures > 0) {
        writeError("first failure: " + statusText(tally.firstFailure) + "\n");
    }
    return tally.failures == 0 ? 0 : 1;
}

bool isMany(const CommandOptions& options)
{
    return options.threads > 1 || options.repeat > 1;
}

}  // namespace

int runList(Connection& connection, const std::wstring& className, const CommandOptions& options)
{
    const ClassTarget target =
        connection.findClass(className.empty() ? L"Zerix_EthernetPort" : className, options.nameSpace);
    checkNames(*target.definition, options);
    if (isMany(options)) {
        connection.sessionFor(target);
        return runMany(options, [&] { enumerateInstances(connection, target, options); });
    }
    Objects objects = enumerateInstances(connection, target, options);
    applyConditions(objects, *target.definition, options);
    writeObjects(objects, *target.definition, options);
    if (objects.empty()) {
        writeHint(options, options.conditions.empty() ? "the class has no instances\n"
                                                      : "no instance has the values that --where asks for\n");
    }
    return 0;
}

int runGet(Connection& connection, const std::wstring& path, const CommandOptions& options)
{
    const InstanceTarget instance = connection.findInstance(path, options.nameSpace);
    checkNames(*instance.target.definition, options);
    if (isMany(options)) {
        connection.sessionFor(instance.target);
        return runMany(options, [&] { getInstance(connection, instance, options); });
    }
    const auto object = getInstance(connection, instance, options);
    writeObject(*object.get(), *instance.target.definition, options);
    return 0;
}

}  // namespace wmihost
