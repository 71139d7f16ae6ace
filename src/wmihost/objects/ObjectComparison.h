#pragma once

#include "wmihost/com/Platform.h"

namespace wmihost {

// Implements IWbemClassObject::CompareTo for two objects of any implementation. Returns WBEM_S_SAME, WBEM_S_DIFFERENT,
// or the failure of one of them.
HRESULT compare(IWbemClassObject& left, IWbemClassObject& right, LONG flags);

}  // namespace wmihost
