#include <comdef.h>

#include <functional>
#include <memory>
#include <new>
#include <regex>
#include <stdexcept>
#include <typeinfo>

#include "Utils/Exception.h"
#include "core/MethodErrors.h"
#include "fakes/EveryType.h"
#include "requests/RequestTest.h"
#include "support/Baseline.h"
#include "support/Thrown.h"
#include "support/WrappedImport.h"

// The answer of each request of the built DLL when something fails, and what the sink and the event log receive. The
// program makes the exceptions of the broker, and the DLL catches them, or the other way round. Both sides must agree
// on types that are equal only by their names.
namespace {

using support::Lines;

// One request of each kind, with arguments that a test may replace. By default all of them succeed.
class TriedRequest : public RequestWorld
{
public:
    TriedRequest()
    {
        setObjectPath(samples::bstr(PORT_PATH));
        object.add("DeviceID", samples::bstr("a"), CIM_STRING, 0, true);
        object.add("Name", samples::bstr("eth1"), CIM_STRING);
        object.add("Texts", support::textsVariant({"a"}), CIM_STRING | CIM_FLAG_ARRAY);
        object.add("Numbers", support::numbersVariant({1}), CIM_UINT16 | CIM_FLAG_ARRAY);
        samples::add<core::CimPropertyString_arr>(instance, "Texts", std::vector<std::string>{"a"});
        samples::add<core::CimPropertyUint16_arr>(instance, "Numbers", std::vector<std::uint16_t>{1, 2});
        brokerHas(1);
        broker.onFind = [this] { return found; };
        broker.onInvoke = [this](core::CimPropertyList&, core::CimInstance*& started) {
            started = &job;
            return 4096U;
        };
    }

    void brokerThrows(const std::function<void()>& failing)
    {
        const auto fail = [=] {
            EXPECT_TRUE(support::threadHasToken()) << "the broker is asked as the client";
            failing();
        };
        broker.onGetInstances = [=]() -> utils::SafeList<core::CimInstance*> {
            fail();
            return {};
        };
        broker.onFind = [=]() -> core::CimInstance* {
            fail();
            return nullptr;
        };
        broker.onModify = [=](core::CimPropertyList&) { fail(); };
        broker.onInvoke = [=](core::CimPropertyList&, core::CimInstance*&) {
            fail();
            return 0U;
        };
    }

    // Makes the client's object return this value as its path. Takes ownership of the VARIANT's contents.
    void setObjectPath(const VARIANT& owned)
    {
        VariantClear(object.path.address());
        *object.path.address() = owned;
    }

    std::string path;
    bool hasPath = true;
    bool isInitialized = true;
    LONG flags = WBEM_FLAG_UPDATE_ONLY;
    IWbemContext* given = &context;
    IWbemClassObject* what = &object;
    core::CimInstance* found = nullptr;
};

using R = TriedRequest;

struct Request
{
    const char* name;
    // The class or path that a request uses by default.
    const char* path;
    HRESULT (*send)(R& r, BSTR path, BSTR method);
};

constexpr Request REQUESTS[] = {
    {"enumerate", "Zerix_EthernetPort",
     [](R& r, BSTR path, BSTR) { return r.provider->CreateInstanceEnumAsync(path, r.flags, r.given, r.client); }},
    {"get", RequestWorld::PORT_PATH,
     [](R& r, BSTR path, BSTR) {
         r.found = &r.instance;
         return r.provider->GetObjectAsync(path, r.flags, r.given, r.client);
     }},
    {"put", "", [](R& r, BSTR, BSTR) { return r.provider->PutInstanceAsync(r.what, r.flags, r.given, r.client); }},
    {"delete", RequestWorld::JOB_PATH,
     [](R& r, BSTR path, BSTR) {
         r.found = &r.job;
         return r.provider->DeleteInstanceAsync(path, r.flags, r.given, r.client);
     }},
    {"method", RequestWorld::PORT_PATH,
     [](R& r, BSTR path, BSTR method) {
         return r.provider->ExecMethodAsync(path, method, r.flags, r.given, r.what, r.client);
     }},
};

struct Failure
{
    const char* name;
    void (*arrange)(R& r);
    // The imported function that fails during the request; null for none.
    const char* function = nullptr;
    std::unique_ptr<support::ImportHook> (*install)(const char* function, HMODULE module) = nullptr;
};

constexpr auto BROKEN = static_cast<HRESULT>(WBEM_E_FAILED);
constexpr HRESULT POSITIVE = 1;

template <auto Value>
constexpr auto giving = [](auto&&...) { return Value; };

template <class Function, auto Value>
constexpr auto gives = &support::WrappedImport<Function, giving<Value>>::install;

constexpr auto noCopy = [](auto&&, SAFEARRAY*, SAFEARRAY** copy) {
    *copy = nullptr;
    return HRESULT{E_OUTOFMEMORY};
};

constexpr auto noMemory = [](auto&&...) -> void* { throw std::bad_alloc(); };

void asItIs(R& /*request*/) {}

template <class Exception>
void throwing(R& r)
{
    r.brokerThrows([] { throw Exception("x"); });
}

constexpr Failure FAILURES[] = {
    {"nothing fails", asItIs},
    // The broker.
    {"the broker throws utils::EInvalidParameter", &throwing<utils::EInvalidParameter>},
    {"the broker throws utils::EForbidden", &throwing<utils::EForbidden>},
    {"the broker throws utils::ENotSupported", &throwing<utils::ENotSupported>},
    {"the broker throws utils::ENotFound", &throwing<utils::ENotFound>},
    {"the broker throws utils::EFailed", &throwing<utils::EFailed>},
    {"the broker throws utils::ESyntaxError", &throwing<utils::ESyntaxError>},
    {"the broker throws utils::Exception",
     [](R& r) { r.brokerThrows([] { throw utils::Exception(std::string("x")); }); }},
    {"the broker throws wa::EInvalidParameter", &throwing<wa::EInvalidParameter>},
    {"the broker throws wa::EMethodNotSupported", &throwing<wa::EMethodNotSupported>},
    {"the broker throws wa::EWmiNotFound", &throwing<wa::EWmiNotFound>},
    {"the broker throws std::runtime_error", &throwing<std::runtime_error>},
    {"the broker throws std::bad_alloc", [](R& r) { r.brokerThrows([] { throw std::bad_alloc(); }); }},
    {"the broker throws _com_error", [](R& r) { r.brokerThrows([] { throw _com_error(E_OUTOFMEMORY); }); }},
    {"the broker throws an int", [](R& r) { r.brokerThrows([] { throw 7; }); }},
    {"the broker has nothing",
     [](R& r) {
         r.broker.onGetInstances = nullptr;
         r.broker.onFind = nullptr;
         r.broker.onInvoke = nullptr;
     }},
    // The client.
    {"the client is anonymous", [](R& r) { r.allow(support::ClientToken::ANONYMOUS); }},
    {"the client allows identification", [](R& r) { r.allow(support::ClientToken::IDENTIFICATION); }},
    {"the client allows delegation", [](R& r) { r.allow(support::ClientToken::DELEGATION); }},
    {"the client has no token", [](R& r) { r.allow(support::ClientToken::NONE); }},
    {"the client cannot be impersonated",
     [](R& r) { r.call->impersonateStatus = HRESULT_FROM_WIN32(ERROR_CANNOT_IMPERSONATE); }},
    {"there is no call", [](R& r) { r.call.reset(); }},
    {"identification and no sink",
     [](R& r) {
         r.allow(support::ClientToken::IDENTIFICATION);
         r.client = nullptr;
     }},
    // The arguments.
    {"no namespace", [](R& r) { r.isInitialized = false; }},
    {"no path", [](R& r) { r.hasPath = false; }},
    {"an empty path",
     [](R& r) {
         r.path = "";
         r.setObjectPath(samples::bstr(""));
     }},
    {"a text that is no path",
     [](R& r) {
         r.path = "nonsense";
         r.setObjectPath(samples::bstr("nonsense"));
     }},
    {"a path of another class", [](R& r) { r.path = "Zerix_Other.k=1"; }},
    {"no object", [](R& r) { r.what = nullptr; }},
    {"no context", [](R& r) { r.given = nullptr; }},
    {"no sink", [](R& r) { r.client = nullptr; }},
    {"flags 0", [](R& r) { r.flags = 0; }},
    {"flags 2", [](R& r) { r.flags = WBEM_FLAG_CREATE_ONLY; }},
    {"flags 3", [](R& r) { r.flags = 3; }},
    {"flags 0x10", [](R& r) { r.flags = WBEM_FLAG_RETURN_IMMEDIATELY; }},
    {"flags 0x20001", [](R& r) { r.flags = 0x20001; }},
    {"flags 0x20000", [](R& r) { r.flags = WBEM_FLAG_USE_AMENDED_QUALIFIERS; }},
    {"all flags", [](R& r) { r.flags = -1; }},
    {"no flags and no sink",
     [](R& r) {
         r.flags = 0;
         r.client = nullptr;
     }},
    // The sink.
    {"Indicate fails", [](R& r) { r.sink.indicateAnswers = {BROKEN}; }},
    {"Indicate answers 1", [](R& r) { r.sink.indicateAnswers = {POSITIVE}; }},
    {"SetStatus fails", [](R& r) { r.sink.statusAnswers.assign(2, BROKEN); }},
    {"SetStatus answers 1", [](R& r) { r.sink.statusAnswers.assign(2, POSITIVE); }},
    {"Indicate throws", [](R& r) { r.sink.onIndicate = [](IWbemClassObject*) { throw std::runtime_error("x"); }; }},
    {"SetStatus throws", [](R& r) { r.sink.onStatus = [] { throw std::runtime_error("x"); }; }},
    // WMI's objects.
    {"GetObject fails", [](R& r) { r.wmiNamespace.classes.clear(); }},
    {"GetObject gives nothing", [](R& r) { r.wmiNamespace.classes["Zerix_EthernetPort"] = nullptr; }},
    {"GetObject answers 1", [](R& r) { r.wmiNamespace.getObjectStatus = POSITIVE; }},
    {"GetObject fails and gives", [](R& r) { r.wmiNamespace.getObjectStatus = BROKEN; }},
    {"SpawnInstance fails",
     [](R& r) {
         r.port.spawnStatus = r.signature.spawnStatus = BROKEN;
         r.port.spawnsNothing = r.signature.spawnsNothing = true;
     }},
    {"SpawnInstance fails and gives", [](R& r) { r.port.spawnStatus = r.signature.spawnStatus = BROKEN; }},
    {"SpawnInstance gives nothing", [](R& r) { r.port.spawnsNothing = r.signature.spawnsNothing = true; }},
    {"SpawnInstance answers 1", [](R& r) { r.port.spawnStatus = r.signature.spawnStatus = POSITIVE; }},
    {"Put fails",
     [](R& r) {
         r.port.putStatus = {{"DeviceID", BROKEN}};
         r.signature.putStatus = {{"ReturnValue", BROKEN}, {"Job", BROKEN}};
     }},
    {"Put answers 1",
     [](R& r) {
         r.port.putStatus = {{"DeviceID", POSITIVE}};
         r.signature.putStatus = {{"ReturnValue", POSITIVE}, {"Job", POSITIVE}};
     }},
    {"Put throws", [](R& r) { r.port.onPut = r.signature.onPut = [] { throw std::runtime_error("x"); }; }},
    {"GetMethod fails", [](R& r) { r.port.methods.clear(); }},
    {"GetMethod fails and gives", [](R& r) { r.port.getMethodStatus = BROKEN; }},
    {"GetMethod answers 1", [](R& r) { r.port.getMethodStatus = POSITIVE; }},
    {"GetMethod gives nothing", [](R& r) { r.port.methods["Run"] = nullptr; }},
    {"the walk over the keys fails", [](R& r) { r.object.beginKeysStatus = BROKEN; }},
    {"the walk over the properties fails", [](R& r) { r.object.beginStatus = r.signature.beginStatus = BROKEN; }},
    {"Next fails at the end", [](R& r) { r.object.endOfEnumeration = BROKEN; }},
    {"Next throws", [](R& r) { r.object.onNext = [] { throw std::runtime_error("x"); }; }},
    {"the object has no path", [](R& r) { r.setObjectPath(VARIANT{}); }},
    {"the object's path is null", [](R& r) { r.setObjectPath(samples::null()); }},
    {"the path fails and is given", [](R& r) { r.object.pathStatus = BROKEN; }},
    {"a value of another type", [](R& r) { r.object.add("Number", samples::bstr("text"), CIM_UINT32); }},
    {"a value of a type without converter", [](R& r) { r.object.add("Number", samples::i4(1), CIM_SINT32); }},
    {"an array of something else",
     [](R& r) {
         VARIANT wrong = support::numbersVariant({1});
         wrong.vt = VT_ARRAY | VT_BSTR;
         r.object.add("Names", wrong, CIM_STRING | CIM_FLAG_ARRAY);
     }},
    {"a property of an unknown type",
     [](R& r) { samples::add<samples::PropertyOfNoKnownType>(r.instance, "Strange", "?"); }},
    {"a reference to nowhere",
     [](R& r) { samples::add<core::CimPropertyRef>(r.instance, "Nowhere", std::string("C.k=1")); }},
    {"a time that no calendar has",
     [](R& r) { samples::add<core::CimPropertyDatetime>(r.instance, "Never", utils::Time::timestamp(~0ULL)); }},
    {"a null of every type",
     [](R& r) {
         new core::CimPropertyString("NullText", &r.instance);
         new core::CimPropertyString_arr("NullTexts", &r.instance);
         new core::CimPropertyUint8("NullUint8", &r.instance);
         new core::CimPropertyUint16("NullUint16", &r.instance);
         new core::CimPropertyUint16_arr("NullUint16s", &r.instance);
         new core::CimPropertyUint32("NullUint32", &r.instance);
         new core::CimPropertyUint32_arr("NullUint32s", &r.instance);
         new core::CimPropertyUint64("NullUint64", &r.instance);
         new core::CimPropertyBool("NullBool", &r.instance);
         new core::CimPropertyDatetime("NullTime", &r.instance);
         new core::CimPropertyRef("NullReference", &r.instance);
     }},
    // The platform.
    {"SafeArrayCreateVector fails", asItIs, "SafeArrayCreateVector", gives<decltype(SafeArrayCreateVector), nullptr>},
    {"SafeArrayPutElement fails", asItIs, "SafeArrayPutElement", gives<decltype(SafeArrayPutElement), E_OUTOFMEMORY>},
    {"SafeArrayGetElement fails", asItIs, "SafeArrayGetElement", gives<decltype(SafeArrayGetElement), E_OUTOFMEMORY>},
    {"SafeArrayGetUBound fails", asItIs, "SafeArrayGetUBound", gives<decltype(SafeArrayGetUBound), DISP_E_BADINDEX>},
    {"SafeArrayGetLBound fails", asItIs, "SafeArrayGetLBound", gives<decltype(SafeArrayGetLBound), DISP_E_BADINDEX>},
    {"SafeArrayCopy fails", asItIs, "SafeArrayCopy", support::WrappedImport<decltype(SafeArrayCopy), noCopy>::install},
    {"SafeArrayLock fails", asItIs, "SafeArrayLock", gives<decltype(SafeArrayLock), E_UNEXPECTED>},
    {"no memory for a BSTR", asItIs, "SysAllocStringLen", gives<decltype(SysAllocStringLen), nullptr>},
    {"no memory", asItIs, "_Znwy", support::WrappedImport<void*(std::size_t), noMemory>::install},
};

std::string thrownText(const std::exception& exception)
{
    static const std::regex ofStandard("^St\\d+");
    static const std::regex ofNamespace("^N\\d+([a-z]+)\\d+(\\w+)E$");
    const std::string name = std::regex_replace(typeid(exception).name(), ofStandard, "std::");
    return "throws " + std::regex_replace(name, ofNamespace, "$1::$2") + " " + exception.what();
}

std::string answerOf(R& r, const Request& request, BSTR path, BSTR method)
{
    try {
        return support::hex(request.send(r, path, method));
    } catch (const std::exception& exception) {
        return support::withoutLine(thrownText(exception));
    } catch (const _com_error& error) {
        return "throws _com_error " + support::hex(error.Error());
    } catch (int) {
        return "throws int";
    }
}

// "answer | sink's calls | error lines". The answer says if no client was impersonated or the broker was not called.
std::string outcomeOf(const Request& request, const Failure& failure)
{
    static const std::regex line("ZerixDRAVEv2: [^:]*:\\d+:.*?([~\\w]+): error: ([^]*)\n");
    TriedRequest r;
    r.path = request.path;
    failure.arrange(r);
    r.start(r.isInitialized ? &r.wmiNamespace : nullptr);
    const utils::ScopedBstr path(r.path);
    const utils::ScopedBstr method("Run");
    r.calls.take();
    r.log.clear();
    auto hook = failure.function == nullptr ? nullptr : failure.install(failure.function, r.module.handle());
    const std::string answer = answerOf(r, request, r.hasPath ? path.get() : nullptr, method.get());
    hook.reset();
    EXPECT_FALSE(support::threadHasToken());
    r.provider.reset();
    EXPECT_EQ(r.module.canUnloadNow(), S_OK);
    std::string sent;
    bool acted = false;
    bool asked = false;
    for (const std::string& call : r.calls.take()) {
        acted = acted || call == "call.ImpersonateClient()";
        asked = asked || call.starts_with("broker.");
        if (call.starts_with("sink.")) {
            sent += (sent.empty() ? "" : ", ") + call.substr(5);
        }
    }
    std::string errors;
    for (const std::string& event : r.log.events()) {
        const std::string text = std::regex_replace(support::withoutLine(event), line, "$1: $2");
        if (!text.starts_with("Exception: ")) {
            errors += (errors.empty() ? "" : "; ") + support::withoutAddressesAndLines(text);
        }
    }
    return answer + (acted ? "" : " as itself") + (asked ? " | " : " without the broker | ") + sent + " | " + errors;
}

// A failure that a request does not notice has no row. The module stays loaded, so that a failure with effects on
// later requests becomes visible.
TEST(StatusMatrixTest, Requests_answerAsInTheMatrix)
{
    const support::ProviderModule stays;
    Lines rows;
    for (const Request& request : REQUESTS) {
        const Failure& none = FAILURES[0];
        const std::string undisturbed = outcomeOf(request, none);
        rows.push_back(request.name + std::string(" | ") + none.name + " | " + undisturbed);
        for (const Failure& failure : FAILURES) {
            SCOPED_TRACE(request.name + std::string(" when ") + failure.name);
            const std::string outcome = outcomeOf(request, failure);
            if (outcome != undisturbed) {
                rows.push_back(request.name + std::string(" | ") + failure.name + " | " + outcome);
            }
            EXPECT_EQ(outcomeOf(request, none), undisturbed) << "afterwards";
        }
    }
    support::expectBaseline(std::string(ZERIX_BASELINES) + "/status-matrix.txt", rows);
}

}  // namespace
