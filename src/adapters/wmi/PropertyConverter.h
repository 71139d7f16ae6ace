#pragma once

#include <string>

#include "Os/Windows/Platform.h"
#include "core/CimProperty.h"

namespace wa {

// Converts one type of property to a VARIANT and back. Stateless; any thread.
class PropertyConverter
{
public:
    PropertyConverter() = default;
    PropertyConverter(const PropertyConverter&) = delete;
    PropertyConverter& operator=(const PropertyConverter&) = delete;

    // The stored value, whether or not the property is null. The caller clears the VARIANT. Throws utils::Exception for
    // a null pointer or a property of another type, _com_error when memory runs out.
    virtual VARIANT propertyToVariant(core::CimProperty* property) = 0;

    // A new property of the name, which the caller owns; null for the types that cannot be taken from WMI. VT_NULL
    // gives a null property. Throws utils::Exception for an empty name, a null pointer or a VARIANT of a type that the
    // converter does not take, _com_error for an array that cannot be read.
    virtual core::CimProperty* variantToProperty(std::string name, const VARIANT* variant);

    virtual ~PropertyConverter() = default;
};

}  // namespace wa
