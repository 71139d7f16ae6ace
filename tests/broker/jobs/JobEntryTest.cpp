#include "broker/jobs/JobEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using std::chrono::microseconds;
using testing::ElementsAre;

broker::StoredJob sampleJob()
{
    broker::StoredJob job;
    job.host = "4711-133000000000000000";
    job.status.id = "Vexal:Job:1-1";
    job.status.adapterName = "eth;0%=\n\x8A";
    job.status.adapterGuid = "{G}";
    job.status.owner = "HOST\\admin";
    job.status.state = broker::JobState::EXCEPTION;
    job.status.percentComplete = 50;
    job.status.error = "no link";
    job.status.startTime = broker::WallTime{microseconds{11}};
    job.status.elapsed = microseconds{12};
    job.status.retention = microseconds{13};
    job.endTime = broker::WallTime{microseconds{14}};
    return job;
}

// The entry with one field's text replaced.
std::string with(const std::string& name, const std::string& text)
{
    std::string entry = broker::entryOf(sampleJob());
    const std::size_t begin = entry.find(name + "=") + name.size() + 1;
    return entry.replace(begin, std::min(entry.find(';', begin), entry.size()) - begin, text);
}

TEST(JobEntry, Job_comesBackAsItWas)
{
    const auto job = broker::jobOf("Vexal:Job:1-1", broker::entryOf(sampleJob()));
    ASSERT_TRUE(job);
    EXPECT_EQ(broker::entryOf(*job), broker::entryOf(sampleJob()));
    EXPECT_EQ(job->status.adapterName, "eth;0%=\n\x8A");
}

TEST(JobEntry, Job_cutAnywhere_isRefused)
{
    const std::string entry = broker::entryOf(sampleJob());
    // The last field is a number, so a part of it may be a number too.
    for (std::size_t length = 0; length < entry.rfind('='); ++length) {
        EXPECT_FALSE(broker::jobOf("x", entry.substr(0, length))) << entry.substr(0, length);
    }
}

TEST(JobEntry, Job_withAMisfit_isRefused)
{
    struct Field
    {
        const char* name;
        std::string text;
        bool fits = false;
    };
    for (const Field& field : std::initializer_list<Field>{{"JobState", "4", true},
                                                           {"JobState", "5"},
                                                           {"JobState", ""},
                                                           {"PercentComplete", "101"},
                                                           {"PercentComplete", "1x"},
                                                           {"PercentComplete", "-1"},
                                                           {"Host", "..\\other"},
                                                           {"Host", ""},
                                                           {"Host", std::string(65, '1')},
                                                           {"Error", "%4"},
                                                           {"Error", "%ZZ"},
                                                           {"StartTime", "32535244799999999", true},
                                                           {"StartTime", "32535244800000000"},
                                                           {"EndTime", "18446744073709551616"},
                                                           {"Retention", "31536000000000", true},
                                                           {"Retention", "31536000000001"},
                                                           {"Retention", "1;Error="}})
    {
        EXPECT_EQ(broker::jobOf("x", with(field.name, field.text)).has_value(), field.fits)
            << field.name << " " << field.text;
    }
}

TEST(JobEntry, Result_comesBackAsItWas)
{
    broker::DiagnosticResult result;
    result.id = "Vexal:DiagnosticResult:1-1";
    result.jobId = "Vexal:Job:1-1";
    result.adapterGuid = "{G}";
    result.isPassed = true;
    result.passedPercent = 90;
    result.startTime = broker::WallTime{microseconds{1}};
    result.duration = microseconds{2};
    result.bytesReceived = {1, 4294967295};
    result.errors = {"one", "", "three"};
    const auto read = broker::resultOf(result.id, broker::entryOf(result));
    ASSERT_TRUE(read);
    EXPECT_EQ(broker::entryOf(*read), broker::entryOf(result));
    EXPECT_THAT(read->bytesReceived, ElementsAre(1, 4294967295));
    EXPECT_THAT(read->bytesTransmitted, testing::IsEmpty());
    EXPECT_THAT(read->errors, ElementsAre("one", "", "three"));
    EXPECT_FALSE(broker::resultOf(result.id, "Job=x"));
}

}  // namespace
