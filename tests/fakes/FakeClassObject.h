#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>

#include "Os/Windows/ComScope.h"
#include "fakes/FakeUnknown.h"
#include "fakes/RefusingObjects.h"

namespace support {

// A minimal WMI class definition, instance or parameter object. Records Get, Put, BeginEnumeration, EndEnumeration,
// SpawnInstance and GetMethod under its name. It owns the objects that it spawns and names them after itself:
// "Class#1", "Class#2". Operations that the provider must not call return E_NOTIMPL.
class FakeClassObject final : public FakeUnknown<IWbemClassObject, RefusingClassObject>
{
public:
    using FakeUnknown::FakeUnknown;

    // Appends a property and takes ownership of the value.
    void add(const std::string& name, VARIANT value, CIMTYPE cimType, long flavor = 0, bool key = false);

    // The results of the next calls; 0 is success. A failed BeginEnumeration starts no enumeration.
    HRESULT beginKeysStatus = WBEM_S_NO_ERROR;
    HRESULT beginStatus = WBEM_S_NO_ERROR;
    HRESULT endOfEnumeration = WBEM_S_NO_MORE_DATA;
    HRESULT spawnStatus = WBEM_S_NO_ERROR;
    bool spawnsNothing = false;
    HRESULT getMethodStatus = WBEM_S_NO_ERROR;
    std::map<std::string, HRESULT> putStatus;

    // The value of "__PATH". With VT_EMPTY the read fails and leaves the caller's VARIANT unchanged.
    utils::ScopedVariant path;
    // The result of reading "__PATH" when it is set.
    HRESULT pathStatus = WBEM_S_NO_ERROR;

    // Output signatures by method name. For a missing name GetMethod returns WBEM_E_NOT_FOUND. An entry may be null.
    std::map<std::string, FakeClassObject*> methods;

    // These run before a read, a step of an enumeration, or a put returns.
    std::function<void()> onGet;
    std::function<void()> onNext;
    std::function<void()> onPut;

    std::deque<FakeClassObject>& spawned() noexcept { return m_spawned; }
    // The number of references to all spawned objects.
    int spawnedReferences() const;

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in,
                                        IWbemClassObject** out) override;

private:
    struct Property
    {
        explicit Property(const VARIANT& owned) : value(owned) {}

        std::string name;
        utils::ScopedVariant value;
        CIMTYPE cimType = 0;
        long flavor = 0;
        bool key = false;
    };

    std::deque<Property> m_properties;
    std::deque<FakeClassObject> m_spawned;
    // The position of the current enumeration. It is past the end when no enumeration is active.
    std::size_t m_position = 0;
    bool m_begun = false;
    bool m_keysOnly = false;
};

}  // namespace support
