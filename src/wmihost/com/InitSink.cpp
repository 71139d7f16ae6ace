#include "wmihost/com/InitSink.h"

#include "wmihost/com/Guard.h"

namespace wmihost {

HRESULT InitSink::SetStatus(LONG status, LONG)
{
    m_status = status;
    m_told = true;
    return code(WBEM_S_NO_ERROR);
}

std::optional<HRESULT> InitSink::status() const
{
    return m_told ? std::optional<HRESULT>(m_status.load()) : std::nullopt;
}

}  // namespace wmihost
