#pragma once

#include <memory>

#include "fakes/ProviderModule.h"
#include "support/CallLog.h"

namespace reliability {

// Which broker the provider uses: the fake broker of the test (support::FakeBroker) or the built broker.
enum class Broker
{
    STAND_IN,
    BUILT
};

// The built provider. Its registry calls for its COM entries are only recorded. One object at a time.
class RegistrylessModule : public support::ProviderModule
{
public:
    // Throws std::runtime_error when the module does not load.
    explicit RegistrylessModule(support::CallLog& registryCalls, Broker broker = Broker::STAND_IN);
    ~RegistrylessModule();

    // The number of open registry keys.
    int openKeys() const noexcept;

private:
    struct Redirections;

    std::unique_ptr<Redirections> m_redirections;
};

}  // namespace reliability
