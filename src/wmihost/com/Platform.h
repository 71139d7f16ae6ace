#pragma once

// The one place in wmihost that includes the platform's headers and tames their macros.

#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off: each of these needs the ones before it
#include <ole2.h>
#include <oleauto.h>
#include <windows.h>
// A function of the platform whose macro would rename the operation of WMI's interfaces.
#undef GetObject
#include <wbemidl.h>
// clang-format on
