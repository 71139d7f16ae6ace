#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>

#include "Os/Windows/ComScope.h"
#include "fakes/FakeUnknown.h"
#include "fakes/RefusingObjects.h"

namespace support {

// A class definition, an instance or a parameter object of WMI, as simple as the provider needs it. Records Get, Put,
// BeginEnumeration, EndEnumeration, SpawnInstance and GetMethod under its own name. What it spawns belongs to it and is
// named after it: "Class#1", "Class#2". Everything that the provider has no business calling answers E_NOTIMPL.
class FakeClassObject final : public FakeUnknown<IWbemClassObject, RefusingClassObject>
{
public:
    using FakeUnknown::FakeUnknown;

    // Appends a property; takes over what the value owns.
    void add(const std::string& name, VARIANT value, CIMTYPE cimType, long flavor = 0, bool key = false);

    // What the next calls answer; 0 is success. A failed enumeration begins nothing.
    HRESULT beginKeysStatus = WBEM_S_NO_ERROR;
    HRESULT beginStatus = WBEM_S_NO_ERROR;
    HRESULT endOfEnumeration = WBEM_S_NO_MORE_DATA;
    HRESULT spawnStatus = WBEM_S_NO_ERROR;
    bool spawnsNothing = false;
    HRESULT getMethodStatus = WBEM_S_NO_ERROR;
    std::map<std::string, HRESULT> putStatus;

    // "__PATH"; VT_EMPTY fails the read and leaves the caller's VARIANT untouched.
    utils::ScopedVariant path;
    // The answer where the path is there.
    HRESULT pathStatus = WBEM_S_NO_ERROR;

    // Output signatures by method name. One that is missing answers WBEM_E_NOT_FOUND; null is given as null.
    std::map<std::string, FakeClassObject*> methods;

    // Run when something is read, walked to or put, before the answer.
    std::function<void()> onGet;
    std::function<void()> onNext;
    std::function<void()> onPut;

    std::deque<FakeClassObject>& spawned() noexcept { return m_spawned; }
    // References to everything that was spawned, together.
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
    // Position of a walk that has begun; past the end without one.
    std::size_t m_position = 0;
    bool m_begun = false;
    bool m_keysOnly = false;
};

}  // namespace support
