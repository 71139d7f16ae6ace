#pragma once

#include <string>

#include "companion/InstanceStore.h"
#include "companion/SettingsStore.h"

namespace companion {

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

}  // namespace companion
