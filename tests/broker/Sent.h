#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/CimPropertyList.h"
#include "core/CimPropertyTypes.h"

namespace support {

// A property as a client sends it.
using Sent = std::shared_ptr<core::CimProperty>;

template <class Property>
Sent null(const char* name)
{
    return std::make_shared<Property>(name);
}

// A reference may also be sent as a path.
template <class Property, class Value = std::decay_t<decltype(std::declval<Property>().getValue())>>
Sent sent(const char* name, const std::type_identity_t<Value>& value)
{
    auto property = std::make_shared<Property>(name);
    property->setValue(value);
    return property;
}

// The properties must outlive the list.
inline void add(core::CimPropertyList& list, const std::vector<Sent>& properties)
{
    for (const Sent& property : properties) {
        list.add(property.get());
    }
}

}  // namespace support
