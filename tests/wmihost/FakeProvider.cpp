#include "FakeProvider.h"

#include <gtest/gtest.h>

#include <mutex>
#include <regex>

#include "wmihost/com/Guard.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr CLSID FAKE_CLASS_ID = {0x5f3c2a10, 0x7b1e, 0x4d52, {0x9a, 0x31, 0x0c, 0x44, 0x5e, 0x6f, 0x70, 0x81}};

class FakeProvider final : public RefusingServices, public IWbemProviderInit
{
public:
    explicit FakeProvider(FakeBehaviour& behaviour) : m_behaviour(behaviour) { ++m_behaviour.alive; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (iid == __uuidof(IWbemProviderInit)) {
            *object = static_cast<IWbemProviderInit*>(this);
            AddRef();
            return S_OK;
        }
        return RefusingServices::QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return RefusingServices::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return RefusingServices::Release(); }

    HRESULT STDMETHODCALLTYPE Initialize(LPWSTR user, LONG, LPWSTR nameSpace, LPWSTR, IWbemServices* services,
                                         IWbemContext* context, IWbemProviderInitSink* sink) override
    {
        EXPECT_NE(context, nullptr);
        EXPECT_TRUE(user != nullptr && *user != L'\0');
        m_behaviour.requests.push_back("start in " + toUtf8(nameSpace));
        m_services = ComPtr<IWbemServices>(services);
        if (m_behaviour.initStatus) {
            sink->SetStatus(*m_behaviour.initStatus, 0);
        }
        return m_behaviour.returnedByInitialize;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR name, LONG, IWbemContext* context,
                                                      IWbemObjectSink* sink) override
    {
        record("enumerate " + toUtf8(viewOf(name)));
        return m_behaviour.enumerate ? m_behaviour.enumerate(*m_services.get(), viewOf(name), context, sink)
                                     : code(WBEM_E_NOT_SUPPORTED);
    }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR path, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        record("get " + toUtf8(viewOf(path)));
        return m_behaviour.get ? m_behaviour.get(*m_services.get(), viewOf(path), sink) : code(WBEM_E_NOT_SUPPORTED);
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* object, LONG flags, IWbemContext*,
                                               IWbemObjectSink* sink) override
    {
        record("put " + textOf(object));
        return m_behaviour.put ? m_behaviour.put(object, flags, sink) : code(WBEM_E_NOT_SUPPORTED);
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR path, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        record("delete " + toUtf8(viewOf(path)));
        return m_behaviour.remove ? m_behaviour.remove(viewOf(path), sink) : code(WBEM_E_NOT_SUPPORTED);
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR path, BSTR method, LONG, IWbemContext*, IWbemClassObject* in,
                                              IWbemObjectSink* sink) override
    {
        record("invoke " + toUtf8(viewOf(path)) + " " + toUtf8(viewOf(method)) +
               (in == nullptr ? " without an object" : " with " + textOf(in)));
        return m_behaviour.execMethod ? m_behaviour.execMethod(*m_services.get(), viewOf(method), in, sink)
                                      : code(WBEM_E_NOT_SUPPORTED);
    }

private:
    ~FakeProvider() override { --m_behaviour.alive; }

    // The MOF of an object in one line.
    static std::string textOf(IWbemClassObject* object)
    {
        Bstr text;
        EXPECT_EQ(object->GetObjectText(0, text.put()), 0);
        const std::string joined = std::regex_replace(toUtf8(text.view()), std::regex("\n *"), " ");
        return joined.substr(0, joined.size() - 1);
    }

    void record(std::string request)
    {
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        m_behaviour.requests.push_back(std::move(request));
        if (m_behaviour.onRequest) {
            m_behaviour.onRequest();
        }
    }

    FakeBehaviour& m_behaviour;
    ComPtr<IWbemServices> m_services;
};

}  // namespace

FakeProviderScope::FakeProviderScope(FakeBehaviour& behaviour)
    : m_class(FAKE_CLASS_ID, [&behaviour] {
          const auto provider = ComPtr<FakeProvider>::adopt(new FakeProvider(behaviour));
          return ComPtr<IUnknown>(static_cast<IWbemServices*>(provider.get()));
      })
{
}

const char* const FAKE_MOF = R"(#pragma namespace("\\\\.\\root\\test")
instance of __Win32Provider as $P
{
    Name = "FakeProvider";
    CLSID = "{5F3C2A10-7B1E-4D52-9A31-0C445E6F7081}";
};
instance of __InstanceProviderRegistration
{
    Provider = $P;
    SupportsGet = TRUE;
    SupportsPut = TRUE;
    SupportsEnumeration = TRUE;
};
instance of __MethodProviderRegistration
{
    Provider = "__Win32Provider.Name=\"FakeProvider\"";
};
[dynamic, provider("FakeProvider"), Description("A thing.")]
class Fake_Thing
{
    [key, read, Description("Its name.")] string Name;
    [read, write, MinValue(1), MaxValue(600), Description("How many.")] uint16 Count = 3;
    [read, ValueMap{"2", "3"}, Values{"Enabled", "Disabled"}, Description("Its state.")] uint16 State;
    [read, Counter, Units("Bytes"), Description("Bytes so far.")] uint64 Bytes;
    [implemented, ValueMap{"0", "5"}, Values{"Done", "Invalid"}, Description("Turns it.")]
    uint32 Turn([in] uint16 Degrees, [out] string Said);
    [implemented, Description("Rests.")] uint32 Rest();
    [implemented, ValueMap{"7"}, Values{"Successful, with a restart"}, Description("Tilts it.")]
    uint32 Tilt([in, MaxValue(90)] uint16 Angle, [in, ValueMap{"1", "2"}, Values{"Long", "Short"}] uint16 Axis);
};
[dynamic, provider("AbsentProvider")]
class Fake_Stray
{
    [key] string Name;
};
class Fake_Orphan
{
    [key] string Name;
};
)";

}  // namespace wmihost
