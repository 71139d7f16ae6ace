#pragma once

#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"

// Sample properties of instances, for every platform.
namespace samples {

// Adds a property to the instance, which takes ownership.
template <class Property, class Value>
Property* add(core::CimInstance& instance, const char* name, Value value)
{
    auto* property = new Property(name, &instance);
    property->setValue(value);
    return property;
}

inline void addKey(core::CimInstance& instance, const char* name, const char* value)
{
    add<core::CimPropertyString>(instance, name, value)->setKey(true);
}

// A property that counts its deletions.
class CountedProperty : public core::CimPropertyUint8
{
public:
    explicit CountedProperty(int& deletions, core::CimInstance* owner = nullptr)
        : CimPropertyUint8("Counted", owner), m_deletions(deletions)
    {
    }
    ~CountedProperty() override { ++m_deletions; }

private:
    int& m_deletions;
};

constexpr auto NO_SUCH_TYPE = static_cast<core::CimProperty::EPropertyType>(77);

// A property whose type no converter and no broker knows, as one of a later version would be.
class PropertyOfNoKnownType : public core::CimPropertyString
{
public:
    using CimPropertyString::CimPropertyString;
    EPropertyType getType() const override { return NO_SUCH_TYPE; }
};

}  // namespace samples
