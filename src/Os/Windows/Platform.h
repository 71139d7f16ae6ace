#pragma once

// The one place that includes the Windows headers and tames their macros.

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif

#include <windows.h>

// Would rename IWbemServices::GetObject, and our own functions of the second name, to their narrow variants.
#undef GetObject
#undef GetClassName

#include <objbase.h>
#include <oleauto.h>

#include <wbemidl.h>
