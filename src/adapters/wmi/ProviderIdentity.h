#pragma once

#include "Os/Windows/Platform.h"

// Who the module is. The class identifier stands in the installer's MOF as well and never changes.
namespace identity {

// {D39A94C6-35D2-4B40-BB6A-56E279951017}
inline constexpr CLSID PROVIDER_CLSID = {0xD39A94C6, 0x35D2, 0x4B40, {0xBB, 0x6A, 0x56, 0xE2, 0x79, 0x95, 0x10, 0x17}};

inline constexpr char DESCRIPTION[] = "DRAVEv2 Provider for Vexal(R) Ethernet Adapters";
inline constexpr char BUILD_DATE[] = "2013/3/27 8:44";

}  // namespace identity
