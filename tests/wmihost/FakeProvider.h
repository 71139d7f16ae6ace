#pragma once

#include <functional>
#include <optional>
#include <string>

#include "wmihost/com/Com.h"
#include "wmihost/com/RefusingServices.h"
#include "wmihost/com/Variant.h"

namespace wmihost {

// What a fake provider does when it is asked. Requests without an entry are refused.
struct FakeBehaviour
{
    HRESULT returnedByInitialize = 0;
    std::optional<LONG> initStatus = 0;  // nothing: it never speaks
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view className, IWbemContext*, IWbemObjectSink*)>
        enumerate;
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view path, IWbemObjectSink*)> get;
    std::function<HRESULT(IWbemClassObject*, LONG flags, IWbemObjectSink*)> put;
    std::function<HRESULT(std::wstring_view path, IWbemObjectSink*)> remove;
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view method, IWbemClassObject* in, IWbemObjectSink*)>
        execMethod;
    // What Initialize was given.
    std::wstring user;
    std::wstring nameSpace;
    int alive = 0;
};

// Serves the fake provider's class to COM, in this process, for as long as the scope lives. The behaviour
// outlives the scope and every provider.
class FakeProviderScope
{
public:
    explicit FakeProviderScope(FakeBehaviour& behaviour);
    FakeProviderScope(const FakeProviderScope&) = delete;
    FakeProviderScope& operator=(const FakeProviderScope&) = delete;
    ~FakeProviderScope();

private:
    DWORD m_cookie = 0;
};

// A MOF with the registration of the fake provider and the classes Fake_Thing and Fake_Stray, the latter of a
// provider that is not registered.
extern const char* const fakeMof;

}  // namespace wmihost
