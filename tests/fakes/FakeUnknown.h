#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <utility>

#include "support/CallLog.h"

namespace support {

// The common base of the fake COM objects. The test owns the object; the fake counts its references and reports the
// release of the last one. QueryInterface supports only the fake's interface and IUnknown.
// Base is the direct base class if it adds something to the interface.
template <class Interface, class Base = Interface>
class FakeUnknown : public Base
{
public:
    FakeUnknown(CallLog& calls, std::string name, bool recordsReferences = true)
        : m_calls(calls), m_name(std::move(name)), m_recordsReferences(recordsReferences)
    {
    }
    FakeUnknown(const FakeUnknown&) = delete;
    FakeUnknown& operator=(const FakeUnknown&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, __uuidof(Interface))) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return noted(++m_references); }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const int count = --m_references;
        if (count != 0) {
            return noted(count);
        }
        if (m_recordsReferences) {
            m_calls.add(m_name + " released");
        }
        if (onLastRelease) {
            onLastRelease();
        }
        return 0;
    }

    // Runs when the last reference is released.
    std::function<void()> onLastRelease;

    // The number of references that are held now. The test itself holds none.
    int references() const noexcept { return m_references; }
    const std::string& name() const noexcept { return m_name; }

protected:
    ~FakeUnknown() = default;

    void record(const std::string& call) { m_calls.add(m_name + "." + call); }
    CallLog& calls() noexcept { return m_calls; }

private:
    ULONG noted(int count) const
    {
        if (m_recordsReferences) {
            CallLog::noteReferences(m_name, count);
        }
        return static_cast<ULONG>(count);
    }

    CallLog& m_calls;
    std::string m_name;
    bool m_recordsReferences;
    std::atomic<int> m_references{0};
};

}  // namespace support
