// The commands with --service: every request goes to the machine's WMI, which a fake replaces here.

#include <array>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/FakeService.h"
#include "wmihost/objects/ObjectReader.h"

namespace wmihost {
namespace {

constexpr const char* SERVICE_MOF = R"(#pragma namespace("\\\\.\\root\\cimv2")
[Description("Anything.")] class Test_Base { [key] string Name; };
[Description("A thing.")] class Test_Thing : Test_Base
{
    [Description("How many."), write] uint16 Count;
    [ValueMap{"2", "3"}, Values{"Enabled", "Disabled"}] uint16 State;
    [Counter, Units("Bytes")] uint64 Bytes;
    uint32 Turn([in] uint16 Degrees, [out] string Said);
    uint32 Rest();
    [static] uint32 Count2([out] uint32 Total);
};
class Test_Tool { [static] uint32 Ping([in] string Text, [out] string Answer); };
instance of Test_Thing { Name = "one"; Count = 3; State = 2; Bytes = 10; };
instance of Test_Thing { Name = "two"; Count = 5; State = 3; Bytes = 20; };
)";

class ServiceTest : public CommandTest
{
protected:
    ServiceTest()
    {
        compileMofText(SERVICE_MOF, "service.mof", repository);
        for (const InstanceData* instance : repository.findNamespace(L"root\\cimv2")->instancesOf(L"Test_Thing")) {
            service.instances.push_back(ClassObject::ofInstance(*instance));
        }
        service.execQuery = [this](std::wstring_view) { return service.instances; };
        service.execMethod = [](std::wstring_view path, std::wstring_view method, IWbemClassObject* in,
                                IWbemClassObject* outputs) {
            put(ComPtr<IWbemClassObject>(outputs), L"ReturnValue", Variant::ofLong(0));
            if (method == L"Turn") {
                put(ComPtr<IWbemClassObject>(outputs), L"Said",
                    Variant::ofText(std::wstring(path) + L" by " + textOf(*in, L"Degrees")));
            } else if (method == L"Rest" && in != nullptr) {
                return code(WBEM_E_INVALID_METHOD_PARAMETERS);
            }
            return code(WBEM_S_NO_ERROR);
        };
    }

    std::vector<std::string> takeRequests() override { return std::exchange(service.calls, {}); }

    ClassRepository repository;
    FakeServiceBehaviour service;
    const FakeServiceScope serviceScope{service, repository};
};

TEST_F(ServiceTest, Commands_answerAsRecorded)
{
    expectSession("commands/service.session");
}

TEST_F(ServiceTest, Query_refusedByTheService_saysWhy)
{
    service.failing = {"ExecQueryAsync"};
    service.failure = code(WBEM_E_INVALID_QUERY);
    expectSession("commands/service-query-refused.session");
}

TEST_F(ServiceTest, RelatedLocal_readsEachAssociationOnce)
{
    compileMofText(R"(#pragma namespace("\\\\.\\root\\cimv2")
[Association] class Test_Link { [key] Test_Thing ref From; [key] Test_Thing ref To; };
[Association] class Test_StrongLink : Test_Link {};
instance of Test_Link { From = "Test_Thing.Name=\"one\""; To = "Test_Thing.Name=\"two\""; };
instance of Test_StrongLink { From = "Test_Thing.Name=\"two\""; To = "Test_Thing.Name=\"one\""; };
)",
                   "links.mof", repository);
    for (const wchar_t* const name : {L"Test_Link", L"Test_StrongLink"}) {
        for (const InstanceData* instance : repository.findNamespace(L"root\\cimv2")->instancesOf(name)) {
            service.instances.push_back(ClassObject::ofInstance(*instance));
        }
    }
    expectSession("commands/service-related-local.session");
}

TEST_F(ServiceTest, ClassWithoutKeys_takesThePathAsItIs)
{
    service.withoutQualifiers = true;
    expectSession("commands/service-without-keys.session");
}

TEST_F(ServiceTest, FailureOfAStartedCall_isFinal)
{
    service.failing = {"ExecMethodAsync", "DeleteInstanceAsync"};
    service.failure = code(WBEM_E_FAILED);
    expectSession("commands/service-failure.session");
    EXPECT_EQ(service.instances.size(), 2U);
}

// Every operation except the retrieval of objects and classes.
constexpr std::array OPERATIONS{"CreateInstanceEnum", "CreateClassEnum", "ExecQuery",
                                "PutInstance",        "DeleteInstance",  "ExecMethod"};

TEST_F(ServiceTest, RefusedAsynchronousCall_isMadeSynchronously)
{
    service.refused = {"GetObjectAsync"};
    for (const std::string operation : OPERATIONS) {
        service.refused.insert(operation + "Async");
    }
    expectSession("commands/service-synchronous.session");
}

TEST_F(ServiceTest, RefusedSynchronousCall_fails)
{
    for (const std::string operation : OPERATIONS) {
        service.refused.insert({operation, operation + "Async"});
    }
    expectSession("commands/service-refused.session");
}

TEST_F(ServiceTest, ClassThatIsRefused_failsTheCommand)
{
    service.refused = {"GetObject", "GetObjectAsync"};
    expectSession("commands/service-class-refused.session");
}

// A class that does not exist is reported with either code.
TEST_F(ServiceTest, InvalidClass_isAnUnknownOne)
{
    service.failing = {"GetObjectAsync"};
    service.failure = code(WBEM_E_INVALID_CLASS);
    expectSession("commands/service-invalid-class.session");
}

}  // namespace
}  // namespace wmihost
