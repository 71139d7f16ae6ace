#pragma once

#include "Os/Windows/Platform.h"

// Runs the rest of a request under the identity of its client; reverts on every way out. One per request, on the
// thread that serves it.
class Impersonator
{
public:
    // Takes on the client's identity. When that fails, or the client allows less than impersonation, the status has
    // been reported to the sink (unless it is null) and succeeded() is false: the request answers access denied and
    // sends nothing more. What the sink throws passes through, with the identity given back.
    explicit Impersonator(IWbemObjectSink* sink);
    ~Impersonator();
    Impersonator(const Impersonator&) = delete;
    Impersonator& operator=(const Impersonator&) = delete;

    bool succeeded() const noexcept { return m_succeeded; }

private:
    Impersonator() noexcept = default;

    bool m_succeeded = false;
};
