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

// The answer of each request of the built DLL when something fails, and what the sink and the event log receive. The
// program makes the exceptions of the broker, and the DLL catches them, or the other way round. Both sides must agree
// on types that are equal only by their names.
namespace {

using support::Lines;

class PropertyOfNoKnownType : public core::CimPropertyString
{
public:
    using CimPropertyString::CimPropertyString;
    EPropertyType getType() const override { return static_cast<EPropertyType>(77); }
};

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

    // During the request, the provider's calls of the imported function go to the replacement.
    template <class Function>
    void replace(const char* name, Function* replacement)
    {
        install = [=, this] { m_hook = std::make_unique<support::ImportHook>(name, replacement, module.handle()); };
    }
    void putBack() { m_hook.reset(); }

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
    IWbemObjectSink* to = &sink;
    IWbemClassObject* what = &object;
    core::CimInstance* found = nullptr;
    std::function<void()> install;

private:
    std::unique_ptr<support::ImportHook> m_hook;
};

struct Request
{
    const char* name;
    // The class or path that a request uses by default.
    const char* path;
    HRESULT (*send)(TriedRequest& r, BSTR path, BSTR method);
};

constexpr Request REQUESTS[] = {
    {"enumerate", "Zerix_EthernetPort",
     [](TriedRequest& r, BSTR path, BSTR) {
         return r.provider->CreateInstanceEnumAsync(path, r.flags, r.given, r.to);
     }},
    {"get", RequestWorld::PORT_PATH,
     [](TriedRequest& r, BSTR path, BSTR) {
         r.found = &r.instance;
         return r.provider->GetObjectAsync(path, r.flags, r.given, r.to);
     }},
    {"put", "",
     [](TriedRequest& r, BSTR, BSTR) { return r.provider->PutInstanceAsync(r.what, r.flags, r.given, r.to); }},
    {"delete", RequestWorld::JOB_PATH,
     [](TriedRequest& r, BSTR path, BSTR) {
         r.found = &r.job;
         return r.provider->DeleteInstanceAsync(path, r.flags, r.given, r.to);
     }},
    {"method", RequestWorld::PORT_PATH,
     [](TriedRequest& r, BSTR path, BSTR method) {
         return r.provider->ExecMethodAsync(path, method, r.flags, r.given, r.what, r.to);
     }},
};

struct Failure
{
    const char* name;
    void (*arrange)(TriedRequest& r);
};

constexpr auto BROKEN = static_cast<HRESULT>(WBEM_E_FAILED);
constexpr HRESULT POSITIVE = 1;

BSTR WINAPI noBstr(const OLECHAR*, UINT)
{
    return nullptr;
}

SAFEARRAY* WINAPI noVector(VARTYPE, LONG, ULONG)
{
    return nullptr;
}

HRESULT WINAPI noElement(SAFEARRAY*, LONG*, void*)
{
    return E_OUTOFMEMORY;
}

HRESULT WINAPI noBound(SAFEARRAY*, UINT, LONG*)
{
    return DISP_E_BADINDEX;
}

HRESULT WINAPI noCopy(SAFEARRAY*, SAFEARRAY** copy)
{
    *copy = nullptr;
    return E_OUTOFMEMORY;
}

HRESULT WINAPI noLock(SAFEARRAY*)
{
    return E_UNEXPECTED;
}

void* noMemory(std::size_t)
{
    throw std::bad_alloc();
}

void giveClient(TriedRequest& r, support::ClientToken token)
{
    r.call.reset();
    r.call.emplace(r.calls, token);
}

template <class Exception>
void throwing(TriedRequest& r)
{
    r.brokerThrows([] { throw Exception("x"); });
}

constexpr Failure FAILURES[] = {
    {"nothing fails", [](TriedRequest&) {}},
    // The broker.
    {"the broker throws utils::EInvalidParameter", &throwing<utils::EInvalidParameter>},
    {"the broker throws utils::EForbidden", &throwing<utils::EForbidden>},
    {"the broker throws utils::ENotSupported", &throwing<utils::ENotSupported>},
    {"the broker throws utils::ENotFound", &throwing<utils::ENotFound>},
    {"the broker throws utils::EFailed", &throwing<utils::EFailed>},
    {"the broker throws utils::ESyntaxError", &throwing<utils::ESyntaxError>},
    {"the broker throws utils::Exception",
     [](TriedRequest& r) { r.brokerThrows([] { throw utils::Exception(std::string("x")); }); }},
    {"the broker throws wa::EInvalidParameter", &throwing<wa::EInvalidParameter>},
    {"the broker throws wa::EMethodNotSupported", &throwing<wa::EMethodNotSupported>},
    {"the broker throws wa::EWmiNotFound", &throwing<wa::EWmiNotFound>},
    {"the broker throws std::runtime_error", &throwing<std::runtime_error>},
    {"the broker throws std::bad_alloc", [](TriedRequest& r) { r.brokerThrows([] { throw std::bad_alloc(); }); }},
    {"the broker throws _com_error", [](TriedRequest& r) { r.brokerThrows([] { throw _com_error(E_OUTOFMEMORY); }); }},
    {"the broker throws an int", [](TriedRequest& r) { r.brokerThrows([] { throw 7; }); }},
    {"the broker has nothing",
     [](TriedRequest& r) {
         r.broker.onGetInstances = nullptr;
         r.broker.onFind = nullptr;
         r.broker.onInvoke = nullptr;
     }},
    // The client.
    {"the client is anonymous", [](TriedRequest& r) { giveClient(r, support::ClientToken::ANONYMOUS); }},
    {"the client allows identification", [](TriedRequest& r) { giveClient(r, support::ClientToken::IDENTIFICATION); }},
    {"the client allows delegation", [](TriedRequest& r) { giveClient(r, support::ClientToken::DELEGATION); }},
    {"the client has no token", [](TriedRequest& r) { giveClient(r, support::ClientToken::NONE); }},
    {"the client cannot be impersonated",
     [](TriedRequest& r) { r.call->impersonateStatus = HRESULT_FROM_WIN32(ERROR_CANNOT_IMPERSONATE); }},
    {"there is no call", [](TriedRequest& r) { r.call.reset(); }},
    {"identification and no sink",
     [](TriedRequest& r) {
         giveClient(r, support::ClientToken::IDENTIFICATION);
         r.to = nullptr;
     }},
    // The arguments.
    {"no namespace", [](TriedRequest& r) { r.isInitialized = false; }},
    {"no path", [](TriedRequest& r) { r.hasPath = false; }},
    {"an empty path",
     [](TriedRequest& r) {
         r.path = "";
         r.setObjectPath(samples::bstr(""));
     }},
    {"a text that is no path",
     [](TriedRequest& r) {
         r.path = "nonsense";
         r.setObjectPath(samples::bstr("nonsense"));
     }},
    {"a path of another class", [](TriedRequest& r) { r.path = "Zerix_Other.k=1"; }},
    {"no object", [](TriedRequest& r) { r.what = nullptr; }},
    {"no context", [](TriedRequest& r) { r.given = nullptr; }},
    {"no sink", [](TriedRequest& r) { r.to = nullptr; }},
    {"flags 0", [](TriedRequest& r) { r.flags = 0; }},
    {"flags 2", [](TriedRequest& r) { r.flags = WBEM_FLAG_CREATE_ONLY; }},
    {"flags 3", [](TriedRequest& r) { r.flags = 3; }},
    {"flags 0x10", [](TriedRequest& r) { r.flags = WBEM_FLAG_RETURN_IMMEDIATELY; }},
    {"flags 0x20001", [](TriedRequest& r) { r.flags = 0x20001; }},
    {"flags 0x20000", [](TriedRequest& r) { r.flags = WBEM_FLAG_USE_AMENDED_QUALIFIERS; }},
    {"all flags", [](TriedRequest& r) { r.flags = -1; }},
    {"no flags and no sink",
     [](TriedRequest& r) {
         r.flags = 0;
         r.to = nullptr;
     }},
    // The sink.
    {"Indicate fails", [](TriedRequest& r) { r.sink.indicateAnswers = {BROKEN}; }},
    {"Indicate answers 1", [](TriedRequest& r) { r.sink.indicateAnswers = {POSITIVE}; }},
    {"SetStatus fails",
     [](TriedRequest& r) {
         r.sink.statusAnswers = {BROKEN, BROKEN};
     }},
    {"SetStatus answers 1",
     [](TriedRequest& r) {
         r.sink.statusAnswers = {POSITIVE, POSITIVE};
     }},
    {"Indicate throws",
     [](TriedRequest& r) { r.sink.onIndicate = [](IWbemClassObject*) { throw std::runtime_error("x"); }; }},
    {"SetStatus throws", [](TriedRequest& r) { r.sink.onStatus = [] { throw std::runtime_error("x"); }; }},
    // WMI's objects.
    {"GetObject fails", [](TriedRequest& r) { r.wmiNamespace.classes.clear(); }},
    {"GetObject gives nothing", [](TriedRequest& r) { r.wmiNamespace.classes["Zerix_EthernetPort"] = nullptr; }},
    {"GetObject answers 1", [](TriedRequest& r) { r.wmiNamespace.getObjectStatus = POSITIVE; }},
    {"GetObject fails and gives", [](TriedRequest& r) { r.wmiNamespace.getObjectStatus = BROKEN; }},
    {"SpawnInstance fails",
     [](TriedRequest& r) {
         r.port.spawnStatus = r.signature.spawnStatus = BROKEN;
         r.port.spawnsNothing = r.signature.spawnsNothing = true;
     }},
    {"SpawnInstance fails and gives", [](TriedRequest& r) { r.port.spawnStatus = r.signature.spawnStatus = BROKEN; }},
    {"SpawnInstance gives nothing", [](TriedRequest& r) { r.port.spawnsNothing = r.signature.spawnsNothing = true; }},
    {"SpawnInstance answers 1", [](TriedRequest& r) { r.port.spawnStatus = r.signature.spawnStatus = POSITIVE; }},
    {"Put fails",
     [](TriedRequest& r) {
         r.port.putStatus = {{"DeviceID", BROKEN}};
         r.signature.putStatus = {{"ReturnValue", BROKEN}, {"Job", BROKEN}};
     }},
    {"Put answers 1",
     [](TriedRequest& r) {
         r.port.putStatus = {{"DeviceID", POSITIVE}};
         r.signature.putStatus = {{"ReturnValue", POSITIVE}, {"Job", POSITIVE}};
     }},
    {"Put throws", [](TriedRequest& r) { r.port.onPut = r.signature.onPut = [] { throw std::runtime_error("x"); }; }},
    {"GetMethod fails", [](TriedRequest& r) { r.port.methods.clear(); }},
    {"GetMethod fails and gives", [](TriedRequest& r) { r.port.getMethodStatus = BROKEN; }},
    {"GetMethod answers 1", [](TriedRequest& r) { r.port.getMethodStatus = POSITIVE; }},
    {"GetMethod gives nothing", [](TriedRequest& r) { r.port.methods["Run"] = nullptr; }},
    {"the walk over the keys fails", [](TriedRequest& r) { r.object.beginKeysStatus = BROKEN; }},
    {"the walk over the properties fails",
     [](TriedRequest& r) { r.object.beginStatus = r.signature.beginStatus = BROKEN; }},
    {"Next fails at the end", [](TriedRequest& r) { r.object.endOfEnumeration = BROKEN; }},
    {"Next throws", [](TriedRequest& r) { r.object.onNext = [] { throw std::runtime_error("x"); }; }},
    {"the object has no path", [](TriedRequest& r) { r.setObjectPath(VARIANT{}); }},
    {"the object's path is null", [](TriedRequest& r) { r.setObjectPath(samples::null()); }},
    {"the path fails and is given", [](TriedRequest& r) { r.object.pathStatus = BROKEN; }},
    {"a value of another type", [](TriedRequest& r) { r.object.add("Number", samples::bstr("text"), CIM_UINT32); }},
    {"a value of a type without converter",
     [](TriedRequest& r) { r.object.add("Number", samples::i4(1), CIM_SINT32); }},
    {"an array of something else",
     [](TriedRequest& r) {
         VARIANT wrong = support::numbersVariant({1});
         wrong.vt = VT_ARRAY | VT_BSTR;
         r.object.add("Names", wrong, CIM_STRING | CIM_FLAG_ARRAY);
     }},
    {"a property of an unknown type",
     [](TriedRequest& r) { samples::add<PropertyOfNoKnownType>(r.instance, "Strange", "?"); }},
    {"a reference to nowhere",
     [](TriedRequest& r) { samples::add<core::CimPropertyRef>(r.instance, "Nowhere", std::string("C.k=1")); }},
    {"a time that no calendar has",
     [](TriedRequest& r) {
         samples::add<core::CimPropertyDatetime>(r.instance, "Never", utils::Time::timestamp(~0ULL));
     }},
    {"a null of every type",
     [](TriedRequest& r) {
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
    {"SafeArrayCreateVector fails", [](TriedRequest& r) { r.replace("SafeArrayCreateVector", &noVector); }},
    {"SafeArrayPutElement fails", [](TriedRequest& r) { r.replace("SafeArrayPutElement", &noElement); }},
    {"SafeArrayGetElement fails", [](TriedRequest& r) { r.replace("SafeArrayGetElement", &noElement); }},
    {"SafeArrayGetUBound fails", [](TriedRequest& r) { r.replace("SafeArrayGetUBound", &noBound); }},
    {"SafeArrayGetLBound fails", [](TriedRequest& r) { r.replace("SafeArrayGetLBound", &noBound); }},
    {"SafeArrayCopy fails", [](TriedRequest& r) { r.replace("SafeArrayCopy", &noCopy); }},
    {"SafeArrayLock fails", [](TriedRequest& r) { r.replace("SafeArrayLock", &noLock); }},
    {"no memory for a BSTR", [](TriedRequest& r) { r.replace("SysAllocStringLen", &noBstr); }},
    {"no memory", [](TriedRequest& r) { r.replace("_Znwy", &noMemory); }},
};

std::string thrownText(const std::exception& exception)
{
    static const std::regex ofStandard("^St\\d+");
    static const std::regex ofNamespace("^N\\d+([a-z]+)\\d+(\\w+)E$");
    const std::string name = std::regex_replace(typeid(exception).name(), ofStandard, "std::");
    return "throws " + std::regex_replace(name, ofNamespace, "$1::$2") + " " + exception.what();
}

std::string answerOf(TriedRequest& r, const Request& request, BSTR path, BSTR method)
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
    if (r.install) {
        r.install();
    }
    const std::string answer = answerOf(r, request, r.hasPath ? path.get() : nullptr, method.get());
    r.putBack();
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
