#pragma once

#include "broker/platform/Machine.h"

namespace broker {

class WindowsMachine : public Machine
{
public:
    std::string computerName() override;
    std::string userName() override;
    std::uint64_t now() override;
};

}  // namespace broker
