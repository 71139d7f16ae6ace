#include "broker/model/ThreadWorkspaces.h"

#include <new>

#include "Utils/ProcessEnd.h"

namespace broker {

ThreadWorkspaces::ThreadWorkspaces(const Sources& sources)
    : m_sources(sources), m_slot([](void* value) {
          // While the process ends, the thread that held a mutex may already be gone. Nobody needs the workspace any
          // more.
          if (!utils::processIsEnding()) {
              delete static_cast<Workspace*>(value);
          }
      })
{
}

Workspace& ThreadWorkspaces::ofThisThread()
{
    if (auto* workspace = static_cast<Workspace*>(m_slot.get())) {
        return *workspace;
    }
    auto made = std::make_unique<Workspace>(m_sources);
    if (!m_slot.set(made.get())) {
        throw std::bad_alloc();
    }
    return *made.release();
}

}  // namespace broker
