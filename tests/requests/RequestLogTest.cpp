#include <set>

#include "requests/Baseline.h"
#include "requests/RequestTest.h"
#include "requests/StandardErrorFile.h"
#include "support/Thrown.h"

// What a whole request writes to the log, at the level of the environment: levels 2 and 3 against a file each, level 1
// against the events of level 2's file, and nothing at level 0.
namespace {

void expectLog(const std::string& name, std::vector<std::string> lines, const std::vector<std::string>& standardError)
{
    for (const std::string& line : standardError) {
        lines.push_back("stderr: " + line);
    }
    for (std::string& line : lines) {
        if (!line.empty() && line.back() == '\n') {
            line.pop_back();
        }
        line = withoutAddressesAndLines(line);
    }
    const int level = levelOfEnvironment();
    if (level >= 2) {
        expectBaseline(name + ".level" + std::to_string(level), lines);
        return;
    }
    std::vector<std::string> expected;
    if (level == 1) {
        const std::vector<std::string> all = readBaseline(name + ".level2");
        ASSERT_FALSE(all.empty()) << name;
        for (const std::string& line : all) {
            if (line.rfind("event: ", 0) == 0) {
                expected.push_back(line);
            }
        }
    }
    EXPECT_EQ(lines, expected);
}

class RequestLogTest : public RequestTest
{
protected:
    void SetUp() override { *object.path.address() = samples::bstr(std::string("root\\DCIM\\vexal:") + PORT_PATH); }

    // Forgets what came before the request that is looked at.
    void begin()
    {
        log.clear();
        m_before = standardError.lines().size();
    }

    void expect(const std::string& name)
    {
        std::vector<std::string> written = standardError.lines();
        written.erase(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(m_before));
        expectLog(name, log.sequence(), written);
    }

    StandardErrorFile standardError;

private:
    std::size_t m_before = 0;
};

std::vector<std::string> debuggerLines;

LONG CALLBACK hearDebugger(EXCEPTION_POINTERS* exception)
{
    constexpr DWORD PRINT = 0x40010006;
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == PRINT && record.NumberParameters >= 2) {
        debuggerLines.push_back(std::string("debugger: ") +
                                reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// Before its import table can be patched the module has spoken: its lines are heard where the platform raises them.
TEST(RequestLogLoadTest, LoadingAndUnloading)
{
    const StandardErrorFile standardError;
    // The broker first, whose lines are its own.
    const HMODULE core = LoadLibraryA("ZerixCimCore.dll");
    ASSERT_NE(core, nullptr);
    const std::size_t before = standardError.lines().size();
    void* const handler = AddVectoredExceptionHandler(1, &hearDebugger);
    {
        const ProviderModule module;
    }
    RemoveVectoredExceptionHandler(handler);
    std::vector<std::string> written = standardError.lines();
    written.erase(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(before));
    expectLog("load", debuggerLines, written);
    FreeLibrary(core);
}

TEST_F(RequestLogTest, Initialising)
{
    begin();
    start();
    expect("initialize");
}

TEST_F(RequestLogTest, EnumeratingThreeInstances)
{
    brokerHas(3);
    start();
    begin();
    EXPECT_EQ(enumerate(), 0);
    expect("enumerate-three");
}

TEST_F(RequestLogTest, EnumeratingNothing)
{
    start();
    begin();
    EXPECT_EQ(enumerate(), 0);
    expect("enumerate-none");
}

TEST_F(RequestLogTest, EnumeratingAClassThatTheNamespaceDoesNotGive)
{
    brokerHas(1);
    wmiNamespace.classes.clear();
    start();
    begin();
    EXPECT_EQ(support::thrownBy([&] { enumerate(); }), "pNamespace->GetObject(Zerix_EthernetPort) error #80041002");
    expect("enumerate-no-class");
}

TEST_F(RequestLogTest, Getting)
{
    broker.onFind = [&] { return &instance; };
    start();
    begin();
    EXPECT_EQ(get(), 0);
    expect("get");
}

TEST_F(RequestLogTest, GettingWhatIsNotThere)
{
    start();
    begin();
    EXPECT_EQ(support::hex(get()), "0x80041002");
    expect("get-not-found");
}

TEST_F(RequestLogTest, GettingATextThatIsNoPath)
{
    start();
    begin();
    EXPECT_EQ(support::hex(get("nonsense")), "0x80041001");
    expect("get-no-path");
}

TEST_F(RequestLogTest, Putting)
{
    object.add("DeviceID", samples::bstr("a"), CIM_STRING, 0, true);
    object.add("Name", samples::bstr("eth1"), CIM_STRING);
    object.add("Enabled", samples::null(), CIM_BOOLEAN);
    start();
    begin();
    EXPECT_EQ(put(), 0);
    expect("put");
}

TEST_F(RequestLogTest, PuttingWhatTheBrokerForbids)
{
    broker.onModify = [](core::CimPropertyList&) { throw utils::EForbidden("no"); };
    start();
    begin();
    EXPECT_EQ(support::hex(put()), "0x80041003");
    expect("put-forbidden");
}

TEST_F(RequestLogTest, Deleting)
{
    broker.onFind = [&] { return &job; };
    start();
    begin();
    EXPECT_EQ(remove(), 0);
    expect("delete");
}

TEST_F(RequestLogTest, DeletingWhatIsNoJob)
{
    start();
    begin();
    EXPECT_EQ(support::hex(remove(PORT_PATH)), "0x8004100C");
    expect("delete-no-job");
}

TEST_F(RequestLogTest, RunningAMethodThatStartsAJob)
{
    broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
        started = &job;
        return 4096U;
    };
    object.add("Count", samples::i4(5), CIM_UINT16);
    start();
    begin();
    EXPECT_EQ(execute(), 0);
    expect("method-job");
}

TEST_F(RequestLogTest, RunningAMethodWithoutAJob)
{
    start();
    begin();
    EXPECT_EQ(execute(), 0);
    expect("method");
}

TEST_F(RequestLogTest, ADeniedClient)
{
    call.reset();
    call.emplace(calls, support::ClientToken::identification);
    start();
    begin();
    EXPECT_EQ(support::hex(enumerate()), "0x80041003");
    expect("denied");
}

TEST_F(RequestLogTest, ARefusedOperation)
{
    start();
    begin();
    EXPECT_EQ(support::hex(provider->PutClassAsync(nullptr, 0, nullptr, &sink)), "0x8004100C");
    expect("refused");
}

TEST_F(RequestLogTest, ACreationThatIsRefused)
{
    start();
    begin();
    EXPECT_EQ(support::hex(provider->PutInstanceAsync(&object, WBEM_FLAG_CREATE_ONLY, &context, &sink)), "0x80041024");
    expect("put-create");
}

TEST_F(RequestLogTest, ReleasingTheProvider)
{
    start();
    begin();
    provider.reset();
    expect("release");
}

}  // namespace
