// The sockets' header has to be included before those of the adapter functions.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "reliability/faults/Fault.h"

#include <iphlpapi.h>
#include <netioapi.h>
#include <sddl.h>

#include <atomic>
#include <new>
#include <stdexcept>

namespace reliability {

namespace {

std::atomic<bool> armed{false};
std::atomic<int> callsMade{0};
std::atomic<int> failingCall{0};

bool due()
{
    return armed && ++callsMade == failingCall;
}

template <class Signature, auto Failure>
class FaultyCall;

// Failure receives the real function and the arguments. It may call the function first and still report a failure.
template <class Result, class... Arguments, auto Failure>
class FaultyCall<Result(Arguments...), Failure>
{
public:
    static std::unique_ptr<support::ImportHook> install(const char* function, HMODULE module)
    {
        auto hook = std::make_unique<support::ImportHook>(function, &call, module);
        s_original = hook->template original<Result (*)(Arguments...)>();
        return hook;
    }

private:
    static Result call(Arguments... arguments)
    {
        return due() ? Failure(s_original, arguments...) : s_original(arguments...);
    }

    static inline Result (*s_original)(Arguments...) = nullptr;
};

template <DWORD Error>
constexpr auto nullWithError = [](auto&&...) {
    SetLastError(Error);
    return nullptr;
};

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

constexpr auto noText = [](auto&&...) -> BSTR { return nullptr; };
constexpr auto noArray = [](auto&&...) -> SAFEARRAY* { return nullptr; };
constexpr auto noSource = [](auto&&...) -> HANDLE {
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return nullptr;
};
constexpr auto noHandle = [](auto&&...) -> HANDLE {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
};
constexpr auto noMemory = [](auto&&...) -> void* { throw std::bad_alloc(); };
constexpr auto noBlock = [](auto&&...) -> void* { return nullptr; };

using PlainNew = void*(std::size_t);
using NothrowNew = void*(std::size_t, const std::nothrow_t&);
using Resize = void*(void*, std::size_t);
using ClearedBlock = void*(std::size_t, std::size_t);

constexpr HRESULT DENIED_STATUS = static_cast<HRESULT>(0x80041003);
constexpr HRESULT CALL_FAILED = static_cast<HRESULT>(0x80010117);
constexpr HRESULT NO_MEMORY = E_OUTOFMEMORY;

const std::vector<FaultPoint>& table()
{
    static const std::vector<FaultPoint> points{
        {"CreateMutexA", "null", EXCEPTION, 0, FaultyCall<decltype(CreateMutexA), noHandle>::install},
        {"WaitForSingleObject", "failed", UNCHANGED, 0, FaultyCall<decltype(WaitForSingleObject), waitFailed>::install},
        {"WaitForSingleObject", "abandoned", UNCHANGED, 0,
         FaultyCall<decltype(WaitForSingleObject), waitAbandoned>::install},
        {"ReleaseMutex", "not owner", UNCHANGED, 0,
         FaultyCall<decltype(ReleaseMutex), doneButFalse<ERROR_NOT_OWNER>>::install},
        {"CloseHandle", "invalid handle", UNCHANGED, 0,
         FaultyCall<decltype(CloseHandle), doneButFalse<ERROR_INVALID_HANDLE>>::install},
        {"CoImpersonateClient", "no call", DENIED, CALL_FAILED,
         FaultyCall<decltype(CoImpersonateClient), status<CALL_FAILED>>::install},
        {"CoImpersonateClient", "out of memory", DENIED, NO_MEMORY,
         FaultyCall<decltype(CoImpersonateClient), status<NO_MEMORY>>::install},
        {"CoRevertToSelf", "reverted, but failed", UNCHANGED, 0,
         FaultyCall<decltype(CoRevertToSelf),
                    [](auto original) {
                        original();
                        return HRESULT{E_FAIL};
                    }>::install},
        {"OpenThreadToken", "access denied", DENIED, DENIED_STATUS,
         FaultyCall<decltype(OpenThreadToken), falseWithError<ERROR_ACCESS_DENIED>>::install},
        {"OpenThreadToken", "anonymous", DENIED, DENIED_STATUS,
         FaultyCall<decltype(OpenThreadToken), falseWithError<ERROR_CANT_OPEN_ANONYMOUS>>::install},
        {"OpenThreadToken", "no token", UNCHANGED, 0,
         FaultyCall<decltype(OpenThreadToken), falseWithError<ERROR_NO_TOKEN>>::install},
        {"OpenThreadToken", "no impersonation token", UNCHANGED, 0,
         FaultyCall<decltype(OpenThreadToken), falseWithError<ERROR_NO_IMPERSONATION_TOKEN>>::install},
        {"GetTokenInformation", "access denied", DENIED, DENIED_STATUS,
         FaultyCall<decltype(GetTokenInformation), falseWithError<ERROR_ACCESS_DENIED>>::install},
        {"SysAllocStringLen", "null", COM_ERROR, 0, FaultyCall<decltype(SysAllocStringLen), noText>::install},
        {"SafeArrayCreateVector", "null", VALUE_LOST, 0, FaultyCall<decltype(SafeArrayCreateVector), noArray>::install},
        {"SafeArrayPutElement", "out of memory", VALUE_LOST, 0,
         FaultyCall<decltype(SafeArrayPutElement), status<NO_MEMORY>>::install},
        {"SafeArrayGetElement", "bad index", VALUE_LOST | COM_ERROR, 0,
         FaultyCall<decltype(SafeArrayGetElement), status<DISP_E_BADINDEX>>::install},
        {"SafeArrayGetLBound", "bad index", COM_ERROR, 0,
         FaultyCall<decltype(SafeArrayGetLBound), status<DISP_E_BADINDEX>>::install},
        {"SafeArrayGetUBound", "bad index", VALUE_LOST | COM_ERROR, 0,
         FaultyCall<decltype(SafeArrayGetUBound), status<DISP_E_BADINDEX>>::install},
        {"SafeArrayLock", "unexpected", COM_ERROR, 0,
         FaultyCall<decltype(SafeArrayLock), status<E_UNEXPECTED>>::install},
        {"SafeArrayCopy", "out of memory", COM_ERROR, 0,
         FaultyCall<decltype(SafeArrayCopy), status<NO_MEMORY>>::install},
        {"VariantCopy", "out of memory", COM_ERROR, 0, FaultyCall<decltype(VariantCopy), status<NO_MEMORY>>::install},
        {"VariantChangeType", "type mismatch", EXCEPTION, 0,
         FaultyCall<decltype(VariantChangeType), status<DISP_E_TYPEMISMATCH>>::install},
        {"RegCreateKeyExA", "access denied", REGISTRATION_FAILED, 0,
         FaultyCall<decltype(RegCreateKeyExA), accessDenied>::install},
        {"RegSetValueExA", "access denied", REGISTRATION_FAILED, 0,
         FaultyCall<decltype(RegSetValueExA), accessDenied>::install},
        {"RegOpenKeyExA", "access denied", REGISTRATION_FAILED, 0,
         FaultyCall<decltype(RegOpenKeyExA), accessDenied>::install},
        {"RegDeleteKeyA", "access denied", VALUE_LOST, 0, FaultyCall<decltype(RegDeleteKeyA), accessDenied>::install},
        {"RegCloseKey", "invalid handle", UNCHANGED, 0, FaultyCall<decltype(RegCloseKey), closedButInvalid>::install},
        {"RegQueryValueExA", "access denied", UNCHANGED, 0,
         FaultyCall<decltype(RegQueryValueExA), accessDenied>::install},
        {"RegEnumKeyExA", "access denied", UNCHANGED, 0, FaultyCall<decltype(RegEnumKeyExA), accessDenied>::install},
        {"RegEnumValueA", "access denied", UNCHANGED, 0, FaultyCall<decltype(RegEnumValueA), accessDenied>::install},
        {"RegQueryInfoKeyA", "access denied", UNCHANGED, 0,
         FaultyCall<decltype(RegQueryInfoKeyA), accessDenied>::install},
        {"RegisterEventSourceA", "null", UNCHANGED, 0, FaultyCall<decltype(RegisterEventSourceA), noSource>::install},
        {"ReportEventA", "log full", UNCHANGED, 0,
         FaultyCall<decltype(ReportEventA), falseWithError<ERROR_LOG_FILE_FULL>>::install},
        {"DeregisterEventSource", "invalid handle", UNCHANGED, 0,
         FaultyCall<decltype(DeregisterEventSource), doneButFalse<ERROR_INVALID_HANDLE>>::install},
        {"_Znwy", "std::bad_alloc", UNCHANGED | OUT_OF_MEMORY | COM_ERROR, 0, FaultyCall<PlainNew, noMemory>::install},
        {"_ZnwyRKSt9nothrow_t", "null", UNCHANGED | CREATION_FAILED, 0, FaultyCall<NothrowNew, noBlock>::install},
        {"malloc", "null", UNCHANGED, 0, FaultyCall<PlainNew, noBlock>::install},
        {"calloc", "null", UNCHANGED, 0, FaultyCall<ClearedBlock, noBlock>::install},
        {"realloc", "null", UNCHANGED, 0, FaultyCall<Resize, noBlock>::install},
    };
    return points;
}

template <ULONG Error>
constexpr auto adapterError = [](auto&&...) { return ULONG{Error}; };

constexpr auto noDevice = [](auto&&...) -> HANDLE {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
};

constexpr auto noSlot = [](auto&&...) { return FLS_OUT_OF_INDEXES; };

const std::vector<FaultPoint>& brokerTable()
{
    static const std::vector<FaultPoint> points{
        // Without the lock between processes no setting is changed: a put fails, and a method returns 4.
        {"CreateMutexA", "null", UNCHANGED | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(CreateMutexA), noHandle>::install},
        {"WaitForSingleObject", "failed", UNCHANGED | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(WaitForSingleObject), waitFailed>::install},
        {"WaitForSingleObject", "abandoned", UNCHANGED, 0,
         FaultyCall<decltype(WaitForSingleObject), waitAbandoned>::install},
        {"ReleaseMutex", "not owner", UNCHANGED, 0,
         FaultyCall<decltype(ReleaseMutex), doneButFalse<ERROR_NOT_OWNER>>::install},
        {"CloseHandle", "invalid handle", UNCHANGED, 0,
         FaultyCall<decltype(CloseHandle), doneButFalse<ERROR_INVALID_HANDLE>>::install},
        // Without the event of a watched key, each request reads the key again.
        {"CreateEventA", "null", UNCHANGED | EXCEPTION, 0, FaultyCall<decltype(CreateEventA), noHandle>::install},
        {"SetEvent", "invalid handle", UNCHANGED, 0,
         FaultyCall<decltype(SetEvent), doneButFalse<ERROR_INVALID_HANDLE>>::install},
        {"CreateThread", "null", VALUE_LOST, 0, FaultyCall<decltype(CreateThread), noHandle>::install},
        {"GetModuleHandleExA", "module not found", VALUE_LOST, 0,
         FaultyCall<decltype(GetModuleHandleExA), falseWithError<ERROR_MOD_NOT_FOUND>>::install},
        {"FlsAlloc", "no slot left", EXCEPTION, 0, FaultyCall<decltype(FlsAlloc), noSlot>::install},
        {"FlsSetValue", "out of memory", OUT_OF_MEMORY, 0,
         FaultyCall<decltype(FlsSetValue), falseWithError<ERROR_NOT_ENOUGH_MEMORY>>::install},
        {"LookupAccountSidW", "no logon session", UNCHANGED, 0,
         FaultyCall<decltype(LookupAccountSidW), falseWithError<ERROR_NO_SUCH_LOGON_SESSION>>::install},
        {"OpenMutexA", "null", UNCHANGED, 0, FaultyCall<decltype(OpenMutexA), noHandle>::install},
        {"ConvertStringSecurityDescriptorToSecurityDescriptorA", "out of memory", UNCHANGED | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorA),
                    falseWithError<ERROR_NOT_ENOUGH_MEMORY>>::install},
        {"RegNotifyChangeKeyValue", "access denied", UNCHANGED, 0,
         FaultyCall<decltype(RegNotifyChangeKeyValue), accessDenied>::install},
        {"RegDeleteValueA", "access denied", UNCHANGED, 0,
         FaultyCall<decltype(RegDeleteValueA), accessDenied>::install},
        // A refused table is requested once more.
        {"GetIfTable2", "out of memory", UNCHANGED, 0,
         FaultyCall<decltype(GetIfTable2), adapterError<ERROR_NOT_ENOUGH_MEMORY>>::install},
        {"GetAdaptersAddresses", "no data", NOT_THERE, 0,
         FaultyCall<decltype(GetAdaptersAddresses), adapterError<ERROR_NO_DATA>>::install},
        {"GetAdaptersAddresses", "out of memory", UNCHANGED, 0,
         FaultyCall<decltype(GetAdaptersAddresses), adapterError<ERROR_NOT_ENOUGH_MEMORY>>::install},
        // The list has grown since its size was read, so it is requested once more.
        {"GetAdaptersAddresses", "buffer overflow", UNCHANGED, 0,
         FaultyCall<decltype(GetAdaptersAddresses), adapterError<ERROR_BUFFER_OVERFLOW>>::install},
        {"GetIfEntry2", "file not found", UNCHANGED, 0,
         FaultyCall<decltype(GetIfEntry2), adapterError<ERROR_FILE_NOT_FOUND>>::install},
        // Wine has no devices for adapters, so the query to an opened device is never made.
        {"CreateFileA", "access denied", UNCHANGED, 0, FaultyCall<decltype(CreateFileA), noDevice>::install},
        {"SetIfEntry", "access denied", VALUE_LOST, 0,
         FaultyCall<decltype(SetIfEntry), adapterError<ERROR_ACCESS_DENIED>>::install},
        {"RegOpenKeyExA", "access denied", UNCHANGED | VALUE_LOST | NOT_THERE | EXCEPTION, 0,
         FaultyCall<decltype(RegOpenKeyExA), accessDenied>::install},
        {"RegCreateKeyExA", "access denied", UNCHANGED | EXCEPTION, 0,
         FaultyCall<decltype(RegCreateKeyExA), accessDenied>::install},
        {"RegSetValueExA", "access denied", UNCHANGED | EXCEPTION, 0,
         FaultyCall<decltype(RegSetValueExA), accessDenied>::install},
        {"RegQueryInfoKeyA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(RegQueryInfoKeyA), accessDenied>::install},
        {"RegEnumKeyExA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(RegEnumKeyExA), accessDenied>::install},
        {"RegEnumValueA", "access denied", UNCHANGED | NOT_THERE | VALUE_LOST | EXCEPTION, 0,
         FaultyCall<decltype(RegEnumValueA), accessDenied>::install},
        {"RegDeleteKeyA", "access denied", UNCHANGED | VALUE_LOST, 0,
         FaultyCall<decltype(RegDeleteKeyA), accessDenied>::install},
        {"RegCloseKey", "invalid handle", UNCHANGED, 0, FaultyCall<decltype(RegCloseKey), closedButInvalid>::install},
        // The job's thread starts a diagnostic and answers for its failure.
        {"_Znwy", "std::bad_alloc", UNCHANGED | OUT_OF_MEMORY | NOT_STARTED, 0,
         FaultyCall<PlainNew, noMemory>::install},
        {"malloc", "null", UNCHANGED, 0, FaultyCall<PlainNew, noBlock>::install},
        {"calloc", "null", UNCHANGED, 0, FaultyCall<ClearedBlock, noBlock>::install},
        {"realloc", "null", UNCHANGED, 0, FaultyCall<Resize, noBlock>::install},
    };
    return points;
}

}  // namespace

std::span<const FaultPoint> faultPoints()
{
    return table();
}

std::span<const FaultPoint> brokerFaultPoints()
{
    return brokerTable();
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
