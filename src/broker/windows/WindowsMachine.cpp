#include "broker/windows/WindowsMachine.h"

#include <lmcons.h>

#include <array>
#include <chrono>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/ComputerName.h"
#include "Os/Windows/Platform.h"

namespace broker {

std::string WindowsMachine::computerName()
{
    return utils::computerName();
}

std::string WindowsMachine::userName()
{
    std::array<wchar_t, UNLEN + 1> name{};
    DWORD size = static_cast<DWORD>(name.size());
    return GetUserNameW(name.data(), &size) ? utils::narrow(name.data()) : std::string();
}

std::uint64_t WindowsMachine::now()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count());
}

}  // namespace broker
