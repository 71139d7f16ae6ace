#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Utils/Exception.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "fakes/EveryType.h"
#include "requests/RequestTest.h"
#include "support/Baseline.h"

// The whole course of a request, in order: the calls of WMI's objects, the sink and the broker, the references, the log
// lines, and the result. At level 2 each request is compared with its file in baselines/. The output at the other
// levels follows from it.
namespace {

using support::Lines;

// Removes from the lines of level 2 those that another level does not write: debugger lines below 2, events below 1. At
// level 3 each debugger line goes to standard error too, which is read at the end.
Lines atLevel(int level, const Lines& lines)
{
    static const std::string debugger = "debugger: ";
    static const std::string event = "event: ";
    Lines result;
    Lines standardError;
    for (const std::string& line : lines) {
        if (line.starts_with(debugger) ? level < 2 : line.starts_with(event) && level < 1) {
            continue;
        }
        result.push_back(line);
        if (level == 3 && line.starts_with(debugger)) {
            standardError.push_back("stderr: " + line.substr(debugger.size()));
        }
    }
    result.insert(result.end(), standardError.begin(), standardError.end());
    return result;
}

void expectLog(const std::string& name, Lines lines, const Lines& standardError)
{
    for (const std::string& line : standardError) {
        lines.push_back("stderr: " + line);
    }
    for (std::string& line : lines) {
        if (line.ends_with('\n')) {
            line.pop_back();
        }
        line = support::withoutAddressesAndLines(line);
    }
    const std::string file = std::string(ZERIX_BASELINES) + "/" + name + ".txt";
    const int level = levelOfEnvironment();
    if (level == 2) {
        support::expectBaseline(file, lines);
    } else if (!support::acceptsBaselines()) {
        const Lines written = support::readBaseline(file);
        ASSERT_FALSE(written.empty()) << file;
        EXPECT_EQ(lines, atLevel(level, written)) << file;
    }
}

// Removes the lines about threads. COM can start and end threads at any time, and the provider logs them. These lines
// do not belong to the request.
void removeThreads(Lines& lines)
{
    std::erase_if(lines, [](const std::string& line) {
        return line.find("DllMain: debug: DllMain 2") != std::string::npos ||
               line.find("DllMain: debug: DllMain 3") != std::string::npos;
    });
}

// The lines that `action` writes to standard error.
template <class Action>
Lines standardErrorOf(const Action& action)
{
    testing::internal::CaptureStderr();
    action();
    std::istringstream text(testing::internal::GetCapturedStderr());
    Lines lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line.substr(0, line.find('\r')));
    }
    return lines;
}

class RecordedRequest : public RequestWorld
{
public:
    RecordedRequest() { *object.path.address() = samples::bstr(std::string("root\\DCIM\\vexal:") + PORT_PATH); }

    // Records the calls and lines of this request only.
    template <class Send>
    void record(const Send& send)
    {
        log.clear();
        std::string answer;
        written = standardErrorOf([&] {
            try {
                answer = "answer: " + support::hex(send());
            } catch (const std::exception& exception) {
                answer = std::string("thrown: ") + exception.what();
            }
        });
        lines = log.sequence();
        lines.push_back(answer);
        removeThreads(lines);
        removeThreads(written);
    }

    Lines lines;
    Lines written;
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

// The module logs before its import table can be patched. These lines are read from the platform's exceptions.
TEST(RequestLogLoadTest, LoadingAndUnloading_isAsInItsFile)
{
    // Loads the broker first, so that its lines are not among the provider's.
    const HMODULE core = LoadLibraryA("ZerixCimCore.dll");
    ASSERT_NE(core, nullptr);
    void* const handler = AddVectoredExceptionHandler(1, &hearDebugger);
    const Lines written = standardErrorOf([] {
        const support::ProviderModule module;
        std::thread([] {}).join();
    });
    RemoveVectoredExceptionHandler(handler);
    expectLog("load", debuggerLines, written);
    FreeLibrary(core);
}

using R = RecordedRequest;

HRESULT enumerate(R& r)
{
    return r.enumerate();
}

HRESULT get(R& r)
{
    return r.get();
}

HRESULT put(R& r)
{
    return r.put();
}

HRESULT execute(R& r)
{
    return r.execute();
}

void asTheyAre(R& /*request*/) {}

// Calls on a provider that has its namespace.
struct Scenario
{
    // The name of the baseline file.
    const char* name;
    void (*arrange)(R& r);
    HRESULT (*send)(R& r);
};

constexpr Scenario SCENARIOS[] = {
    {"initialize-again", asTheyAre, [](R& r) -> HRESULT { return r.initialize(&r.wmiNamespace), 0; }},
    {"enumerate-three", [](R& r) { r.brokerHas(3); }, enumerate},
    {"enumerate-none", asTheyAre, enumerate},
    {"enumerate-every-type",
     [](R& r) {
         support::addEveryType(r.instance, r.job);
         samples::add<core::CimPropertyString>(r.instance, "Name", "overrides");
         r.brokerHas(1);
     },
     enumerate},
    {"enumerate-no-class",
     [](R& r) {
         r.brokerHas(1);
         r.wmiNamespace.classes.clear();
     },
     enumerate},
    {"enumerate-refused-by-sink",
     [](R& r) {
         r.brokerHas(1);
         r.sink.indicateAnswers = {1};
         r.sink.statusAnswers = {static_cast<HRESULT>(WBEM_E_CALL_CANCELLED), 2};
     },
     enumerate},
    {"get", [](R& r) { r.broker.onFind = [&] { return &r.instance; }; }, get},
    {"get-not-found", asTheyAre, [](R& r) { return r.get("root\\x:" + std::string(R::PORT_PATH)); }},
    {"get-no-path", asTheyAre, [](R& r) { return r.get("nonsense"); }},
    {"get-spawn-refused",
     [](R& r) {
         r.broker.onFind = [&] { return &r.instance; };
         r.port.spawnStatus = static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
     },
     get},
    {"put", [](R& r) { support::addEveryType(r.object); }, put},
    {"put-walk-refused", [](R& r) { r.object.beginStatus = static_cast<HRESULT>(WBEM_E_FAILED); }, put},
    {"put-forbidden", [](R& r) { r.broker.onModify = [](core::CimPropertyList&) { throw utils::EForbidden("no"); }; },
     put},
    {"put-create", asTheyAre,
     [](R& r) { return r.provider->PutInstanceAsync(&r.object, WBEM_FLAG_CREATE_ONLY, &r.context, &r.sink); }},
    {"delete", [](R& r) { r.broker.onFind = [&] { return &r.job; }; }, [](R& r) { return r.remove(); }},
    {"delete-no-job", asTheyAre, [](R& r) { return r.remove(R::PORT_PATH); }},
    {"method-job",
     [](R& r) {
         r.broker.onInvoke = [&](core::CimPropertyList&, core::CimInstance*& started) {
             started = &r.job;
             return 4096U;
         };
         r.object.add("Count", samples::i4(5), CIM_UINT16);
         r.signature.add("Text", samples::bstr("default"), CIM_STRING);
     },
     execute},
    {"method", asTheyAre, execute},
    {"method-unknown", [](R& r) { r.port.methods.clear(); }, execute},
    {"method-signature-refused", [](R& r) { r.port.getMethodStatus = static_cast<HRESULT>(WBEM_E_FAILED); }, execute},
    {"denied", [](R& r) { r.allow(support::ClientToken::IDENTIFICATION); }, enumerate},
    {"refused", asTheyAre, [](R& r) { return r.provider->PutClassAsync(nullptr, 0, nullptr, &r.sink); }},
    {"release", asTheyAre, [](R& r) { return r.provider.reset(), r.module.canUnloadNow(); }},
};

// Calls that make a provider, or that reach one without its namespace.
constexpr Scenario STARTS[] = {
    {"enumerate-not-initialized", [](R& r) { r.start(nullptr); }, enumerate},
    {"get-not-initialized", [](R& r) { r.start(nullptr); }, get},
    {"initialize", asTheyAre, [](R& r) -> HRESULT { return r.start(), 0; }},
    {"initialize-no-namespace", asTheyAre, [](R& r) -> HRESULT { return r.start(nullptr), 0; }},
    // A request that arrives as soon as the provider has reported that it is ready.
    {"initialize-and-serve", [](R& r) { r.initSink.onStatus = [&] { r.enumerate(); }; },
     [](R& r) -> HRESULT { return r.start(), 0; }},
    {"create", asTheyAre,
     [](R& r) {
         *r.provider.out() = r.module.createProvider();
         return r.module.canUnloadNow();
     }},
    {"factory", asTheyAre,
     [](R& r) {
         utils::ComReference<IClassFactory> factory;
         utils::ComReference<IUnknown> other;
         void** const made = reinterpret_cast<void**>(other.out());
         r.module.classObject(CLSID_WbemLocator, IID_IClassFactory, made);
         r.module.classObject(identity::PROVIDER_CLSID, IID_IWbemServices, made);
         r.module.classObject(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(factory.out()));
         factory->CreateInstance(factory.get(), IID_IUnknown, made);
         factory->CreateInstance(nullptr, IID_IWbemObjectSink, made);
         factory->LockServer(TRUE);
         const HRESULT locked = r.module.canUnloadNow();
         factory->LockServer(FALSE);
         return locked;
     }},
};

void expectRecord(const Scenario& scenario, bool isStarted)
{
    SCOPED_TRACE(scenario.name);
    RecordedRequest request;
    if (isStarted) {
        request.start();
    }
    scenario.arrange(request);
    request.record([&] { return scenario.send(request); });
    expectLog(scenario.name, request.lines, request.written);
}

TEST(RequestLogTest, Requests_areRecordedAsInTheirFiles)
{
    for (const Scenario& scenario : SCENARIOS) {
        expectRecord(scenario, true);
    }
    for (const Scenario& scenario : STARTS) {
        expectRecord(scenario, false);
    }
}

}  // namespace
