#include "wmihost/com/RefusingServices.h"

#include <gtest/gtest.h>

#include <utility>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

TEST(RefusingServices, EachRequest_isRefused)
{
    const auto s = ComPtr<IWbemServices>::adopt(new RefusingServices);
    const IUnknown* const marker = s.get();
    auto* services = s.get();
    auto* result = reinterpret_cast<IWbemCallResult*>(s.get());
    auto* sink = reinterpret_cast<IWbemObjectSink*>(s.get());
    auto* object = reinterpret_cast<IWbemClassObject*>(s.get());
    auto* rows = reinterpret_cast<IEnumWbemClassObject*>(s.get());
    const std::pair<const char*, HRESULT> answers[] = {
        {"OpenNamespace", s->OpenNamespace(nullptr, 0, nullptr, &services, &result)},
        {"CancelAsyncCall", s->CancelAsyncCall(nullptr)},
        {"QueryObjectSink", s->QueryObjectSink(0, &sink)},
        {"GetObject", s->GetObject(nullptr, 0, nullptr, &object, &result)},
        {"GetObjectAsync", s->GetObjectAsync(nullptr, 0, nullptr, nullptr)},
        {"PutClass", s->PutClass(nullptr, 0, nullptr, &result)},
        {"PutClassAsync", s->PutClassAsync(nullptr, 0, nullptr, nullptr)},
        {"DeleteClass", s->DeleteClass(nullptr, 0, nullptr, &result)},
        {"DeleteClassAsync", s->DeleteClassAsync(nullptr, 0, nullptr, nullptr)},
        {"CreateClassEnum", s->CreateClassEnum(nullptr, 0, nullptr, &rows)},
        {"CreateClassEnumAsync", s->CreateClassEnumAsync(nullptr, 0, nullptr, nullptr)},
        {"PutInstance", s->PutInstance(nullptr, 0, nullptr, &result)},
        {"PutInstanceAsync", s->PutInstanceAsync(nullptr, 0, nullptr, nullptr)},
        {"DeleteInstance", s->DeleteInstance(nullptr, 0, nullptr, &result)},
        {"DeleteInstanceAsync", s->DeleteInstanceAsync(nullptr, 0, nullptr, nullptr)},
        {"CreateInstanceEnum", s->CreateInstanceEnum(nullptr, 0, nullptr, &rows)},
        {"CreateInstanceEnumAsync", s->CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr)},
        {"ExecQuery", s->ExecQuery(nullptr, nullptr, 0, nullptr, &rows)},
        {"ExecQueryAsync", s->ExecQueryAsync(nullptr, nullptr, 0, nullptr, nullptr)},
        {"ExecNotificationQuery", s->ExecNotificationQuery(nullptr, nullptr, 0, nullptr, &rows)},
        {"ExecNotificationQueryAsync", s->ExecNotificationQueryAsync(nullptr, nullptr, 0, nullptr, nullptr)},
        {"ExecMethod", s->ExecMethod(nullptr, nullptr, 0, nullptr, nullptr, &object, &result)},
        {"ExecMethodAsync", s->ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, nullptr)},
    };
    for (const auto& [name, answer] : answers) {
        EXPECT_EQ(answer, code(WBEM_E_NOT_SUPPORTED)) << name;
    }
    for (const void* const output : {static_cast<void*>(services), static_cast<void*>(result), static_cast<void*>(sink),
                                     static_cast<void*>(object), static_cast<void*>(rows)})
    {
        EXPECT_EQ(output, marker);
    }
}

}  // namespace
}  // namespace wmihost
