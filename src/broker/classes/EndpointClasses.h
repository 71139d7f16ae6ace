#pragma once

#include <string>

#include "broker/model/InstanceStore.h"
#include "broker/platform/AdapterSource.h"

namespace broker {

inline constexpr char IP_PROTOCOL_ENDPOINT[] = "Zerix_IPProtocolEndpoint";

// Refers to what was read for the request; lives no longer.
struct EndpointRow
{
    const Address& address;
    const std::string& systemName;
};

// Identified by what endpointName gives.
extern const ClassDescription<EndpointRow> ipProtocolEndpointClass;

// Unique on the machine, without quote or backslash: an adapter carries an address once.
std::string endpointName(const Address& address);

}  // namespace broker
