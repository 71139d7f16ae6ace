#include "tests/wmihost/JobTest.h"
#include "tests/wmihost/RowName.h"

namespace wmihost {
namespace {

// A job by its states and percentages at the retrievals. After the last one it is gone.
struct FollowedJob
{
    const char* name;  // of the session file too
    std::vector<std::pair<long, long>> states;
};

class JobFollowerTest : public JobTest<CommandTest>, public testing::WithParamInterface<FollowedJob>
{
};

// Each invocation starts the job from its first state.
TEST_P(JobFollowerTest, Job_isFollowedAsRecorded)
{
    std::size_t looks = 0;
    behaviour.execMethod = [&looks, start = behaviour.execMethod](IWbemServices& ns, std::wstring_view method,
                                                                  IWbemClassObject* in, IWbemObjectSink* sink) {
        looks = 0;
        return start(ns, method, in, sink);
    };
    behaviour.get = [&looks](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        const auto& states = GetParam().states;
        if (looks == states.size()) {
            return finish(sink, code(WBEM_E_NOT_FOUND));
        }
        const auto [state, percent] = states[looks++];
        return deliverJob(ns, sink, state, percent);
    };
    expectSession(std::string("commands/job/") + GetParam().name + ".session");
}

INSTANTIATE_TEST_SUITE_P(Table, JobFollowerTest,
                         testing::Values(FollowedJob{"completed", {{4, 0}, {4, 0}, {4, 50}, {7, 100}}},
                                         FollowedJob{"failed", {{4, 10}, {10, 10}}},
                                         FollowedJob{"disappeared", {{4, 10}}}),
                         rowName);

}  // namespace
}  // namespace wmihost
