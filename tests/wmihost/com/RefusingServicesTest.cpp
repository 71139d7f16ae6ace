#include "wmihost/com/RefusingServices.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/wmihost/TextRow.h"
#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

struct Outputs
{
    IWbemServices* services;
    IWbemCallResult* result;
    IWbemObjectSink* sink;
    IWbemClassObject* object;
    IEnumWbemClassObject* enumeration;
};

struct Request
{
    const char* name;
    std::function<HRESULT(IWbemServices&, Outputs&)> send;
};

void PrintTo(const Request& request, std::ostream* stream)
{
    *stream << request.name;
}

class RefusingServicesTest : public testing::TestWithParam<Request>
{
};

TEST_P(RefusingServicesTest, Call_isNotSupported_andTouchesNothing)
{
    const auto services = ComPtr<IWbemServices>::adopt(new RefusingServices);
    IUnknown* const marker = services.get();
    Outputs outputs{static_cast<IWbemServices*>(marker), reinterpret_cast<IWbemCallResult*>(marker),
                    reinterpret_cast<IWbemObjectSink*>(marker), reinterpret_cast<IWbemClassObject*>(marker),
                    reinterpret_cast<IEnumWbemClassObject*>(marker)};
    EXPECT_EQ(GetParam().send(*services.get(), outputs), code(WBEM_E_NOT_SUPPORTED));
    EXPECT_EQ(static_cast<void*>(outputs.services), marker);
    EXPECT_EQ(static_cast<void*>(outputs.result), marker);
    EXPECT_EQ(static_cast<void*>(outputs.sink), marker);
    EXPECT_EQ(static_cast<void*>(outputs.object), marker);
    EXPECT_EQ(static_cast<void*>(outputs.enumeration), marker);
}

// clang-format off: one line a request
INSTANTIATE_TEST_SUITE_P(
    Every, RefusingServicesTest,
    testing::Values(
        Request{
            "OpenNamespace",
            [](IWbemServices& s, Outputs& o) { return s.OpenNamespace(nullptr, 0, nullptr, &o.services, &o.result); }},
        Request{"CancelAsyncCall", [](IWbemServices& s, Outputs&) { return s.CancelAsyncCall(nullptr); }},
        Request{"QueryObjectSink", [](IWbemServices& s, Outputs& o) { return s.QueryObjectSink(0, &o.sink); }},
        Request{"GetObject",
                [](IWbemServices& s, Outputs& o) { return s.GetObject(nullptr, 0, nullptr, &o.object, &o.result); }},
        Request{"GetObjectAsync",
                [](IWbemServices& s, Outputs&) { return s.GetObjectAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"PutClass", [](IWbemServices& s, Outputs& o) { return s.PutClass(nullptr, 0, nullptr, &o.result); }},
        Request{"PutClassAsync",
                [](IWbemServices& s, Outputs&) { return s.PutClassAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"DeleteClass",
                [](IWbemServices& s, Outputs& o) { return s.DeleteClass(nullptr, 0, nullptr, &o.result); }},
        Request{"DeleteClassAsync",
                [](IWbemServices& s, Outputs&) { return s.DeleteClassAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"CreateClassEnum",
                [](IWbemServices& s, Outputs& o) { return s.CreateClassEnum(nullptr, 0, nullptr, &o.enumeration); }},
        Request{"CreateClassEnumAsync",
                [](IWbemServices& s, Outputs&) { return s.CreateClassEnumAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"PutInstance",
                [](IWbemServices& s, Outputs& o) { return s.PutInstance(nullptr, 0, nullptr, &o.result); }},
        Request{"PutInstanceAsync",
                [](IWbemServices& s, Outputs&) { return s.PutInstanceAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"DeleteInstance",
                [](IWbemServices& s, Outputs& o) { return s.DeleteInstance(nullptr, 0, nullptr, &o.result); }},
        Request{"DeleteInstanceAsync",
                [](IWbemServices& s, Outputs&) { return s.DeleteInstanceAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"CreateInstanceEnum",
                [](IWbemServices& s, Outputs& o) { return s.CreateInstanceEnum(nullptr, 0, nullptr, &o.enumeration); }},
        Request{"CreateInstanceEnumAsync",
                [](IWbemServices& s, Outputs&) { return s.CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr); }},
        Request{"ExecQuery",
                [](IWbemServices& s, Outputs& o) { return s.ExecQuery(nullptr, nullptr, 0, nullptr, &o.enumeration); }},
        Request{"ExecQueryAsync",
                [](IWbemServices& s, Outputs&) { return s.ExecQueryAsync(nullptr, nullptr, 0, nullptr, nullptr); }},
        Request{"ExecNotificationQuery",
                [](IWbemServices& s, Outputs& o) {
                    return s.ExecNotificationQuery(nullptr, nullptr, 0, nullptr, &o.enumeration);
                }},
        Request{"ExecNotificationQueryAsync",
                [](IWbemServices& s, Outputs&) {
                    return s.ExecNotificationQueryAsync(nullptr, nullptr, 0, nullptr, nullptr);
                }},
        Request{"ExecMethod",
                [](IWbemServices& s, Outputs& o) {
                    return s.ExecMethod(nullptr, nullptr, 0, nullptr, nullptr, &o.object, &o.result);
                }},
        Request{"ExecMethodAsync",
                [](IWbemServices& s, Outputs&) {
                    return s.ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, nullptr);
                }}),
    rowName);
// clang-format on

}  // namespace
}  // namespace wmihost
