#include "Os/Windows/WindowsRegistry.h"

#include <algorithm>
#include <array>

#include "Utils/Assert.h"
#include "Utils/Utils.h"

// Exists from module load on, so that the first request on any thread finds it.
template class utils::AutoSingleton<utils::WindowsRegistry>;

namespace utils {

namespace {

constexpr const char* FILE_NAME = "Os/Windows/Windows";

// Predefined roots are small negative numbers widened to a pointer; the log shows their low 32 bits.
std::uint32_t rootNumber(HKEY root) noexcept
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(root));
}

}  // namespace

ScopedKey::ScopedKey(WindowsRegistry& registry, HKEY root, const std::string& path, REGSAM access)
    : m_registry(&registry), m_status(registry.openKey(root, path.c_str(), 0, access, &m_key))
{
}

ScopedKey::~ScopedKey()
{
    if (m_key == nullptr) {
        return;
    }
    if (m_registry != nullptr) {
        m_registry->closeKey(m_key);
    } else {
        RegCloseKey(m_key);
    }
}

LSTATUS WindowsRegistry::openKey(HKEY root, const char* path, DWORD options, REGSAM access, HKEY* key)
{
    return RegOpenKeyExA(root, path, options, access, key);
}

LSTATUS WindowsRegistry::queryInfoKey(HKEY key, LPSTR className, LPDWORD classLength, LPDWORD reserved, LPDWORD subKeys,
                                      LPDWORD maxSubKeyLength, LPDWORD maxClassLength, LPDWORD values,
                                      LPDWORD maxValueNameLength, LPDWORD maxValueLength, LPDWORD securityDescriptor,
                                      PFILETIME lastWriteTime)
{
    return RegQueryInfoKeyA(key, className, classLength, reserved, subKeys, maxSubKeyLength, maxClassLength, values,
                            maxValueNameLength, maxValueLength, securityDescriptor, lastWriteTime);
}

LSTATUS WindowsRegistry::enumKey(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved,
                                 LPSTR className, LPDWORD classLength, PFILETIME lastWriteTime)
{
    return RegEnumKeyExA(key, index, name, nameLength, reserved, className, classLength, lastWriteTime);
}

LSTATUS WindowsRegistry::enumValue(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD reserved,
                                   LPDWORD type, LPBYTE data, LPDWORD dataLength)
{
    return RegEnumValueA(key, index, name, nameLength, reserved, type, data, dataLength);
}

LSTATUS WindowsRegistry::closeKey(HKEY key)
{
    return RegCloseKey(key);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the operations take their texts by value

bool WindowsRegistry::keyExists(std::string path)
{
    ScopedKey key;
    return RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, key.out()) == ERROR_SUCCESS;
}

bool WindowsRegistry::setKey(HKEY root, std::string path, std::string name, std::string value)
{
    static constexpr LogSite here{FILE_NAME, "utils::WindowsRegistry::setKey"};
    here.debug("Creating REG_SZ registry key '%X\\%s' with value '%s'", rootNumber(root), path.c_str(), value.c_str());
    ASSERT(here, path.size() > 0);
    ScopedKey key;
    LSTATUS status = RegCreateKeyExA(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                                     key.out(), nullptr);
    if (status != ERROR_SUCCESS) {
        here.error("RegCreateKeyEx %d, %s, %s error %d", rootNumber(root), path.c_str(), value.c_str(), status);
        return false;
    }
    status = RegSetValueExA(key.get(), name.empty() ? nullptr : name.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(value.c_str()), static_cast<DWORD>(value.size() + 1));
    if (status != ERROR_SUCCESS) {
        here.error("RegSetValueEx %d, %s, %s error %d", rootNumber(root), path.c_str(), value.c_str(), status);
    }
    return status == ERROR_SUCCESS;
}

bool WindowsRegistry::deleteKey(HKEY root, std::string parent, std::string child)
{
    ScopedKey key;
    if (RegOpenKeyExA(root, parent.c_str(), 0, KEY_WRITE, key.out()) != ERROR_SUCCESS) {
        return false;
    }
    // The result is ignored: a child that is missing, or that has subkeys, does not make a removal fail.
    RegDeleteKeyA(key.get(), child.c_str());
    return true;
}

int WindowsRegistry::getOsVersion()
{
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof(version);
    GetVersionExA(&version);
    return static_cast<int>(version.dwMajorVersion * 10 + version.dwMinorVersion);
}

bool WindowsRegistry::getRegistryUint(HKEY root, std::string path, DWORD type, std::string name, std::uint32_t* out)
{
    std::string text;
    if (!getRegistryData(root, std::move(path), type, std::move(name), &text)) {
        return false;
    }
    if (!toUint(text, out)) {
        *out = 0;
        return false;
    }
    return true;
}

bool WindowsRegistry::getRegistryData(HKEY root, std::string path, DWORD type, std::string name, std::string* out)
{
    static constexpr LogSite here{FILE_NAME, "utils::WindowsRegistry::getRegistryData"};
    static constexpr DWORD CAPACITY = 256;
    out->clear();
    here.debug("Opennig key %s (%s)", path.c_str(), name.c_str());
    const ScopedKey key(*this, root, path, KEY_READ);
    if (key.status() != ERROR_SUCCESS) {
        return false;
    }
    std::array<BYTE, CAPACITY + 1> data{};
    DWORD foundType = REG_NONE;
    DWORD size = CAPACITY;
    if (RegQueryValueExA(key.get(), name.c_str(), nullptr, &foundType, data.data(), &size) != ERROR_SUCCESS) {
        here.debug("%s Registry Entry does not exist", name.c_str());
        return false;
    }
    if (foundType != type) {
        return false;
    }
    if (size != 0) {
        data[size] = 0;
        if (type == REG_SZ || type == REG_EXPAND_SZ) {
            *out = reinterpret_cast<const char*>(data.data());
        } else if (type == REG_DWORD && size == sizeof(DWORD)) {
            std::int32_t number = 0;
            std::copy_n(data.data(), sizeof(number), reinterpret_cast<BYTE*>(&number));
            *out = format("%d", number);
        }
    }
    return !out->empty();
}

// NOLINTEND(performance-unnecessary-value-param)

}  // namespace utils
