#include "broker/windows/ServiceRegistry.h"

#include <atomic>
#include <string>

namespace support {

namespace {

std::atomic<int> refusals{0};
decltype(&RegCreateKeyExA) realCreate = nullptr;
decltype(&RegOpenKeyExA) realOpen = nullptr;

bool isClient()
{
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) {
        return GetLastError() != ERROR_NO_TOKEN;
    }
    CloseHandle(token);
    return true;
}

bool isOfJobs(const std::string& path)
{
    return path == "Software\\Vexal\\DRAVEv2\\Jobs" || path == "Software\\Vexal\\DRAVEv2\\Results";
}

bool mayOpen(const char* path, REGSAM access)
{
    constexpr REGSAM WRITING = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | DELETE | WRITE_DAC | WRITE_OWNER;
    if ((access & WRITING) == 0 || isClient() != isOfJobs(path)) {
        return true;
    }
    ++refusals;
    return false;
}

LSTATUS WINAPI openKey(HKEY root, LPCSTR path, DWORD options, REGSAM access, PHKEY key)
{
    return mayOpen(path, access) ? realOpen(root, path, options, access, key) : ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI createKey(HKEY root, LPCSTR path, DWORD reserved, LPSTR className, DWORD options, REGSAM access,
                         LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition)
{
    if (!mayOpen(path, access)) {
        return ERROR_ACCESS_DENIED;
    }
    // A process that may not write above the key cannot create the key.
    if (!isClient() && realOpen(root, path, 0, KEY_READ, key) == ERROR_FILE_NOT_FOUND) {
        ++refusals;
        return ERROR_ACCESS_DENIED;
    }
    return realCreate(root, path, reserved, className, options, access, security, key, disposition);
}

}  // namespace

ServiceRegistry::ServiceRegistry(HMODULE module)
    : m_create("RegCreateKeyExA", &createKey, module), m_open("RegOpenKeyExA", &openKey, module)
{
    refusals = 0;
    realCreate = m_create.original<decltype(&RegCreateKeyExA)>();
    realOpen = m_open.original<decltype(&RegOpenKeyExA)>();
}

ServiceRegistry::~ServiceRegistry() = default;

int ServiceRegistry::refused() const noexcept
{
    return refusals;
}

}  // namespace support
