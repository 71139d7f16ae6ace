#include "broker/classes/SettingClasses.h"

#include <array>

namespace broker {

namespace {

template <const Range& Limit>
void limitTo(core::CimProperty& property)
{
    // One for all properties of the column: it holds nothing but the range.
    static RangeListener listener(Limit);
    property.addListener(&listener);
}

template <const Lengths& Limit>
void limitTo(core::CimProperty& property)
{
    limitLength(property, Limit);
}

std::string adapterSettingId(const AdapterSettingRow& row)
{
    return "Vexal:AdapterSetting:" + row.adapterGuid;
}
const std::optional<std::string>& label(const AdapterSettingRow& row)
{
    return row.setting.elementName;
}
const std::optional<std::string>& tag(const AdapterSettingRow& row)
{
    return row.setting.tag;
}

constexpr std::array adapterSettingColumns{
    key<&adapterSettingId>("InstanceID"),
    writable<&label>("ElementName", &limitTo<AdapterSetting::LABEL_LENGTHS>),
    writable<&tag>("Tag", &limitTo<AdapterSetting::TAG_LENGTHS>),
};

std::string diagnosticSettingId(const DiagnosticSetting& /*row*/)
{
    return "Vexal:DiagnosticSetting";
}

constexpr std::array diagnosticSettingColumns{
    key<&diagnosticSettingId>("InstanceID"),
    writable<&DiagnosticSetting::sampleCount>("SampleCount", &limitTo<DiagnosticSetting::SAMPLE_COUNTS>),
    writable<&DiagnosticSetting::samplePeriodMilliseconds>("SamplePeriodMilliseconds",
                                                           &limitTo<DiagnosticSetting::SAMPLE_PERIODS>),
    writable<&DiagnosticSetting::passThresholdPercent>("PassThresholdPercent",
                                                       &limitTo<DiagnosticSetting::PASS_THRESHOLDS>),
    writable<&DiagnosticSetting::jobRetentionSeconds>("JobRetentionSeconds", nullptr),
    writable<&DiagnosticSetting::elementName>("ElementName", nullptr),
};

}  // namespace

const ClassDescription<AdapterSettingRow> adapterSettingClass{
    ADAPTER_SETTING, adapterSettingColumns,
    [](const AdapterSettingRow& row) { return AdapterSetting::key(row.adapterGuid); }};

const ClassDescription<DiagnosticSetting> diagnosticSettingClass{
    DIAGNOSTIC_SETTING, diagnosticSettingColumns,
    [](const DiagnosticSetting& /*row*/) { return std::string(DiagnosticSetting::KEY); }};

}  // namespace broker
