#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <fstream>

#include "reliability/Accounts.h"
#include "reliability/Surroundings.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"

// After ten thousand requests of each kind, the process has as much memory and as many BSTRs, handles and references as
// after the first hundred.
namespace {

using reliability::Scenario;
using testing::IsEmpty;

// Kernel mutexes take most of a request's time under Wine, so these runs replace their handles by numbers. The numbers
// are counted like handles; no handle of the platform has such a number.
std::atomic<int> liveMutexes{0};
std::uintptr_t nextMutex = 1U << 30U;

bool isStandIn(HANDLE handle)
{
    return reinterpret_cast<std::uintptr_t>(handle) >= 1U << 30U;
}

HANDLE WINAPI makeMutex(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR)
{
    ++liveMutexes;
    return reinterpret_cast<HANDLE>(nextMutex++);
}

DWORD WINAPI waitFor(HANDLE handle, DWORD timeout)
{
    return isStandIn(handle) ? WAIT_OBJECT_0 : WaitForSingleObjectEx(handle, timeout, FALSE);
}

BOOL WINAPI releaseMutex(HANDLE)
{
    return TRUE;
}

BOOL WINAPI closeHandle(HANDLE handle)
{
    if (isStandIn(handle)) {
        --liveMutexes;
        return TRUE;
    }
    return DuplicateHandle(GetCurrentProcess(), handle, nullptr, nullptr, 0, FALSE, DUPLICATE_CLOSE_SOURCE);
}

struct CheapMutexes
{
    explicit CheapMutexes(HMODULE module)
        : make("CreateMutexA", &makeMutex, module),
          wait("WaitForSingleObject", &waitFor, module),
          release("ReleaseMutex", &releaseMutex, module),
          close("CloseHandle", &closeHandle, module)
    {
    }

    support::ImportHook make;
    support::ImportHook wait;
    support::ImportHook release;
    support::ImportHook close;
};

struct Level
{
    std::size_t cppBlocks;
    int comBlocks;
    int mutexes;
    std::size_t handles;

    bool operator==(const Level&) const = default;
};

void PrintTo(const Level& level, std::ostream* out)
{
    *out << level.cppBlocks << " C++ blocks, " << level.comBlocks << " COM blocks, " << level.mutexes
         << " mutexes, handle level " << level.handles;
}

class LeaksTest : public testing::TestWithParam<Scenario>
{
};

TEST_P(LeaksTest, TenThousandRequests_leakNothing)
{
    constexpr int WARM_UP = 100;
    constexpr int REQUESTS = 10000;
    const support::LogCapture log(0);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const support::ComMemory comMemory;
    support::CallLog registryCalls;
    const reliability::RegistrylessModule module(registryCalls);
    {
        const CheapMutexes ofProvider(module.handle());
        const CheapMutexes ofProgram(GetModuleHandleA(nullptr));
        reliability::ModuleMemory memory(module.handle());
        reliability::Surroundings surroundings;
        const reliability::Provider provider(module, surroundings);
        Level before{};
        const std::string answer = surroundings.request(GetParam(), provider.get()).answer;
        for (int i = 0; i < WARM_UP + REQUESTS; ++i) {
            if (i == WARM_UP) {
                before = {memory.live(), comMemory.live(), liveMutexes, reliability::handleLevel()};
            }
            const reliability::Outcome found = surroundings.request(GetParam(), provider.get());
            ASSERT_EQ(found.answer, answer) << i;
            ASSERT_THAT(found.disorder, IsEmpty()) << i;
        }
        const Level after{memory.live(), comMemory.live(), liveMutexes, reliability::handleLevel()};
        EXPECT_EQ(after, before);
        std::filesystem::create_directories(ZERIX_TABLES);
        std::ofstream(std::string(ZERIX_TABLES) + "/leaks-" + reliability::nameOf(GetParam()) + ".md")
            << "| " << reliability::nameOf(GetParam()) << " | " << REQUESTS << " | " << testing::PrintToString(before)
            << " | " << testing::PrintToString(after) << " |\n";
        memory.releaseModule();
    }
}

INSTANTIATE_TEST_SUITE_P(Requests, LeaksTest,
                         testing::Values(Scenario::ENUMERATE, Scenario::GET, Scenario::GET_MISSING,
                                         Scenario::GET_UNREADABLE_PATH, Scenario::PUT, Scenario::REMOVE,
                                         Scenario::INVOKE),
                         [](const testing::TestParamInfo<Scenario>& instance) {
                             return std::string(reliability::nameOf(instance.param));
                         });

}  // namespace
