#include "broker/ClassTest.h"

namespace {

using broker::JobState;

// Starts a job that takes five samples, one per second.
std::string start(fakes::World& world)
{
    world.adapters.set({fakes::adapter(1)});
    return world.jobs.startDiagnostic(fakes::adapter(1), {}, 5).id;
}

// A job that has taken some of its samples.
auto sampled(int count)
{
    return [count](fakes::World& world) {
        start(world);
        world.work(count);
    };
}

auto ended(JobState state)
{
    return [state](fakes::World& world) {
        const std::string id = start(world);
        world.machine.pass(std::chrono::milliseconds{500});
        world.jobs.end(id, state);
    };
}

void loseTheAdapter(fakes::World& world)
{
    start(world);
    world.adapters.set(std::vector<broker::Adapter>());
    world.work();
}

void startForNobody(fakes::World& world)
{
    world.machine.setUser("");
    start(world);
}

TEST(ConcreteJob, Job_showsItsState)
{
    fakes::expectShown("Zerix_ConcreteJob", {{"a running job", sampled(2)},
                                             {"completed", sampled(5)},
                                             {"terminated", ended(JobState::TERMINATED)},
                                             {"killed", ended(JobState::KILLED)},
                                             {"failed", &loseTheAdapter},
                                             {"unknown owner", &startForNobody}});
}

TEST(ConcreteJob, MarkedInstance_deletesTheJob)
{
    fakes::World world;
    const std::string id = start(world);
    broker::Workspace workspace(world.sources());
    workspace.begin("Zerix_ConcreteJob");
    workspace.job(id)->markForDeletion(true);
    EXPECT_TRUE(world.jobs.jobs().empty());
}

}  // namespace
