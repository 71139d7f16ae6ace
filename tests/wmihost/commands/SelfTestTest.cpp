#include "tests/wmihost/CommandTest.h"
#include "wmihost/terminal/Text.h"

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
protected:
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

    int ports = 2;
    long samples = 10;
    long samplesAfterPut = 10;
    long returnValue = 4096;
    bool deleted = false;
};

TEST_F(SelfTestTest, EveryKindOfRequestHasAVerdict)
{
    EXPECT_EQ(run({"self-test"}), 0);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ---------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     passed   the job is gone\n");
    EXPECT_EQ(error, "");
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
    for (const auto* const nameSpace : {"root/other", "root/test"}) {
        EXPECT_EQ(run({"self-test", "--namespace", nameSpace}), 0) << out;
        EXPECT_EQ(toUtf8(ClassRepository::plainName(behaviour.nameSpace)),
                  toUtf8(ClassRepository::plainName(toWide(nameSpace))));
    }
    EXPECT_EQ(run({"self-test", "--namespace", "root/nowhere"}), 1);
    EXPECT_NE(out.find("enumerate  FAILED   WBEM_E_INVALID_NAMESPACE (0x8004100E)"), std::string::npos) << out;
    EXPECT_NE(out.find("put        FAILED   WBEM_E_INVALID_NAMESPACE (0x8004100E)"), std::string::npos) << out;
}

TEST_F(SelfTestTest, WithoutAnAdapterWhatNeedsOneFails)
{
    ports = 0;
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  -----------------------------------\n"
              "enumerate  FAILED   this machine has no network adapter\n"
              "get        FAILED   an earlier step delivered no path\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     FAILED   an earlier step delivered no path\n"
              "delete     FAILED   there is no job to delete\n");
}

TEST_F(SelfTestTest, OneAdapterIsNoPlural)
{
    ports = 1;
    EXPECT_EQ(run({"self-test"}), 0);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ---------------------------------\n"
              "enumerate  passed   1 adapter\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     passed   the job is gone\n");
}

TEST_F(SelfTestTest, AnUpdateThatChangesSomethingFails)
{
    samplesAfterPut = 11;
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ----------------------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        FAILED   an update without a change changed the setting\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     passed   the job is gone\n");
}

TEST_F(SelfTestTest, AMethodThatStartsNoJobFails)
{
    returnValue = 1;
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ----------------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     FAILED   expected a job and the value 4096, got 1\n"
              "delete     FAILED   there is no job to delete\n");
}

TEST_F(SelfTestTest, DeletedJob_unreadable_failsWithTheStatus)
{
    behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ----------------------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     FAILED   WBEM_E_FAILED (0x80041001): the request failed\n");
}

TEST_F(SelfTestTest, ARefusedClientFailsEveryKindOfRequest)
{
    const auto denied = [](IWbemObjectSink* sink) { return finish(sink, code(WBEM_E_ACCESS_DENIED)); };
    behaviour.enumerate = [denied](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        return denied(sink);
    };
    EXPECT_EQ(run({"self-test", "--impersonation", "identify"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ---------------------------------------------------\n"
              "enumerate  FAILED   WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n"
              "get        FAILED   an earlier step delivered no path\n"
              "put        FAILED   WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n"
              "invoke     FAILED   an earlier step delivered no path\n"
              "delete     FAILED   there is no job to delete\n");
    EXPECT_EQ(error, "");
}

TEST_F(SelfTestTest, AnotherAdapterThanTheOneAskedForFails)
{
    const auto before = behaviour.get;
    behaviour.get = [before](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
        if (!path.starts_with(L"Zerix_EthernetPort")) {
            return before(ns, path, sink);
        }
        const auto other = port(ns);
        put(other, L"DeviceID", Variant::ofText(L"{2}"));
        deliver(sink, other);
        return finish(sink);
    };
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(
        out,
        "Request    Verdict  Detail\n"
        "---------  -------  ----------------------------------------------------------------------------------\n"
        "enumerate  passed   2 adapters\n"
        "get        FAILED   asked for Zerix_EthernetPort.DeviceID=\"{1}\", got Zerix_EthernetPort.DeviceID=\"{2}\"\n"
        "put        passed   the diagnostic setting, unchanged\n"
        "invoke     passed   RunLinkDiagnostic started a job\n"
        "delete     passed   the job is gone\n");
}

TEST_F(SelfTestTest, AMachineWithoutTheSettingFailsThePut)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
        if (name == L"Zerix_EthernetPort") {
            deliver(sink, port(ns));
        }
        return finish(sink);
    };
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  -------------------------------\n"
              "enumerate  passed   1 adapter\n"
              "get        passed   the first adapter, eth0\n"
              "put        FAILED   there is no diagnostic setting\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     passed   the job is gone\n");
}

TEST_F(SelfTestTest, AMethodWithoutOutputsFails)
{
    behaviour.execMethod = [](IWbemServices&, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        return finish(sink);
    };
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ---------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     FAILED   the method delivered no outputs\n"
              "delete     FAILED   there is no job to delete\n");
}

TEST_F(SelfTestTest, AJobThatOutlivesItsDeletionFails)
{
    const auto before = behaviour.get;
    behaviour.get = [before](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
        if (!path.starts_with(L"Zerix_ConcreteJob")) {
            return before(ns, path, sink);
        }
        const auto job = spawn(ns, L"Zerix_ConcreteJob");
        put(job, L"InstanceID", Variant::ofText(L"7"));
        deliver(sink, job);
        return finish(sink);
    };
    EXPECT_EQ(run({"self-test"}), 1);
    EXPECT_EQ(out,
              "Request    Verdict  Detail\n"
              "---------  -------  ---------------------------------\n"
              "enumerate  passed   2 adapters\n"
              "get        passed   the first adapter, eth0\n"
              "put        passed   the diagnostic setting, unchanged\n"
              "invoke     passed   RunLinkDiagnostic started a job\n"
              "delete     FAILED   the job is still there\n");
}

TEST_F(SelfTestTest, AClassThatIsNotDeclaredFailsItsStepsAlone)
{
    std::ofstream(mof) << FAKE_MOF;
    EXPECT_EQ(run({"self-test"}), 1);
    const std::string unknown = "WBEM_E_INVALID_CLASS (0x80041010): there is no such class; the MOF declares no class ";
    EXPECT_EQ(out, "Request    Verdict  Detail\n---------  -------  " +
                       std::string(unknown.size() + std::string("Zerix_DiagnosticSetting").size(), '-') +
                       "\nenumerate  FAILED   " + unknown +
                       "Zerix_EthernetPort\n"
                       "get        FAILED   an earlier step delivered no path\n"
                       "put        FAILED   " +
                       unknown +
                       "Zerix_DiagnosticSetting\n"
                       "invoke     FAILED   an earlier step delivered no path\n"
                       "delete     FAILED   there is no job to delete\n");
}

}  // namespace
}  // namespace wmihost
