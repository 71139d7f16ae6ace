#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<DiagnosticSetting> rows(Workspace& workspace)
{
    return {workspace.sources().settings.diagnosticSetting()};
}

std::string instanceId(const DiagnosticSetting& /*row*/)
{
    return "Vexal:DiagnosticSetting";
}

std::uint16_t samplePeriodMilliseconds(const DiagnosticSetting& row)
{
    return static_cast<std::uint16_t>(row.samplePeriod.count());
}
std::uint64_t jobRetentionSeconds(const DiagnosticSetting& row)
{
    return static_cast<std::uint64_t>(row.jobRetention.count());
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),
    writable<&DiagnosticSetting::sampleCount>("SampleCount", &limitTo<DiagnosticSetting::SAMPLE_COUNTS>),
    writable<&samplePeriodMilliseconds>("SamplePeriodMilliseconds", &limitTo<DiagnosticSetting::SAMPLE_PERIODS>),
    writable<&DiagnosticSetting::passThresholdPercent>("PassThresholdPercent",
                                                       &limitTo<DiagnosticSetting::PASS_THRESHOLDS>),
    writable<&jobRetentionSeconds>("JobRetentionSeconds", &limitTo<DiagnosticSetting::RETENTIONS>),
    writable<&DiagnosticSetting::elementName>("ElementName", &limitTo<DiagnosticSetting::NAME_LENGTHS>),
};

std::string storageKey(const std::string& /*id*/)
{
    return DiagnosticSetting::KEY;
}

constexpr ClassDescription<DiagnosticSetting> definition{
    .name = DIAGNOSTIC_SETTING, .columns = columns, .id = &instanceId, .rows = &rows, .storageKey = &storageKey};

}  // namespace

const ServedClass diagnosticSetting = serve<definition>();

}  // namespace broker
