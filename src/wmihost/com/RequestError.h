#pragma once

#include <stdexcept>
#include <string>

#include "wmihost/com/Platform.h"

namespace wmihost {

// A request that failed with a status of WMI or COM. what() says in UTF-8 what was asked, and, where more
// than the status is known, why it failed.
class RequestError : public std::runtime_error
{
public:
    RequestError(HRESULT status, const std::string& message) : std::runtime_error(message), m_status(status) {}

    HRESULT status() const { return m_status; }

private:
    HRESULT m_status;
};

}  // namespace wmihost
