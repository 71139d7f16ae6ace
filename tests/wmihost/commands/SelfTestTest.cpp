#include <functional>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"

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

// A provider that serves the tour in the same way as the real one.
class SelfTestTest : public CommandTest
{
public:
    SelfTestTest()
    {
        std::ofstream(mof) << FAKE_MOF << TOUR_MOF;
        behaviour.enumerate = [this](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            for (int i = 0; name == L"Zerix_EthernetPort" && i < ports; ++i) {
                deliver(sink, port(ns));
            }
            if (name == L"Zerix_DiagnosticSetting") {
                deliver(sink, setting(ns));
            }
            return finish(sink);
        };
        behaviour.get = [this](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            if (path.starts_with(L"Zerix_EthernetPort")) {
                deliver(sink, port(ns));
            } else if (path.starts_with(L"Zerix_DiagnosticSetting")) {
                deliver(sink, setting(ns));
            } else {
                return finish(sink, deleted ? code(WBEM_E_NOT_FOUND) : code(WBEM_E_FAILED));
            }
            return finish(sink);
        };
        behaviour.put = [this](IWbemClassObject*, LONG, IWbemObjectSink* sink) {
            samples = samplesAfterPut;
            return finish(sink);
        };
        behaviour.remove = [this](std::wstring_view path, IWbemObjectSink* sink) {
            deleted = path == L"Zerix_ConcreteJob.InstanceID=\"7\"";
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

    static ComPtr<IWbemClassObject> port(IWbemServices& ns)
    {
        auto object = spawn(ns, L"Zerix_EthernetPort");
        put(object, L"DeviceID", Variant::ofText(L"{1}"));
        put(object, L"Name", Variant::ofText(L"eth0"));
        return object;
    }
    ComPtr<IWbemClassObject> setting(IWbemServices& ns) const
    {
        auto object = spawn(ns, L"Zerix_DiagnosticSetting");
        put(object, L"InstanceID", Variant::ofText(L"s"));
        put(object, L"SampleCount", Variant::ofLong(samples));
        return object;
    }

    // Ways in which a provider fails a step.
    static void denyEnumeration(SelfTestTest& test)
    {
        test.behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            return finish(sink, code(WBEM_E_ACCESS_DENIED));
        };
    }
    static void hideSetting(SelfTestTest& test)
    {
        test.behaviour.enumerate = [](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            if (name == L"Zerix_EthernetPort") {
                deliver(sink, port(ns));
            }
            return finish(sink);
        };
    }
    // Answers a retrieval of objects of the class with another object.
    static void confuse(SelfTestTest& test, const wchar_t* className, const wchar_t* key, const wchar_t* value)
    {
        test.behaviour.get = [=, before = test.behaviour.get](IWbemServices& ns, std::wstring_view path,
                                                              IWbemObjectSink* sink) {
            if (!path.starts_with(className)) {
                return before(ns, path, sink);
            }
            const auto other = spawn(ns, className);
            put(other, key, Variant::ofText(value));
            deliver(sink, other);
            return finish(sink);
        };
    }
    static void keepJob(SelfTestTest& test)
    {
        test.behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    }
    static void forgetOutputs(SelfTestTest& test)
    {
        test.behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
            return finish(sink);
        };
    }

    int ports = 2;
    long samples = 10;
    long samplesAfterPut = 10;
    long returnValue = 4096;
    bool deleted = false;
};

TEST_F(SelfTestTest, EachKindOfRequest_hasAVerdict)
{
    expectSession("commands/self-test.session");
    EXPECT_TRUE(deleted);
}

TEST_F(SelfTestTest, Namespace_isTheOneThatIsAsked)
{
    std::ofstream(mof) << FAKE_MOF << TOUR_MOF << "#pragma namespace(\"\\\\\\\\.\\\\root\\\\other\")\n"
                       << "instance of __Win32Provider { Name = \"FakeProvider\"; "
                          "CLSID = \"{5F3C2A10-7B1E-4D52-9A31-0C445E6F7081}\"; };\n"
                       << "instance of __MethodProviderRegistration { Provider = "
                          "\"__Win32Provider.Name=\\\"FakeProvider\\\"\"; };\n"
                       << TOUR_MOF;
    expectSession("commands/self-test-namespace.session");
}

TEST_F(SelfTestTest, MofWithoutTheClasses_failsTheirSteps)
{
    std::ofstream(mof) << FAKE_MOF;
    expectSession("commands/self-test-without-classes.session");
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
    testing::Values(
        BadProvider{"no_adapter", [](SelfTestTest& test) { test.ports = 0; }},
        BadProvider{"put_that_changes", [](SelfTestTest& test) { test.samplesAfterPut = 11; }},
        BadProvider{"no_job", [](SelfTestTest& test) { test.returnValue = 1; }},
        BadProvider{"job_unreadable", SelfTestTest::keepJob},
        BadProvider{"job_kept",
                    [](SelfTestTest& test) { SelfTestTest::confuse(test, L"Zerix_ConcreteJob", L"InstanceID", L"7"); }},
        BadProvider{
            "another_adapter",
            [](SelfTestTest& test) { SelfTestTest::confuse(test, L"Zerix_EthernetPort", L"DeviceID", L"{2}"); }},
        BadProvider{"no_setting", SelfTestTest::hideSetting}, BadProvider{"no_outputs", SelfTestTest::forgetOutputs},
        BadProvider{"client_refused", SelfTestTest::denyEnumeration}),
    rowName);

}  // namespace
}  // namespace wmihost
