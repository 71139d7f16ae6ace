#pragma once

#include "support/ImportHook.h"

namespace support {

// While it lives, the registry treats a module as on a machine where it serves: the process, an account of the service,
// may write below the keys of jobs and results alone, where they exist, and a thread with a client's token may not
// write there. One at a time.
class ServiceRegistry
{
public:
    explicit ServiceRegistry(HMODULE module);
    ~ServiceRegistry();
    ServiceRegistry(const ServiceRegistry&) = delete;
    ServiceRegistry& operator=(const ServiceRegistry&) = delete;

    // How often access was denied.
    int refused() const noexcept;

private:
    ImportHook m_create;
    ImportHook m_open;
};

}  // namespace support
