#include <deque>

#include "tests/wmihost/JobTest.h"

namespace wmihost {
namespace {

struct State
{
    long state;
    long percent;
};

// A job that changes to the next of the states at each retrieval.
class JobFollowerTest : public JobTest<CommandTest>
{
protected:
    JobFollowerTest()
    {
        behaviour.get = [this](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            EXPECT_EQ(path, L"Fake_Job.InstanceID=\"1\"");
            if (states.empty()) {
                return finish(sink, code(WBEM_E_NOT_FOUND));
            }
            const State state = states.front();
            states.pop_front();
            return deliverJob(ns, sink, state.state, state.percent);
        };
    }

    int start() { return run({"invoke", "Fake_Runner=\"r\"", "Start", "--wait"}); }

    const std::string outputTable =
        "Output       Value\n"
        "-----------  -----------------------\n"
        "Job          Fake_Job.InstanceID=\"1\"\n"
        "ReturnValue  4096\n";
    std::deque<State> states;
};

TEST_F(JobFollowerTest, Change_isALine_andTheEndTheResult)
{
    states = {{4, 0}, {4, 0}, {4, 50}, {7, 100}};
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(out, outputTable + "job ended: 7 (Completed)\n");
    EXPECT_EQ(error, "0 % Running\n50 % Running\n100 % Completed\n");
    EXPECT_TRUE(states.empty());
}

TEST_F(JobFollowerTest, Job_notCompleted_isAFailure)
{
    states = {{4, 10}, {10, 10}};
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(out, outputTable + "job ended: 10 (Exception)\n");
    EXPECT_EQ(error, "10 % Running\n10 % Exception\n");
}

TEST_F(JobFollowerTest, Json_isPureOnStandardOutput)
{
    states = {{4, 0}, {7, 100}};
    EXPECT_EQ(run({"invoke", "Fake_Runner=\"r\"", "Start", "--wait", "--format", "json"}), 0);
    EXPECT_EQ(out, "{\n  \"Job\": \"Fake_Job.InstanceID=\\\"1\\\"\",\n  \"ReturnValue\": 4096\n}\n");
    EXPECT_EQ(error, "0 % Running\n100 % Completed\njob ended: 7 (Completed)\n");
    states = {{4, 0}, {7, 100}};
    EXPECT_EQ(run({"invoke", "Fake_Runner=\"r\"", "Start", "--wait", "--format", "mof", "--quiet"}), 0);
    EXPECT_EQ(error, "");
}

TEST_F(JobFollowerTest, Job_thatDisappears_isAFailure)
{
    states = {{4, 10}};
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(out, outputTable);
    EXPECT_EQ(error,
              "10 % Running\n"
              "wmihost invoke Fake_Runner=\"r\" Start --wait: failed\n"
              "  WBEM_E_NOT_FOUND (0x80041002): there is no such object\n"
              "  Try: list the class to see the paths and names that exist\n");
}

TEST_F(JobFollowerTest, Job_withoutWait_isNotRead)
{
    EXPECT_EQ(run({"invoke", "Fake_Runner=\"r\"", "Start"}), 0);
    EXPECT_EQ(out, outputTable);
    EXPECT_EQ(error, "the job ends with this command; --wait follows it, and in 'wmihost shell' it goes on\n");
    EXPECT_EQ(run({"invoke", "Fake_Runner=\"r\"", "Start", "--quiet"}), 0);
    EXPECT_EQ(error, "");
}

}  // namespace
}  // namespace wmihost
