#pragma once

#include "Os/Windows/Platform.h"

namespace wa {

// The platform header declares its status codes as an unsigned enumeration, though every interface speaks HRESULT.
constexpr HRESULT hresult(WBEMSTATUS status) noexcept
{
    return static_cast<HRESULT>(status);
}

}  // namespace wa
