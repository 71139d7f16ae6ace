#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Utils/Mutex.h"
#include "broker/model/Workspace.h"
#include "broker/platform/ThreadSlot.h"

namespace broker {

// The workspaces of a broker, each leased to at most one thread. A thread keeps its lease until it ends: so its
// instances stay as they are while other threads' requests run. Any thread.
class WorkspacePool
{
public:
    // `make` makes the workspaces, as many as there are threads that use the pool at one time.
    explicit WorkspacePool(std::function<std::unique_ptr<Workspace>()> make);

    // The calling thread's workspace. It stays the pool's.
    Workspace& lease();

private:
    struct Entry
    {
        WorkspacePool& pool;
        std::unique_ptr<Workspace> workspace;
    };

    // A free entry, or a new one.
    Entry& take();
    void giveBack(Entry& entry) noexcept;

    std::function<std::unique_ptr<Workspace>()> m_make;
    utils::Mutex m_mutex;
    std::vector<std::unique_ptr<Entry>> m_all;
    // The one that was given back last is leased first: it is the most nearly up to date.
    std::vector<Entry*> m_free;
    // Each thread's entry. The last member, since its end gives all entries back.
    ThreadSlot m_ofThread;
};

}  // namespace broker
