#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/wmihost/KnownClass.h"
#include "wmihost/com/Com.h"
#include "wmihost/com/RefusingServices.h"
#include "wmihost/com/Variant.h"

namespace wmihost {

// The behaviour of a fake provider. Requests without an entry are refused.
struct FakeBehaviour
{
    HRESULT returnedByInitialize = 0;
    std::optional<LONG> initStatus = 0;  // empty: Initialize reports no status
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view className, IWbemContext*, IWbemObjectSink*)>
        enumerate;
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view path, IWbemObjectSink*)> get;
    std::function<HRESULT(IWbemClassObject*, LONG flags, IWbemObjectSink*)> put;
    std::function<HRESULT(std::wstring_view path, IWbemObjectSink*)> remove;
    std::function<HRESULT(IWbemServices& nameSpace, std::wstring_view method, IWbemClassObject* in, IWbemObjectSink*)>
        execMethod;
    // Called at the begin of each request.
    std::function<void()> onRequest;
    int alive = 0;
    // The requests in order, in the form `put instance of Fake_Thing { Name = "one"; };`.
    std::vector<std::string> requests;
};

// While the scope lives, COM finds the fake provider's class in this process. The behaviour outlives the scope and
// every provider.
class FakeProviderScope
{
public:
    explicit FakeProviderScope(FakeBehaviour& behaviour);

private:
    const KnownClass m_class;
};

// A MOF with the registration of the fake provider and the classes Fake_Thing and Fake_Stray. The provider of
// Fake_Stray is not registered.
extern const char* const FAKE_MOF;

}  // namespace wmihost
