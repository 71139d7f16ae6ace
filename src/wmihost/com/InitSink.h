#pragma once

#include <atomic>
#include <optional>

#include "wmihost/com/Com.h"

namespace wmihost {

// Keeps the status that a provider reports for its initialisation. Any thread.
class InitSink final : public ComObject<IWbemProviderInitSink>
{
public:
    HRESULT STDMETHODCALLTYPE SetStatus(LONG status, LONG flags) override;

    // Nothing until the provider has reported.
    std::optional<HRESULT> status() const;

private:
    std::atomic<bool> m_told{false};
    std::atomic<LONG> m_status{0};
};

}  // namespace wmihost
