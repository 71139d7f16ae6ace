#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "reliability/Accounts.h"
#include "reliability/RunTime.h"
#include "reliability/Surroundings.h"
#include "reliability/hostile/RandomValues.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

// Clients that send invalid data: random values in their objects, random paths, random method names. The provider must
// answer each with one of the outcomes for invalid data, and must keep nothing of it.
namespace {

using reliability::Scenario;
using testing::IsEmpty;

std::set<std::string> possible(Scenario scenario)
{
    switch (scenario) {
        case Scenario::PUT:
            return {"0x00000000", "threw utils::Exception", "threw _com_error"};
        case Scenario::REMOVE:
            return {"0x00000000", "0x8004100C", "threw utils::Exception"};
        default:
            return {"0x00000000", "0x80041001"};
    }
}

void fill(support::FakeClassObject& object, reliability::RandomValues& random)
{
    for (unsigned count = random.below(6); count != 0; --count) {
        object.add(random.name(), random.value(), random.cimType(), static_cast<long>(random.below(0x60)),
                   random.below(6) == 0);
    }
}

TEST(HostileTest, Nonsense_hasADefinedAnswer_leavesNothing)
{
    const support::LogCapture log(0);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const support::ComMemory comMemory;
    support::ProviderModule module;
    module.useTheTestsBroker();
    reliability::ModuleMemory memory(module.handle());
    reliability::Surroundings surroundings;
    const reliability::Provider provider(module, surroundings);
    surroundings.request(Scenario::INVOKE, provider.get());
    surroundings.request(Scenario::PUT, provider.get());
    surroundings.request(Scenario::REMOVE, provider.get());

    const unsigned seed = reliability::seed();
    reliability::RandomValues random(seed);
    std::size_t requests = 0;
    std::map<std::string, std::size_t> answers;
    const auto end = std::chrono::steady_clock::now() + reliability::runTime();
    while (std::chrono::steady_clock::now() < end) {
        constexpr std::array<Scenario, 4> SCENARIOS{Scenario::GET, Scenario::PUT, Scenario::REMOVE, Scenario::INVOKE};
        const Scenario scenario = SCENARIOS[random.below(SCENARIOS.size())];
        const std::size_t blocks = memory.live();
        const int comBlocks = comMemory.live();
        {
            support::FakeClassObject object(surroundings.calls, "Hostile");
            fill(object, random);
            if (scenario == Scenario::PUT) {
                *object.path.address() =
                    random.below(4) == 0 ? random.value()
                                         : samples::bstr(random.below(3) == 0 ? random.path() : reliability::PORT_PATH);
            }
            surroundings.path = random.below(3) == 0 ? random.path() : reliability::PORT_PATH;
            surroundings.jobPath = random.path();
            surroundings.method = random.below(3) == 0 ? random.name() : "Reset";
            const reliability::Outcome found = surroundings.request(scenario, provider.get(), object);
            const std::string where = "seed " + std::to_string(seed) + ", request " + std::to_string(requests) + ", " +
                                      reliability::nameOf(scenario);
            ASSERT_THAT(possible(scenario), testing::Contains(found.answer)) << where;
            ASSERT_THAT(found.disorder, IsEmpty()) << where;
            ++answers[std::string(reliability::nameOf(scenario)) + " " + found.answer];
        }
        random.clear();
        // The thread's next exception frees the one that left the request. This request is refused at once.
        provider.get()->GetObjectAsync(nullptr, 0, nullptr, nullptr);
        ASSERT_EQ(memory.live(), blocks) << "C++ blocks after request " << requests;
        ASSERT_EQ(comMemory.live(), comBlocks) << "COM blocks after request " << requests;
        ++requests;
    }
    memory.releaseModule();
    EXPECT_GT(requests, 0U);
    std::filesystem::create_directories(ZERIX_TABLES);
    std::ofstream table(std::string(ZERIX_TABLES) + "/hostile.md");
    table << "| seed " << seed << " | " << requests << " requests |\n";
    for (const auto& [answer, count] : answers) {
        table << "| " << answer << " | " << count << " |\n";
    }
}

}  // namespace
