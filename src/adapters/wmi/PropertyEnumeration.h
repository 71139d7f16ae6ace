#pragma once

#include <comdef.h>

#include <new>
#include <optional>
#include <string>
#include <utility>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Platform.h"

namespace wa {

// Runs what copies the name of a client's property. Throws _com_error(E_OUTOFMEMORY) when there is no memory for it.
template <class Copy>
void copyName(const Copy& copy)
{
    try {
        copy();
    } catch (const std::bad_alloc&) {
        throw _com_error(E_OUTOFMEMORY);
    }
}

// A property of a WMI object with all that the object says about it. Owns the value.
struct EnumeratedProperty
{
    std::string name;
    utils::ScopedVariant value;
    CIMTYPE cimType = 0;
    long flavor = 0;
};

// One walk over the properties of a WMI object; ends the object's enumeration on every way out.
class PropertyEnumeration
{
public:
    // Begins with the flags of IWbemClassObject::BeginEnumeration. The object must outlive the walk.
    PropertyEnumeration(IWbemClassObject* object, long flags)
        : m_object(object), m_status(object->BeginEnumeration(flags))
    {
    }
    PropertyEnumeration(const PropertyEnumeration&) = delete;
    PropertyEnumeration& operator=(const PropertyEnumeration&) = delete;
    ~PropertyEnumeration()
    {
        if (begun()) {
            m_object->EndEnumeration();
        }
    }

    HRESULT status() const noexcept { return m_status; }
    bool begun() const noexcept { return SUCCEEDED(m_status); }

    // The next property's name; empty at the end, and after any status but 0, the end being a success code. Throws
    // _com_error(E_OUTOFMEMORY) when memory for the name cannot be allocated.
    std::optional<std::string> nextName()
    {
        utils::ScopedBstr text;
        if (m_object->Next(0, text.out(), nullptr, nullptr, nullptr) != WBEM_S_NO_ERROR) {
            return std::nullopt;
        }
        std::string name;
        copyName([&] { name = utils::narrowBstr(text.get()); });
        return name;
    }

    // The next property; empty where nextName is empty, and throws as nextName does.
    std::optional<EnumeratedProperty> next()
    {
        std::optional<EnumeratedProperty> property(std::in_place);
        utils::ScopedBstr text;
        if (m_object->Next(0, text.out(), property->value.address(), &property->cimType, &property->flavor) !=
            WBEM_S_NO_ERROR) {
            return std::nullopt;
        }
        copyName([&] { property->name = utils::narrowBstr(text.get()); });
        return property;
    }

private:
    IWbemClassObject* m_object;
    HRESULT m_status;
};

}  // namespace wa
