#include "broker/windows/NamedMutex.h"

#include <sddl.h>

namespace broker {

HANDLE openNamedMutex(const char* name, const char* access) noexcept
{
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorA(access, SDDL_REVISION_1, &attributes.lpSecurityDescriptor,
                                                              nullptr))
    {
        return nullptr;
    }
    const HANDLE mutex = CreateMutexA(&attributes, FALSE, name);
    const DWORD error = GetLastError();
    LocalFree(attributes.lpSecurityDescriptor);
    SetLastError(error);
    return mutex;
}

}  // namespace broker
