#pragma once

#include "companion/AdapterSource.h"

namespace companion {

// The adapters as the platform's IP helper tells them.
class PlatformAdapters : public AdapterSource
{
public:
    std::vector<Adapter> readAdapters() override;
    std::vector<Address> readAddresses() override;
    std::optional<Adapter> readAdapter(std::uint64_t luid) override;
    StateChange setAdministrativeState(const Adapter& adapter, AdministrativeState state) override;
};

}  // namespace companion
