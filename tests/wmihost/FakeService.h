#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// A WMI of the tests, which keeps the classes and instances of a MOF and answers synchronous and asynchronous calls.
struct FakeServiceBehaviour
{
    // The operations, by their names in IWbemServices, that answer 0x80041001 at once.
    std::set<std::string> refused;
    // Operations that accept the call and report this failure through the sink, or return it.
    std::set<std::string> failing;
    HRESULT failure = 0;
    // Classes come without any qualifier, `key` included.
    bool withoutQualifiers = false;
    // What a method does: fills the outputs, which may be null, and returns the status.
    std::function<HRESULT(std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                          IWbemClassObject* out)>
        execMethod;
    // The answer to a query.
    std::function<std::vector<ComPtr<IWbemClassObject>>(std::wstring_view text)> execQuery;

    // What was called, in order: "GetObject Fake_Thing".
    std::vector<std::string> calls;
    // The instances, by the full set of their keys.
    std::vector<ComPtr<IWbemClassObject>> instances;
};

// Takes the place of this machine's WMI, in this process, for as long as the scope lives. The behaviour and the
// repository outlive it.
class FakeServiceScope
{
public:
    FakeServiceScope(FakeServiceBehaviour& behaviour, const ClassRepository& repository);
    FakeServiceScope(const FakeServiceScope&) = delete;
    FakeServiceScope& operator=(const FakeServiceScope&) = delete;
    ~FakeServiceScope();

private:
    DWORD m_cookie = 0;
};

}  // namespace wmihost
