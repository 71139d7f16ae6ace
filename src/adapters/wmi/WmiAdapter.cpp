#include "adapters/wmi/WmiAdapter.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/Impersonator.h"
#include "adapters/wmi/InstanceModifier.h"
#include "adapters/wmi/InstanceRemover.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiConverter.h"
#include "core/MethodErrors.h"

namespace {

constexpr const char* FILE_NAME = "WmiAdapter";

HRESULT complete(IWbemObjectSink* sink, HRESULT status)
{
    return sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
}

// The total in the high word, the index of the object just delivered in the low one.
HRESULT progressOf(std::size_t total, std::size_t index) noexcept
{
    return static_cast<HRESULT>(((static_cast<std::uint32_t>(total) & 0xFFFFU) << 16U) |
                                (static_cast<std::uint32_t>(index) & 0xFFFFU));
}

// The objects of an enumeration that are not delivered yet; releases them on every way out.
class Undelivered
{
public:
    explicit Undelivered(std::vector<IWbemClassObject*>&& objects) noexcept : m_objects(std::move(objects)) {}
    Undelivered(const Undelivered&) = delete;
    Undelivered& operator=(const Undelivered&) = delete;
    ~Undelivered()
    {
        while (m_next < m_objects.size()) {
            releaseNext();
        }
    }

    std::size_t total() const noexcept { return m_objects.size(); }
    IWbemClassObject*& next() noexcept { return m_objects[m_next]; }
    void releaseNext() noexcept { m_objects[m_next++]->Release(); }

private:
    std::vector<IWbemClassObject*> m_objects;
    std::size_t m_next = 0;
};

}  // namespace

WmiInstanceProvider::WmiInstanceProvider() noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::WmiInstanceProvider"};
    here.debug("Creating WmiInstanceProvider");
    ++server::objectCount;
}

WmiInstanceProvider::~WmiInstanceProvider()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::~WmiInstanceProvider"};
    here.debug("Destroying WmiInstanceProvider");
    if (m_namespace != nullptr) {
        m_namespace->Release();
    }
    --server::objectCount;
}

HRESULT WmiInstanceProvider::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (IsEqualIID(riid, IID_IWbemServices)) {
        *ppv = static_cast<IWbemServices*>(this);
    }
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IWbemProviderInit)) {
        *ppv = static_cast<IWbemProviderInit*>(this);
    }
    if (*ppv == nullptr) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG WmiInstanceProvider::AddRef()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::AddRef"};
    const std::int32_t count = ++m_refCount;
    here.debug("AddRef, count is %d", count);
    return static_cast<ULONG>(count);
}

ULONG WmiInstanceProvider::Release()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::Release"};
    const std::int32_t count = --m_refCount;
    here.debug("Release, count is %d", count);
    if (count == 0) {
        delete this;
    }
    return static_cast<ULONG>(count);
}

HRESULT WmiInstanceProvider::Initialize(LPWSTR /*wszUser*/, LONG /*lFlags*/, LPWSTR wszNamespace, LPWSTR /*wszLocale*/,
                                        IWbemServices* pNamespace, IWbemContext* /*pCtx*/,
                                        IWbemProviderInitSink* pInitSink)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::Initialize"};
    here.debug("Initializing");
    if (pNamespace == nullptr) {
        if (pInitSink != nullptr) {
            pInitSink->SetStatus(wa::hresult(WBEM_E_FAILED), 0);
        }
        return WBEM_S_NO_ERROR;
    }
    pNamespace->AddRef();
    if (m_namespace != nullptr) {
        m_namespace->Release();
    }
    m_namespace = pNamespace;
    if (pInitSink != nullptr) {
        pInitSink->SetStatus(WBEM_S_INITIALIZED, 0);
    }
    if (here.debugOn()) {
        here.debug("Namespace: %s", utils::narrow(wszNamespace).c_str());
    }
    return WBEM_S_NO_ERROR;
}

// Has no handler of its own: what the conversion layer throws passes through to the caller, and only the identity is
// given back on the way.
HRESULT WmiInstanceProvider::CreateInstanceEnumAsync(BSTR strClass, LONG /*lFlags*/, IWbemContext* pCtx,
                                                     IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::CreateInstanceEnumAsync"};
    here.debug("Here");
    const Impersonator impersonator(pResponseHandler);
    if (!impersonator.succeeded()) {
        return wa::hresult(WBEM_E_ACCESS_DENIED);
    }
    if (pResponseHandler == nullptr || m_namespace == nullptr) {
        here.debug("INVALID PARAMETER");
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    Undelivered objects(wa::WmiConverter::getInstance()->getInstances(m_namespace, strClass, pCtx));
    here.debug("Delivering instances to WMI");
    for (std::size_t i = 0; i < objects.total(); ++i) {
        HRESULT hr = pResponseHandler->Indicate(1, &objects.next());
        if (hr != 0) {
            here.error("pHandler->Indicate() error 0x%X", hr);
        } else {
            here.debug("Indicate .. OK");
        }
        objects.releaseNext();
        hr = pResponseHandler->SetStatus(WBEM_STATUS_PROGRESS, progressOf(objects.total(), i), nullptr, nullptr);
        if (hr != 0) {
            // Says Indicate as well, like every failed report of a status: filters know this one text.
            here.error("pHandler->Indicate() error 0x%X", hr);
        } else {
            here.debug("SetStatus .. OK");
        }
    }
    here.debug("%d instances delivered ", static_cast<int>(objects.total()));
    const HRESULT hr = complete(pResponseHandler, WBEM_S_NO_ERROR);
    if (hr != 0) {
        here.error("pHandler->Indicate() error 0x%X", hr);
    } else {
        here.debug("SetStatus .. OK");
    }
    return WBEM_S_NO_ERROR;
}

HRESULT WmiInstanceProvider::GetObjectAsync(BSTR strObjectPath, LONG /*lFlags*/, IWbemContext* pCtx,
                                            IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::GetObjectAsync"};
    if (strObjectPath == nullptr || pResponseHandler == nullptr || m_namespace == nullptr) {
        here.error("GetObjectAsync invalid parameter %p %p %p", static_cast<void*>(strObjectPath), pResponseHandler,
                   m_namespace);
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    const std::string path = utils::narrowBstr(strObjectPath);
    here.debug("Get instance: %s", path.c_str());
    const Impersonator impersonator(pResponseHandler);
    if (!impersonator.succeeded()) {
        return wa::hresult(WBEM_E_ACCESS_DENIED);
    }
    HRESULT hr = WBEM_S_NO_ERROR;
    try {
        utils::ComReference<IWbemClassObject> found;
        hr = wa::WmiConverter::getInstance()->getInstanceByPath(path, m_namespace, found.out(), pCtx);
        if (hr == WBEM_S_NO_ERROR) {
            IWbemClassObject* object = found.get();
            pResponseHandler->Indicate(1, &object);
        }
    } catch (const std::exception& exception) {
        here.error("Exception: '%s'", exception.what());
        hr = wa::hresult(WBEM_E_FAILED);
    } catch (...) {
        // COM errors among them: they are no std::exception.
        here.error("Unspecified error");
        hr = wa::hresult(WBEM_E_FAILED);
    }
    complete(pResponseHandler, hr);
    return hr;
}

HRESULT WmiInstanceProvider::PutInstanceAsync(IWbemClassObject* pInst, LONG lFlags, IWbemContext* /*pCtx*/,
                                              IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::PutInstanceAsync"};
    if (pResponseHandler == nullptr || m_namespace == nullptr) {
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    // Only this bit is looked at; whatever else is asked for, an update is what happens.
    if ((lFlags & WBEM_FLAG_UPDATE_ONLY) == 0) {
        here.error("Provider supports only 'WBEM_FLAG_UPDATE_ONLY' modifyInstance mode");
        return wa::hresult(WBEM_E_PROVIDER_NOT_CAPABLE);
    }
    const Impersonator impersonator(pResponseHandler);
    if (!impersonator.succeeded()) {
        return wa::hresult(WBEM_E_ACCESS_DENIED);
    }
    const HRESULT hr = wa::InstanceModifier::getInstance()->modifyInstance(pInst);
    const HRESULT reported = complete(pResponseHandler, hr);
    if (reported != 0) {
        here.error("pHandler->Indicate() error 0x%X", reported);
    }
    return hr;
}

HRESULT WmiInstanceProvider::DeleteInstanceAsync(BSTR strObjectPath, LONG /*lFlags*/, IWbemContext* /*pCtx*/,
                                                 IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::DeleteInstanceAsync"};
    if (strObjectPath == nullptr || pResponseHandler == nullptr || m_namespace == nullptr) {
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    const Impersonator impersonator(pResponseHandler);
    if (!impersonator.succeeded()) {
        return wa::hresult(WBEM_E_ACCESS_DENIED);
    }
    const HRESULT hr = wa::InstanceRemover::getInstance()->deleteInstance(utils::narrowBstr(strObjectPath));
    const HRESULT reported = complete(pResponseHandler, hr);
    if (reported != 0) {
        here.error("pHandler->Indicate() error 0x%X", reported);
    }
    return hr;
}

HRESULT WmiInstanceProvider::ExecMethodAsync(BSTR strObjectPath, BSTR strMethodName, LONG /*lFlags*/,
                                             IWbemContext* pCtx, IWbemClassObject* pInParams,
                                             IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::ExecMethodAsync"};
    here.debug("Here");
    HRESULT hr = WBEM_S_NO_ERROR;
    const Impersonator impersonator(pResponseHandler);
    if (!impersonator.succeeded()) {
        return wa::hresult(WBEM_E_ACCESS_DENIED);
    }
    // Arguments are not checked here: the conversion's own preconditions refuse what is missing.
    const std::string path = utils::narrowBstr(strObjectPath);
    const std::string method = utils::narrowBstr(strMethodName);
    wa::WmiConverter* const converter = wa::WmiConverter::getInstance();
    // The invocation alone is answered for; without the memory to begin it the exception passes to the caller.
    try {
        converter->InvokeMethod(path, method, m_namespace, pCtx, pInParams, pResponseHandler);
    } catch (const wa::EInvalidParameter& exception) {
        here.error("Exception: '%s'", exception.what());
        hr = wa::hresult(WBEM_E_INVALID_PARAMETER);
    } catch (const wa::EMethodNotSupported& exception) {
        here.error("Exception: '%s'", exception.what());
        hr = wa::hresult(WBEM_E_METHOD_NOT_IMPLEMENTED);
    } catch (const wa::EWmiNotFound& exception) {
        here.error("Exception: '%s'", exception.what());
        // What was not found is something that a parameter names.
        hr = wa::hresult(WBEM_E_INVALID_METHOD_PARAMETERS);
    } catch (const utils::Exception& exception) {
        here.error("Exception: '%s'", exception.what());
        hr = wa::hresult(WBEM_E_FAILED);
    } catch (...) {
        here.error("Unspecified error");
        hr = wa::hresult(WBEM_E_FAILED);
    }
    here.debug("Set status: #%X", hr);
    if (pResponseHandler != nullptr) {
        const HRESULT reported = complete(pResponseHandler, hr);
        if (reported != 0) {
            here.error("pResponseHandler->Indicate() error 0x%X", reported);
        }
    }
    return hr;
}
