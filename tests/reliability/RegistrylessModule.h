#pragma once

#include <memory>

#include "fakes/ProviderModule.h"
#include "support/CallLog.h"

namespace reliability {

// Who answers the provider: the broker of the test (support::FakeBroker) or the built broker.
enum class Broker
{
    standIn,
    built
};

// The built provider with a registry for its own entries that only records what it is asked. One at a time.
class RegistrylessModule : public support::ProviderModule
{
public:
    // Throws std::runtime_error when the module does not load.
    explicit RegistrylessModule(support::CallLog& registryCalls, Broker broker = Broker::standIn);
    ~RegistrylessModule();

    // Registry keys that are open now.
    int openKeys() const noexcept;

private:
    struct Redirections;

    std::unique_ptr<Redirections> m_redirections;
};

}  // namespace reliability
