#include "broker/ClassTest.h"

namespace {

using broker::Adapter;

// The result of a diagnostic that saw the adapter in each of these states.
auto sampled(std::vector<Adapter> states)
{
    return [states](fakes::World& world) {
        world.jobs.startDiagnostic(fakes::adapter(1), {}, static_cast<std::uint16_t>(states.size()));
        for (const Adapter& state : states) {
            world.adapters.set({state});
            world.work();
        }
    };
}

Adapter after(std::uint64_t bytesReceived, std::uint64_t bytesTransmitted)
{
    Adapter result = fakes::adapter(1);
    result.counters.bytesReceived += bytesReceived;
    result.counters.bytesTransmitted += bytesTransmitted;
    return result;
}

void loseThePort(fakes::World& world)
{
    sampled({after(1, 3), after(3, 7)})(world);
    world.adapters.set(std::vector<Adapter>());
}

void loseTheAdapter(fakes::World& world)
{
    world.adapters.set({fakes::adapter(1)});
    world.jobs.startDiagnostic(fakes::adapter(1), {}, 3);
    world.work();
    world.adapters.set(std::vector<Adapter>());
    world.work();
}

auto ended(broker::JobState state)
{
    return [state](fakes::World& world) {
        world.adapters.set({fakes::adapter(1)});
        const std::string id = world.jobs.startDiagnostic(fakes::adapter(1), {}, 2).id;
        world.machine.pass(std::chrono::milliseconds{500});
        world.jobs.end(id, state);
    };
}

TEST(DiagnosticResult, Result_showsWhatWasFound)
{
    Adapter down = fakes::adapter(1);
    down.operational = broker::OperationalState::DOWN;
    fakes::expectShown("Zerix_DiagnosticResult", {{"two samples with traffic", sampled({after(1, 3), after(3, 7)})},
                                                  {"the adapter has gone since", &loseThePort},
                                                  {"no traffic", sampled({fakes::adapter(1)})},
                                                  {"link down", sampled({down})},
                                                  {"the adapter goes meanwhile", &loseTheAdapter},
                                                  {"terminated", ended(broker::JobState::TERMINATED)},
                                                  {"killed", ended(broker::JobState::KILLED)}});
}

}  // namespace
