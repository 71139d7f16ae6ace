#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/wmihost/KnownClass.h"
#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// A fake WMI that keeps the classes and instances of a MOF. It answers synchronous and asynchronous calls.
struct FakeServiceBehaviour
{
    // The operations, by their names in IWbemServices, that return 0x80041001 at once.
    std::set<std::string> refused;
    // Operations that accept the call and then report this failure through the sink, or return it.
    std::set<std::string> failing;
    HRESULT failure = 0;
    // If set, classes have no qualifiers, not even `key`.
    bool withoutQualifiers = false;
    // Runs a method, if a test calls one: fills the outputs, which may be null, and returns the status.
    std::function<HRESULT(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                          IWbemClassObject* out)>
        execMethod;
    // The result of a query.
    std::function<std::vector<ComPtr<IWbemClassObject>>(std::wstring_view text)> execQuery;

    // The calls in order: "GetObject Fake_Thing".
    std::vector<std::string> calls;
    // The instances. A path finds one only if it names the keys in alphabetical order.
    std::vector<ComPtr<IWbemClassObject>> instances;
};

// While the scope lives, replaces this machine's WMI in this process. The behaviour and the repository outlive the
// scope.
class FakeServiceScope
{
public:
    FakeServiceScope(FakeServiceBehaviour& behaviour, const ClassRepository& repository);

private:
    const KnownClass m_class;
};

}  // namespace wmihost
