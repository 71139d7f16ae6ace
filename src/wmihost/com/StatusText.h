#pragma once

#include <string>
#include <string_view>

#include "wmihost/com/Platform.h"

namespace wmihost {

// The explanation of a status code of WMI or COM.
struct StatusInfo
{
    HRESULT status;
    std::string_view name;     // "WBEM_E_NOT_FOUND"
    std::string_view meaning;  // a sentence without its full stop
    std::string_view remedy;   // what to try; empty where nothing general can be said
};

// The entry of a status; for an unknown one the name says only whether it is a failure.
StatusInfo statusInfo(HRESULT status);

// "WBEM_E_NOT_FOUND (0x80041002): there is no such object"
std::string statusText(HRESULT status);

}  // namespace wmihost
