// The sockets' header has to be included before those of the adapter functions.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "reliability/faults/Fault.h"

#include <iphlpapi.h>
#include <netioapi.h>
#include <sddl.h>

#include <atomic>
#include <new>

#include "support/WrappedImport.h"

namespace reliability {

namespace {

std::atomic<bool> armed{false};
std::atomic<int> callsMade{0};
std::atomic<int> failingCall{0};

bool due()
{
    return armed && ++callsMade == failingCall;
}

// Failure receives the real function and the arguments. It may call the function first and still report a failure.
template <auto Failure>
constexpr auto whenDue =
    [](auto original, auto... arguments) { return due() ? Failure(original, arguments...) : original(arguments...); };

template <class Function, auto Failure>
constexpr auto fails = &support::WrappedImport<Function, whenDue<Failure>>::install;

template <DWORD Error>
constexpr auto falseWithError = [](auto&&...) {
    SetLastError(Error);
    return FALSE;
};

// The real call is made, because otherwise the test would leak; only its result is that of a failure.
template <DWORD Error>
constexpr auto doneButFalse = [](auto original, auto... arguments) {
    original(arguments...);
    SetLastError(Error);
    return FALSE;
};

template <HRESULT Status>
constexpr auto status = [](auto&&...) { return Status; };

constexpr auto accessDenied = [](auto&&...) { return LSTATUS{ERROR_ACCESS_DENIED}; };

constexpr auto closedButInvalid = [](auto original, HKEY key) {
    original(key);
    return LSTATUS{ERROR_INVALID_HANDLE};
};

constexpr auto waitFailed = [](auto&&...) {
    SetLastError(ERROR_INVALID_HANDLE);
    return DWORD{WAIT_FAILED};
};

constexpr auto waitAbandoned = [](auto original, HANDLE handle, DWORD timeout) {
    original(handle, timeout);
    return DWORD{WAIT_ABANDONED};
};

constexpr auto null = [](auto&&...) { return nullptr; };

template <DWORD Error>
constexpr auto nullWithError = [](auto&&...) {
    SetLastError(Error);
    return nullptr;
};

constexpr auto noMemory = [](auto&&...) -> void* { throw std::bad_alloc(); };

using PlainNew = void*(std::size_t);
using NothrowNew = void*(std::size_t, const std::nothrow_t&);
using Resize = void*(void*, std::size_t);
using ClearedBlock = void*(std::size_t, std::size_t);

constexpr auto DENIED_STATUS = static_cast<HRESULT>(0x80041003);
constexpr auto CALL_FAILED = static_cast<HRESULT>(0x80010117);
constexpr HRESULT NO_MEMORY = E_OUTOFMEMORY;

const FaultPoint POINTS[] = {
    {"CreateMutexA", "null", EXCEPTION, fails<decltype(CreateMutexA), nullWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"WaitForSingleObject", "failed", UNCHANGED, fails<decltype(WaitForSingleObject), waitFailed>},
    {"WaitForSingleObject", "abandoned", UNCHANGED, fails<decltype(WaitForSingleObject), waitAbandoned>},
    {"ReleaseMutex", "not owner", UNCHANGED, fails<decltype(ReleaseMutex), doneButFalse<ERROR_NOT_OWNER>>},
    {"CloseHandle", "invalid handle", UNCHANGED, fails<decltype(CloseHandle), doneButFalse<ERROR_INVALID_HANDLE>>},
    {"CoImpersonateClient", "no call", DENIED, fails<decltype(CoImpersonateClient), status<CALL_FAILED>>, CALL_FAILED},
    {"CoImpersonateClient", "out of memory", DENIED, fails<decltype(CoImpersonateClient), status<NO_MEMORY>>,
     NO_MEMORY},
    {"CoRevertToSelf", "reverted, but failed", UNCHANGED,
     fails<decltype(CoRevertToSelf),
           [](auto original) {
               original();
               return HRESULT{E_FAIL};
           }>},
    {"OpenThreadToken", "access denied", DENIED, fails<decltype(OpenThreadToken), falseWithError<ERROR_ACCESS_DENIED>>,
     DENIED_STATUS},
    {"OpenThreadToken", "anonymous", DENIED,
     fails<decltype(OpenThreadToken), falseWithError<ERROR_CANT_OPEN_ANONYMOUS>>, DENIED_STATUS},
    {"OpenThreadToken", "no token", UNCHANGED, fails<decltype(OpenThreadToken), falseWithError<ERROR_NO_TOKEN>>},
    {"OpenThreadToken", "no impersonation token", UNCHANGED,
     fails<decltype(OpenThreadToken), falseWithError<ERROR_NO_IMPERSONATION_TOKEN>>},
    {"GetTokenInformation", "access denied", DENIED,
     fails<decltype(GetTokenInformation), falseWithError<ERROR_ACCESS_DENIED>>, DENIED_STATUS},
    {"SysAllocStringLen", "null", COM_ERROR, fails<decltype(SysAllocStringLen), null>},
    {"SafeArrayCreateVector", "null", VALUE_LOST, fails<decltype(SafeArrayCreateVector), null>},
    {"SafeArrayPutElement", "out of memory", VALUE_LOST, fails<decltype(SafeArrayPutElement), status<NO_MEMORY>>},
    {"SafeArrayGetElement", "bad index", VALUE_LOST | COM_ERROR,
     fails<decltype(SafeArrayGetElement), status<DISP_E_BADINDEX>>},
    {"SafeArrayGetLBound", "bad index", COM_ERROR, fails<decltype(SafeArrayGetLBound), status<DISP_E_BADINDEX>>},
    {"SafeArrayGetUBound", "bad index", VALUE_LOST | COM_ERROR,
     fails<decltype(SafeArrayGetUBound), status<DISP_E_BADINDEX>>},
    {"SafeArrayLock", "unexpected", COM_ERROR, fails<decltype(SafeArrayLock), status<E_UNEXPECTED>>},
    {"SafeArrayCopy", "out of memory", COM_ERROR, fails<decltype(SafeArrayCopy), status<NO_MEMORY>>},
    {"VariantCopy", "out of memory", COM_ERROR, fails<decltype(VariantCopy), status<NO_MEMORY>>},
    {"VariantChangeType", "type mismatch", EXCEPTION, fails<decltype(VariantChangeType), status<DISP_E_TYPEMISMATCH>>},
    {"RegCreateKeyExA", "access denied", REGISTRATION_FAILED, fails<decltype(RegCreateKeyExA), accessDenied>},
    {"RegSetValueExA", "access denied", REGISTRATION_FAILED, fails<decltype(RegSetValueExA), accessDenied>},
    {"RegOpenKeyExA", "access denied", REGISTRATION_FAILED, fails<decltype(RegOpenKeyExA), accessDenied>},
    {"RegDeleteKeyA", "access denied", VALUE_LOST, fails<decltype(RegDeleteKeyA), accessDenied>},
    {"RegCloseKey", "invalid handle", UNCHANGED, fails<decltype(RegCloseKey), closedButInvalid>},
    {"RegQueryValueExA", "access denied", UNCHANGED, fails<decltype(RegQueryValueExA), accessDenied>},
    {"RegEnumKeyExA", "access denied", UNCHANGED, fails<decltype(RegEnumKeyExA), accessDenied>},
    {"RegEnumValueA", "access denied", UNCHANGED, fails<decltype(RegEnumValueA), accessDenied>},
    {"RegQueryInfoKeyA", "access denied", UNCHANGED, fails<decltype(RegQueryInfoKeyA), accessDenied>},
    {"RegisterEventSourceA", "null", UNCHANGED,
     fails<decltype(RegisterEventSourceA), nullWithError<RPC_S_SERVER_UNAVAILABLE>>},
    {"ReportEventA", "log full", UNCHANGED, fails<decltype(ReportEventA), falseWithError<ERROR_LOG_FILE_FULL>>},
    {"DeregisterEventSource", "invalid handle", UNCHANGED,
     fails<decltype(DeregisterEventSource), doneButFalse<ERROR_INVALID_HANDLE>>},
    {"_Znwy", "std::bad_alloc", UNCHANGED | OUT_OF_MEMORY | COM_ERROR, fails<PlainNew, noMemory>},
    {"_ZnwyRKSt9nothrow_t", "null", UNCHANGED | CREATION_FAILED, fails<NothrowNew, null>},
    {"malloc", "null", UNCHANGED, fails<PlainNew, null>},
    {"calloc", "null", UNCHANGED, fails<ClearedBlock, null>},
    {"realloc", "null", UNCHANGED, fails<Resize, null>},
};

template <ULONG Error>
constexpr auto adapterError = [](auto&&...) { return ULONG{Error}; };

constexpr auto noDevice = [](auto&&...) -> HANDLE {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
};

constexpr auto noSlot = [](auto&&...) { return FLS_OUT_OF_INDEXES; };

const FaultPoint BROKER_POINTS[] = {
    // Without the lock between processes no setting is changed: a put fails, and a method returns 4.
    {"CreateMutexA", "null", UNCHANGED | VALUE_LOST | EXCEPTION,
     fails<decltype(CreateMutexA), nullWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"WaitForSingleObject", "failed", UNCHANGED | VALUE_LOST | EXCEPTION,
     fails<decltype(WaitForSingleObject), waitFailed>},
    {"WaitForSingleObject", "abandoned", UNCHANGED, fails<decltype(WaitForSingleObject), waitAbandoned>},
    {"ReleaseMutex", "not owner", UNCHANGED, fails<decltype(ReleaseMutex), doneButFalse<ERROR_NOT_OWNER>>},
    {"CloseHandle", "invalid handle", UNCHANGED, fails<decltype(CloseHandle), doneButFalse<ERROR_INVALID_HANDLE>>},
    // Without the event of a watched key, each request reads the key again.
    {"CreateEventA", "null", UNCHANGED | EXCEPTION,
     fails<decltype(CreateEventA), nullWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"SetEvent", "invalid handle", UNCHANGED, fails<decltype(SetEvent), doneButFalse<ERROR_INVALID_HANDLE>>},
    {"CreateThread", "null", VALUE_LOST, fails<decltype(CreateThread), nullWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"GetModuleHandleExA", "module not found", VALUE_LOST,
     fails<decltype(GetModuleHandleExA), falseWithError<ERROR_MOD_NOT_FOUND>>},
    {"FlsAlloc", "no slot left", EXCEPTION, fails<decltype(FlsAlloc), noSlot>},
    {"FlsSetValue", "out of memory", OUT_OF_MEMORY,
     fails<decltype(FlsSetValue), falseWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"LookupAccountSidW", "no logon session", UNCHANGED,
     fails<decltype(LookupAccountSidW), falseWithError<ERROR_NO_SUCH_LOGON_SESSION>>},
    {"OpenMutexA", "null", UNCHANGED, fails<decltype(OpenMutexA), nullWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"ConvertStringSecurityDescriptorToSecurityDescriptorA", "out of memory", UNCHANGED | VALUE_LOST | EXCEPTION,
     fails<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorA), falseWithError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"RegNotifyChangeKeyValue", "access denied", UNCHANGED, fails<decltype(RegNotifyChangeKeyValue), accessDenied>},
    {"RegDeleteValueA", "access denied", UNCHANGED, fails<decltype(RegDeleteValueA), accessDenied>},
    // A refused table is requested once more.
    {"GetIfTable2", "out of memory", UNCHANGED, fails<decltype(GetIfTable2), adapterError<ERROR_NOT_ENOUGH_MEMORY>>},
    {"GetAdaptersAddresses", "no data", NOT_THERE, fails<decltype(GetAdaptersAddresses), adapterError<ERROR_NO_DATA>>},
    {"GetAdaptersAddresses", "out of memory", UNCHANGED,
     fails<decltype(GetAdaptersAddresses), adapterError<ERROR_NOT_ENOUGH_MEMORY>>},
    // The list has grown since its size was read, so it is requested once more.
    {"GetAdaptersAddresses", "buffer overflow", UNCHANGED,
     fails<decltype(GetAdaptersAddresses), adapterError<ERROR_BUFFER_OVERFLOW>>},
    {"GetIfEntry2", "file not found", UNCHANGED, fails<decltype(GetIfEntry2), adapterError<ERROR_FILE_NOT_FOUND>>},
    // Wine has no devices for adapters, so the query to an opened device is never made.
    {"CreateFileA", "access denied", UNCHANGED, fails<decltype(CreateFileA), noDevice>},
    {"SetIfEntry", "access denied", VALUE_LOST, fails<decltype(SetIfEntry), adapterError<ERROR_ACCESS_DENIED>>},
    {"RegOpenKeyExA", "access denied", UNCHANGED | VALUE_LOST | NOT_THERE | EXCEPTION,
     fails<decltype(RegOpenKeyExA), accessDenied>},
    {"RegCreateKeyExA", "access denied", UNCHANGED | EXCEPTION, fails<decltype(RegCreateKeyExA), accessDenied>},
    {"RegSetValueExA", "access denied", UNCHANGED | EXCEPTION, fails<decltype(RegSetValueExA), accessDenied>},
    {"RegQueryInfoKeyA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION,
     fails<decltype(RegQueryInfoKeyA), accessDenied>},
    {"RegEnumKeyExA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION,
     fails<decltype(RegEnumKeyExA), accessDenied>},
    {"RegEnumValueA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION,
     fails<decltype(RegEnumValueA), accessDenied>},
    {"RegDeleteKeyA", "access denied", UNCHANGED | VALUE_LOST, fails<decltype(RegDeleteKeyA), accessDenied>},
    {"RegCloseKey", "invalid handle", UNCHANGED, fails<decltype(RegCloseKey), closedButInvalid>},
    // The job's thread starts a diagnostic and answers for its failure.
    {"_Znwy", "std::bad_alloc", UNCHANGED | OUT_OF_MEMORY | NOT_STARTED, fails<PlainNew, noMemory>},
    {"malloc", "null", UNCHANGED, fails<PlainNew, null>},
    {"calloc", "null", UNCHANGED, fails<ClearedBlock, null>},
    {"realloc", "null", UNCHANGED, fails<Resize, null>},
};

}  // namespace

std::span<const FaultPoint> faultPoints()
{
    return POINTS;
}

std::span<const FaultPoint> brokerFaultPoints()
{
    return BROKER_POINTS;
}

Fault::Fault(const FaultPoint& point, HMODULE module) : m_hook(point.install(point.function, module))
{
    disarm();
}

Fault::~Fault()
{
    disarm();
}

void Fault::arm(int call)
{
    callsMade = 0;
    failingCall = call;
    armed = true;
}

void Fault::disarm()
{
    armed = false;
}

int Fault::calls() const
{
    return callsMade;
}

bool Fault::fired() const
{
    return callsMade >= failingCall && failingCall != 0;
}

}  // namespace reliability
