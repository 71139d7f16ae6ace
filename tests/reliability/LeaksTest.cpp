#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "reliability/Accounts.h"
#include "reliability/Surroundings.h"
#include "support/CountedMutexes.h"
#include "support/LogCapture.h"

// After ten thousand requests of each kind, the process has as much memory and as many BSTRs, handles and references as
// after the first hundred.
namespace {

using reliability::Scenario;
using support::CountedMutexes;
using testing::IsEmpty;

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
    support::ProviderModule module;
    module.useTheTestsBroker();
    {
        const CountedMutexes ofProvider(module.handle());
        const CountedMutexes ofProgram(GetModuleHandleA(nullptr));
        reliability::ModuleMemory memory(module.handle());
        reliability::Surroundings surroundings;
        const reliability::Provider provider(module, surroundings);
        Level before{};
        const std::string answer = surroundings.request(GetParam(), provider.get()).answer;
        for (int i = 0; i < WARM_UP + REQUESTS; ++i) {
            if (i == WARM_UP) {
                before = {memory.live(), comMemory.live(), CountedMutexes::open(), reliability::handleLevel()};
            }
            const reliability::Outcome found = surroundings.request(GetParam(), provider.get());
            ASSERT_EQ(found.answer, answer) << i;
            ASSERT_THAT(found.disorder, IsEmpty()) << i;
        }
        const Level after{memory.live(), comMemory.live(), CountedMutexes::open(), reliability::handleLevel()};
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
                         [](const auto& instance) { return std::string(reliability::nameOf(instance.param)); });

}  // namespace
