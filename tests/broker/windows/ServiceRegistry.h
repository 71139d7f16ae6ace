#pragma once

#include "support/ImportHook.h"

namespace support {

// While it lives, the registry treats a module as in WMI's host process. The process runs under a service account and
// may write only below the existing keys of jobs and results; a thread with a client's token may not write even there.
// One object at a time.
class ServiceRegistry
{
public:
    explicit ServiceRegistry(HMODULE module);
    ~ServiceRegistry();
    ServiceRegistry(const ServiceRegistry&) = delete;
    ServiceRegistry& operator=(const ServiceRegistry&) = delete;

    // The number of denied accesses.
    int refused() const noexcept;

private:
    ImportHook m_create;
    ImportHook m_open;
};

}  // namespace support
