#include "broker/model/WorkspacePool.h"

#include <new>

#include "Utils/ProcessEnd.h"

namespace broker {

WorkspacePool::WorkspacePool(std::function<std::unique_ptr<Workspace>()> make)
    : m_make(std::move(make)), m_ofThread([](void* value) {
          // While the process ends, a thread that held the mutex may be gone, and nobody needs the workspace any more.
          if (!utils::processIsEnding()) {
              Entry& entry = *static_cast<Entry*>(value);
              entry.pool.giveBack(entry);
          }
      })
{
}

Workspace& WorkspacePool::lease()
{
    auto* entry = static_cast<Entry*>(m_ofThread.get());
    if (entry == nullptr) {
        entry = &take();
        if (!m_ofThread.set(entry)) {
            giveBack(*entry);
            throw std::bad_alloc();
        }
    }
    return *entry->workspace;
}

WorkspacePool::Entry& WorkspacePool::take()
{
    {
        const utils::MutexGuard guard(m_mutex);
        if (!m_free.empty()) {
            Entry& entry = *m_free.back();
            m_free.pop_back();
            return entry;
        }
    }
    auto made = std::make_unique<Entry>(Entry{*this, m_make()});
    Entry& entry = *made;
    const utils::MutexGuard guard(m_mutex);
    // Room for every entry, so that giving one back cannot fail.
    m_free.reserve(m_all.size() + 1);
    m_all.push_back(std::move(made));
    return entry;
}

void WorkspacePool::giveBack(Entry& entry) noexcept
{
    const utils::MutexGuard guard(m_mutex);
    m_free.push_back(&entry);
}

}  // namespace broker
