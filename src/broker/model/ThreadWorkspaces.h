#pragma once

#include <memory>

#include "broker/model/Workspace.h"
#include "broker/platform/ThreadSlot.h"

namespace broker {

// Each thread's workspace, so that a thread's instances stay as they are while other threads' requests run. A workspace
// ends with its thread, or with this object. Any thread.
class ThreadWorkspaces
{
public:
    // Throws utils::Exception when the platform has no slot left.
    explicit ThreadWorkspaces(const Sources& sources);

    // The calling thread's workspace, made when it first asks. Throws std::bad_alloc.
    Workspace& ofThisThread();

private:
    Sources m_sources;
    ThreadSlot m_slot;
};

}  // namespace broker
