#include "bench/provider/StepTable.h"

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "bench/provider/Ports.h"
#include "bench/provider/Requests.h"
#include "bench/provider/Steps.h"
#include "support/RunTimeName.h"

namespace bench {

namespace {

// A request is made this often before it is counted, so that the platform's heap has reached a stable state.
constexpr int WARM_UP = 100;

// Allocates all free blocks of the process's heaps. The free blocks depend on the lengths of paths and environment;
// without them each request finds the same heap everywhere. The blocks are never freed.
void fillHeaps()
{
    constexpr int BLOCKS = 100;
    constexpr std::size_t SMALL = 1024;
    constexpr std::size_t LARGEST = 32 * SMALL;
    for (std::size_t size = 16; size <= LARGEST; size += size < SMALL ? 16 : SMALL) {
        for (int i = 0; i < BLOCKS; ++i) {
            if (std::malloc(size) == nullptr || HeapAlloc(GetProcessHeap(), 0, size) == nullptr) {
                throw std::bad_alloc();
            }
        }
    }
}

void markModules()
{
    markModule("provider", "ZerixDRAVEv2Provider.dll");
    markModule("broker", "ZerixCimCore.dll");
    markModule("runtime", support::RUN_TIME);
    for (const char* const function : {"RtlAllocateHeap", "RtlReAllocateHeap", "RtlFreeHeap", "RtlSizeHeap"}) {
        markFunction("heap", "ntdll.dll", function);
    }
}

void countWarm(const std::string& name, const std::function<void()>& request)
{
    for (int i = 0; i < WARM_UP; ++i) {
        request();
    }
    countSteps(name, request);
}

void stepKind(const RequestKind& kind, Client& client, const KernelCalls& kernel)
{
    requireSameAnswers(kind, client, kernel);
    const std::string name = kind.name;
    countWarm(name, [&] { (client.*kind.request)(); });
    client.setAllowed(false);
    countWarm(name + ", floor", [&] { (client.*kind.floor)(kernel); });
    client.setAllowed(true);
    countWarm(name + ", allowed floor", [&] { (client.*kind.floor)(kernel); });
    client.take();
}

void stepKinds(const support::ProviderModule& module)
{
    const BenchmarksBroker benchmarksBroker(module);
    const KernelCalls kernel({module.handle()}, Kernel::NONE);
    Broker broker(1);
    Client client(module, broker);
    stepKind(ENUMERATE, client, kernel);
    for (const RequestKind& kind : SINGLE_REQUESTS) {
        stepKind(kind, client, kernel);
    }
}

// A later request of a thread, and the first request of a new thread, which makes all instances.
void stepAnswers(PortClient& client, const std::string& adapters)
{
    countWarm("ports of " + adapters + ", later", [&] { client.enumerate(); });
    for (int i = 0; i < WARM_UP / 10; ++i) {
        client.enumerateOnNewThread([](const std::function<void()>& enumerate) { enumerate(); });
    }
    client.enumerateOnNewThread([&](const std::function<void()>& enumerate) {
        countSteps("ports of " + adapters + ", new thread", enumerate);
    });
}

}  // namespace

void stepRequests()
{
    // Outlives the kernel's calls below.
    static const support::ProviderModule module;
    const CallContext context;
    markModules();
    fillHeaps();
    stepKinds(module);
    // Lives until the process ends: the broker holds handles that were made under it and must be closed under it.
    static const KernelCalls kernel({module.handle(), PortClient::broker()}, Kernel::NONE);
    PortClient client(module);
    for (const std::size_t adapters : {1, 3}) {
        client.adapters().count = adapters;
        stepAnswers(client, std::to_string(adapters));
    }
}

}  // namespace bench
