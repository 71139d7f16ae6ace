#include "broker/windows/WindowsMachine.h"

#include <lmcons.h>

#include <array>
#include <chrono>
#include <cstddef>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/ComputerName.h"
#include "Os/Windows/Platform.h"

namespace broker {

namespace {

// A domain's name is at most as long as a DNS name.
constexpr std::size_t MAX_DOMAIN_LENGTH = 255;

}  // namespace

std::string WindowsMachine::computerName()
{
    return utils::computerName();
}

std::string WindowsMachine::userName()
{
    // The client's token during impersonation, otherwise the process's.
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) &&
        !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
    {
        return {};
    }
    alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
    auto size = static_cast<DWORD>(user.size());
    const bool isKnown = GetTokenInformation(token, TokenUser, user.data(), size, &size) != FALSE;
    CloseHandle(token);
    std::array<wchar_t, UNLEN + 1> name{};
    std::array<wchar_t, MAX_DOMAIN_LENGTH + 1> domain{};
    auto nameSize = static_cast<DWORD>(name.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    SID_NAME_USE use{};
    if (!isKnown || !LookupAccountSidW(nullptr, reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, name.data(),
                                       &nameSize, domain.data(), &domainSize, &use))
    {
        return {};
    }
    return utils::narrow(domain.data()) + "\\" + utils::narrow(name.data());
}

WallTime WindowsMachine::now() noexcept
{
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
}

SteadyTime WindowsMachine::steadyNow() noexcept
{
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::steady_clock::now());
}

}  // namespace broker
