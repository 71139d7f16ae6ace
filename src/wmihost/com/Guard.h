#pragma once

#include <new>

#include "wmihost/com/Platform.h"

namespace wmihost {

// WMI's status code as the HRESULT that a COM operation returns.
constexpr HRESULT code(WBEMSTATUS status)
{
    return static_cast<HRESULT>(status);
}

// Runs the body of a COM operation. No C++ exception may cross that boundary: std::bad_alloc becomes
// WBEM_E_OUT_OF_MEMORY, and any other exception WBEM_E_CRITICAL_ERROR.
template <class Body>
HRESULT guarded(Body body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return code(WBEM_E_OUT_OF_MEMORY);
    } catch (...) {
        // This includes COM errors, which do not derive from std::exception.
        return code(WBEM_E_CRITICAL_ERROR);
    }
}

}  // namespace wmihost
