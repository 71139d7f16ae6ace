#pragma once

#include "broker/platform/Machine.h"

namespace broker {

class WindowsMachine : public Machine
{
public:
    std::string computerName() override;
    std::string userName() override;
    WallTime now() noexcept override;
    SteadyTime steadyNow() noexcept override;
};

}  // namespace broker
