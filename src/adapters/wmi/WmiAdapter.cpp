#include "adapters/wmi/WmiAdapter.h"

#include <exception>
#include <string>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/Impersonator.h"
#include "adapters/wmi/InstanceModifier.h"
#include "adapters/wmi/InstanceRemover.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/Status.h"
#include "adapters/wmi/WmiConverter.h"
#include "core/MethodErrors.h"

namespace {

constexpr const char* FILE_NAME = "WmiAdapter";

HRESULT complete(IWbemObjectSink* sink, HRESULT status)
{
    return sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
}

// Runs the rest of a request as its client. Where impersonation fails, the sink has had its report when this returns.
template <class Work>
HRESULT asClient(IWbemObjectSink* sink, const Work& work)
{
    const Impersonator impersonator(sink);
    return impersonator.succeeded() ? work() : wa::hresult(WBEM_E_ACCESS_DENIED);
}

// The total in the high word, the index of the object just delivered in the low one.
HRESULT progressOf(std::size_t total, std::size_t index) noexcept
{
    return static_cast<HRESULT>(((static_cast<std::uint32_t>(total) & 0xFFFFU) << 16U) |
                                (static_cast<std::uint32_t>(index) & 0xFFFFU));
}

using Objects = utils::ComReferences<IWbemClassObject>;

// The text says Indicate for a status too: filters know this one text.
void logSinkRefusal(const utils::LogSite& here, HRESULT answer)
{
    if (answer != 0) {
        here.error("pHandler->Indicate() error 0x%X", answer);
    }
}

void logSinkAnswer(const utils::LogSite& here, HRESULT answer, const char* success)
{
    if (answer != 0) {
        logSinkRefusal(here, answer);
    } else {
        here.debug("%s", success);
    }
}

// Indicates each object, and after it reports the progress.
void deliver(const utils::LogSite& here, Objects& objects, IWbemObjectSink* sink)
{
    for (std::size_t i = 0; i < objects.size(); ++i) {
        logSinkAnswer(here, sink->Indicate(1, objects.next()), "Indicate .. OK");
        objects.releaseNext();
        logSinkAnswer(here, sink->SetStatus(WBEM_STATUS_PROGRESS, progressOf(objects.size(), i), nullptr, nullptr),
                      "SetStatus .. OK");
    }
}

// Runs the invocation of a method and returns the status of its end: 0, or that of the exception.
template <class Invocation>
HRESULT statusOf(const utils::LogSite& here, const Invocation& invocation)
{
    const auto failed = [&](const std::exception& exception, WBEMSTATUS status) {
        here.error("Exception: '%s'", exception.what());
        return wa::hresult(status);
    };
    try {
        invocation();
        return WBEM_S_NO_ERROR;
    } catch (const wa::EInvalidParameter& exception) {
        return failed(exception, WBEM_E_INVALID_PARAMETER);
    } catch (const wa::EMethodNotSupported& exception) {
        return failed(exception, WBEM_E_METHOD_NOT_IMPLEMENTED);
    } catch (const wa::EWmiNotFound& exception) {
        // What was not found is something that a parameter names.
        return failed(exception, WBEM_E_INVALID_METHOD_PARAMETERS);
    } catch (const utils::Exception& exception) {
        return failed(exception, WBEM_E_FAILED);
    } catch (...) {
        here.error("Unspecified error");
        return wa::hresult(WBEM_E_FAILED);
    }
}

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

HRESULT WmiInstanceProvider::start(LPCWSTR wszNamespace, IWbemServices* pNamespace, IWbemProviderInitSink* pInitSink)
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

// An enumeration handles no exception: what the conversion layer throws leaves the request, and only the identity is
// given back on the way. The same holds for an update and a deletion.
HRESULT WmiInstanceProvider::enumerate(BSTR strClass, IWbemContext* pCtx, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::CreateInstanceEnumAsync"};
    here.debug("Here");
    return asClient(pResponseHandler, [=, this]() -> HRESULT {
        if (pResponseHandler == nullptr || m_namespace == nullptr) {
            here.debug("INVALID PARAMETER");
            return wa::hresult(WBEM_E_INVALID_PARAMETER);
        }
        Objects objects(wa::WmiConverter::getInstance()->getInstances(m_namespace, strClass, pCtx));
        here.debug("Delivering instances to WMI");
        deliver(here, objects, pResponseHandler);
        here.debug("%d instances delivered ", static_cast<int>(objects.size()));
        logSinkAnswer(here, complete(pResponseHandler, WBEM_S_NO_ERROR), "SetStatus .. OK");
        return WBEM_S_NO_ERROR;
    });
}

HRESULT WmiInstanceProvider::get(BSTR strObjectPath, IWbemContext* pCtx, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::GetObjectAsync"};
    if (strObjectPath == nullptr || pResponseHandler == nullptr || m_namespace == nullptr) {
        here.error("GetObjectAsync invalid parameter %p %p %p", static_cast<void*>(strObjectPath), pResponseHandler,
                   m_namespace);
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    const std::string path = utils::narrowBstr(strObjectPath);
    here.debug("Get instance: %s", path.c_str());
    return asClient(pResponseHandler, [&] {
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
            // COM errors among them: they do not derive from std::exception.
            here.error("Unspecified error");
            hr = wa::hresult(WBEM_E_FAILED);
        }
        complete(pResponseHandler, hr);
        return hr;
    });
}

HRESULT WmiInstanceProvider::put(IWbemClassObject* pInst, LONG lFlags, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::PutInstanceAsync"};
    if (pResponseHandler == nullptr || m_namespace == nullptr) {
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    // WMI defines more flags; this provider only updates, so it ignores them.
    if ((lFlags & WBEM_FLAG_UPDATE_ONLY) == 0) {
        here.error("Provider supports only 'WBEM_FLAG_UPDATE_ONLY' modifyInstance mode");
        return wa::hresult(WBEM_E_PROVIDER_NOT_CAPABLE);
    }
    return asClient(pResponseHandler, [=] {
        const HRESULT hr = wa::InstanceModifier::getInstance()->modifyInstance(pInst);
        logSinkRefusal(here, complete(pResponseHandler, hr));
        return hr;
    });
}

HRESULT WmiInstanceProvider::remove(BSTR strObjectPath, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::DeleteInstanceAsync"};
    if (strObjectPath == nullptr || pResponseHandler == nullptr || m_namespace == nullptr) {
        return wa::hresult(WBEM_E_INVALID_PARAMETER);
    }
    return asClient(pResponseHandler, [=] {
        const HRESULT hr = wa::InstanceRemover::getInstance()->deleteInstance(utils::narrowBstr(strObjectPath));
        logSinkRefusal(here, complete(pResponseHandler, hr));
        return hr;
    });
}

HRESULT WmiInstanceProvider::execute(BSTR strObjectPath, BSTR strMethodName, IWbemContext* pCtx,
                                     IWbemClassObject* pInParams, IWbemObjectSink* pResponseHandler)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiInstanceProvider::ExecMethodAsync"};
    here.debug("Here");
    return asClient(pResponseHandler, [=, this] {
        // Arguments are not checked here: the conversion's own preconditions refuse what is missing.
        const std::string path = utils::narrowBstr(strObjectPath);
        const std::string method = utils::narrowBstr(strMethodName);
        wa::WmiConverter* const converter = wa::WmiConverter::getInstance();
        // Only the invocation turns exceptions into a status; without the memory to begin it the exception leaves.
        const HRESULT hr = statusOf(
            here, [&] { converter->InvokeMethod(path, method, m_namespace, pCtx, pInParams, pResponseHandler); });
        here.debug("Set status: #%X", hr);
        if (pResponseHandler != nullptr) {
            const HRESULT reported = complete(pResponseHandler, hr);
            if (reported != 0) {
                here.error("pResponseHandler->Indicate() error 0x%X", reported);
            }
        }
        return hr;
    });
}
