#pragma once

#include <memory>

#include "Utils/ThreadSlot.h"
#include "broker/model/Workspace.h"

namespace broker {

// Each thread's workspace, so that a thread's instances stay as they are while other threads' requests run. A workspace
// ends with its thread, or with this object. Any thread.
class ThreadWorkspaces
{
public:
    // Throws utils::Exception if the platform has no slot left.
    explicit ThreadWorkspaces(const Sources& sources);

    // The calling thread's workspace, which the thread's first call makes. Throws std::bad_alloc.
    Workspace& ofThisThread();

private:
    Sources m_sources;
    utils::ThreadSlot m_slot;
};

}  // namespace broker
