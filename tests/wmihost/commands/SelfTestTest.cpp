#include <functional>

#include "tests/wmihost/RowName.h"
#include "tests/wmihost/commands/ServedInstances.h"

namespace wmihost {
namespace {

constexpr const char* TOUR_MOF = R"(
instance of __InstanceProviderRegistration
{
    Provider = "__Win32Provider.Name=\"FakeProvider\"";
    SupportsGet = TRUE;
    SupportsPut = TRUE;
    SupportsDelete = TRUE;
    SupportsEnumeration = TRUE;
};
[dynamic, provider("FakeProvider")] class Zerix_ConcreteJob { [key] string InstanceID; };
[dynamic, provider("FakeProvider")] class Zerix_DiagnosticSetting { [key] string InstanceID; uint16 SampleCount; };
[dynamic, provider("FakeProvider")]
class Zerix_EthernetPort
{
    [key] string DeviceID;
    string Name;
    [implemented] uint32 RunLinkDiagnostic([in] uint16 SampleCount, [out] Zerix_ConcreteJob ref Job);
};
)";

constexpr const char* TOUR_INSTANCES = R"(
instance of Zerix_EthernetPort { DeviceID = "{1}"; Name = "eth0"; };
instance of Zerix_EthernetPort { DeviceID = "{2}"; Name = "eth1"; };
instance of Zerix_DiagnosticSetting { InstanceID = "s"; SampleCount = 10; };
instance of Zerix_ConcreteJob { InstanceID = "7"; };
)";

// A provider that serves the tour in the same way as the real one.
class SelfTestTest : public ServedInstances
{
public:
    SelfTestTest()
    {
        serve(std::string(TOUR_MOF) + TOUR_INSTANCES);
        behaviour.put = [this](IWbemClassObject* object, LONG, IWbemObjectSink* sink) {
            keep(*object);
            return finish(sink);
        };
        behaviour.remove = [this](std::wstring_view path, IWbemObjectSink* sink) {
            drop(path);
            return finish(sink);
        };
        behaviour.execMethod = [this](IWbemServices& ns, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
            const auto outputs = spawnOutputs(ns, L"Zerix_EthernetPort", L"RunLinkDiagnostic");
            put(outputs, L"ReturnValue", Variant::ofLong(returnValue));
            if (returnValue == 4096) {
                put(outputs, L"Job", Variant::ofText(L"Zerix_ConcreteJob.InstanceID=\"7\""));
            }
            deliver(sink, outputs);
            return finish(sink);
        };
    }

    // Ways in which a provider fails a step.
    void denyEnumeration()
    {
        behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            return finish(sink, code(WBEM_E_ACCESS_DENIED));
        };
    }
    void hide(const wchar_t* className)
    {
        behaviour.enumerate = [=, before = behaviour.enumerate](IWbemServices& ns, std::wstring_view name,
                                                                IWbemContext* context, IWbemObjectSink* sink) {
            return name == className ? finish(sink) : before(ns, name, context, sink);
        };
    }
    // Answers each retrieval of an adapter with the second one.
    void confuseAdapters()
    {
        behaviour.get = [before = behaviour.get](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            return before(ns, path.starts_with(L"Zerix_EthernetPort") ? L"Zerix_EthernetPort=\"{2}\"" : path, sink);
        };
    }
    void changeMoreThanAsked()
    {
        behaviour.put = [this](IWbemClassObject* object, LONG, IWbemObjectSink* sink) {
            ComPtr<IWbemClassObject> changed;
            EXPECT_EQ(object->Clone(changed.put()), 0);
            put(changed, L"SampleCount", Variant::ofLong(11));
            keep(*changed.get());
            return finish(sink);
        };
    }
    void keepJob()
    {
        behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    }
    void failToReadJob()
    {
        behaviour.get = [before = behaviour.get](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            return path.starts_with(L"Zerix_ConcreteJob") ? finish(sink, code(WBEM_E_FAILED)) : before(ns, path, sink);
        };
    }
    void forgetOutputs()
    {
        behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
            return finish(sink);
        };
    }

    long returnValue = 4096;
};

TEST_F(SelfTestTest, EachKindOfRequest_hasAVerdict)
{
    expectSession("commands/self-test.session");
}

TEST_F(SelfTestTest, Namespace_isTheOneThatIsAsked)
{
    drop(L"Zerix_EthernetPort=\"{2}\"");  // one adapter, so that the singular is seen
    addToMof(std::string(TOUR_MOF) + R"(
#pragma namespace("\\\\.\\root\\other")
instance of __Win32Provider { Name = "FakeProvider"; CLSID = "{5F3C2A10-7B1E-4D52-9A31-0C445E6F7081}"; };
instance of __MethodProviderRegistration { Provider = "__Win32Provider.Name=\"FakeProvider\""; };
)" + TOUR_MOF);
    expectSession("commands/self-test-namespace.session");
}

struct BadProvider
{
    const char* name;  // of the session file too
    std::function<void(SelfTestTest&)> spoil;
};

class BadProviders : public SelfTestTest, public testing::WithParamInterface<BadProvider>
{
};

TEST_P(BadProviders, BadProvider_failsTheStep)
{
    GetParam().spoil(*this);
    expectSession(std::string("commands/self-test/") + GetParam().name + ".session");
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadProviders,
    testing::Values(BadProvider{"no_adapter", [](SelfTestTest& test) { test.hide(L"Zerix_EthernetPort"); }},
                    BadProvider{"put_that_changes", [](SelfTestTest& test) { test.changeMoreThanAsked(); }},
                    BadProvider{"no_job", [](SelfTestTest& test) { test.returnValue = 1; }},
                    BadProvider{"job_unreadable", [](SelfTestTest& test) { test.failToReadJob(); }},
                    BadProvider{"job_kept", [](SelfTestTest& test) { test.keepJob(); }},
                    BadProvider{"another_adapter", [](SelfTestTest& test) { test.confuseAdapters(); }},
                    BadProvider{"no_setting", [](SelfTestTest& test) { test.hide(L"Zerix_DiagnosticSetting"); }},
                    BadProvider{"no_outputs", [](SelfTestTest& test) { test.forgetOutputs(); }},
                    BadProvider{"client_refused", [](SelfTestTest& test) { test.denyEnumeration(); }}),
    rowName);

}  // namespace
}  // namespace wmihost
