#pragma once

#include "core/CimPropertyTypes.h"

namespace core {

// Calls the visitor with the property as what it is: a const CimPropertyUint8&, CimPropertyUint16_arr& and so on. A
// property whose type is none of the enumeration's is visited as a const CimProperty&. Returns what the visitor does.
template <class Visitor>
decltype(auto) visit(const CimProperty& property, const Visitor& visitor)
{
    switch (property.getType()) {
        case CimProperty::EPT_UINT8:
            return visitor(static_cast<const CimPropertyUint8&>(property));
        case CimProperty::EPT_UINT16:
            return visitor(static_cast<const CimPropertyUint16&>(property));
        case CimProperty::EPT_UINT16_ARR:
            return visitor(static_cast<const CimPropertyUint16_arr&>(property));
        case CimProperty::EPT_UINT32:
            return visitor(static_cast<const CimPropertyUint32&>(property));
        case CimProperty::EPT_UINT32_ARR:
            return visitor(static_cast<const CimPropertyUint32_arr&>(property));
        case CimProperty::EPT_UINT64:
            return visitor(static_cast<const CimPropertyUint64&>(property));
        case CimProperty::EPT_STRING:
            return visitor(static_cast<const CimPropertyString&>(property));
        case CimProperty::EPT_STRING_ARR:
            return visitor(static_cast<const CimPropertyString_arr&>(property));
        case CimProperty::EPT_BOOL:
            return visitor(static_cast<const CimPropertyBool&>(property));
        case CimProperty::EPT_DATETIME:
            return visitor(static_cast<const CimPropertyDatetime&>(property));
        case CimProperty::EPT_REF:
            return visitor(static_cast<const CimPropertyRef&>(property));
    }
    return visitor(property);
}

// A visitor of several functions, of which the best match for the property's class is called.
template <class... Functions>
struct Visitor : Functions...
{
    using Functions::operator()...;
};
// The compiler behind the static analysis does not deduce this by itself.
template <class... Functions>
Visitor(Functions...) -> Visitor<Functions...>;

}  // namespace core
