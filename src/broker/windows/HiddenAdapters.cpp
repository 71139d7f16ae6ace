// How PlatformAdapters reads which adapters have a hidden driver.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <utility>

#include "Os/Windows/WindowsRegistry.h"
#include "broker/windows/PlatformAdapters.h"

namespace broker {

namespace {

// The drivers of the setup class "Net", a key for each device.
constexpr const char* DRIVERS = R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318})";

// Of the driver's INF file: a sum of flags. This one means "should not be displayed in any user interface".
constexpr const char* CHARACTERISTICS = "Characteristics";
constexpr DWORD HIDDEN = 0x8;

constexpr const char* ADAPTER_GUID = "NetCfgInstanceId";
// A GUID with its braces and the terminator.
constexpr DWORD GUID_SIZE = 39;

constexpr std::size_t MAX_KEY_NAME = 255;

bool isHidden(HKEY driver)
{
    DWORD flags = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(flags);
    const LSTATUS status =
        RegQueryValueExA(driver, CHARACTERISTICS, nullptr, &type, reinterpret_cast<BYTE*>(&flags), &size);
    return status == ERROR_SUCCESS && type == REG_DWORD && (flags & HIDDEN) != 0;
}

std::optional<std::string> adapterGuid(HKEY driver)
{
    std::array<char, GUID_SIZE + 1> text{};
    DWORD type = REG_NONE;
    DWORD size = GUID_SIZE;
    if (RegQueryValueExA(driver, ADAPTER_GUID, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ)
    {
        return std::nullopt;
    }
    std::string guid = text.data();
    std::transform(guid.begin(), guid.end(), guid.begin(),
                   [](unsigned char digit) { return static_cast<char>(std::toupper(digit)); });
    return guid;
}

}  // namespace

std::vector<std::string> PlatformAdapters::readHiddenAdapters()
{
    utils::WindowsRegistry& registry = *utils::WindowsRegistry::getInstance();
    std::vector<std::string> result;
    const utils::ScopedKey drivers(registry, HKEY_LOCAL_MACHINE, DRIVERS, KEY_READ);
    if (drivers.status() != ERROR_SUCCESS) {
        return result;
    }
    std::array<char, MAX_KEY_NAME + 1> name{};
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size());
        if (registry.enumKey(drivers.get(), i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return result;
        }
        // Beside the devices there is a key that ordinary users may not open.
        const utils::ScopedKey driver(registry, drivers.get(), name.data(), KEY_QUERY_VALUE);
        if (driver.status() == ERROR_SUCCESS && isHidden(driver.get())) {
            if (std::optional<std::string> guid = adapterGuid(driver.get())) {
                result.push_back(std::move(*guid));
            }
        }
    }
}

}  // namespace broker
