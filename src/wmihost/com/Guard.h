#pragma once

#include <new>

#include "wmihost/com/Platform.h"

namespace wmihost {

// WMI's status codes as what COM operations return.
constexpr HRESULT code(WBEMSTATUS status)
{
    return static_cast<HRESULT>(status);
}

// Runs the body of a COM operation. No C++ exception may cross that boundary: lack of memory becomes
// WBEM_E_OUT_OF_MEMORY, anything else WBEM_E_CRITICAL_ERROR.
template <class Body>
HRESULT guarded(Body body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return code(WBEM_E_OUT_OF_MEMORY);
    } catch (...) {
        // COM errors among them, which are no std::exception.
        return code(WBEM_E_CRITICAL_ERROR);
    }
}

}  // namespace wmihost
