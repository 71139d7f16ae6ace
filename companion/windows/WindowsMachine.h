#pragma once

#include "companion/Machine.h"

namespace companion {

class WindowsMachine : public Machine
{
public:
    std::string computerName() override;
    std::string userName() override;
    std::uint64_t now() override;
};

}  // namespace companion
