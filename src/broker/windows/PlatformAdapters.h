#pragma once

#include "broker/platform/AdapterSource.h"

namespace broker {

// The adapters as the platform's IP helper library reports them.
class PlatformAdapters : public AdapterSource
{
public:
    std::vector<Adapter> readAdapters() override;
    std::vector<Address> readAddresses() override;
    std::vector<IpConfiguration> readIpConfigurations() override;
    std::vector<std::string> readHiddenAdapters() override;
    std::optional<Adapter> readAdapter(std::uint64_t luid) override;
    LinkDetails readLinkDetails(const Adapter& adapter) override;
    StateChange setAdministrativeState(const Adapter& adapter, AdministrativeState state) override;
};

}  // namespace broker
