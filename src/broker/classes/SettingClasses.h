#pragma once

#include <string>

#include "broker/model/InstanceStore.h"
#include "broker/model/SettingsStore.h"

namespace broker {

inline constexpr char ADAPTER_SETTING[] = "Zerix_AdapterSetting";
inline constexpr char DIAGNOSTIC_SETTING[] = "Zerix_DiagnosticSetting";

struct AdapterSettingRow
{
    std::string adapterGuid;
    AdapterSetting setting;
};

// The identity of a setting is the key under which it is stored: what is put to it goes there.
extern const ClassDescription<AdapterSettingRow> adapterSettingClass;
extern const ClassDescription<DiagnosticSetting> diagnosticSettingClass;

}  // namespace broker
