#pragma once

#include "adapters/wmi/PropertyConverter.h"

// The eleven concrete converters, one per property type that WMI clients see.
namespace wa {

// VT_BSTR in both directions.
class StringPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// An array of VT_BSTR in both directions. An empty sequence gives the type without an array.
class StringArrayPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// VT_UI1 in both directions.
class Uint8PropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// VT_I4, zero-extended, as WMI holds uint16. Of what comes in the low 16 bits are kept, without a refusal.
class Uint16PropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// An array of VT_I4. Of each element that comes in the low 16 bits are kept. It is read from index 0 to its upper
// bound; its lower bound is ignored.
class Uint16ArrayPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// VT_I4 with the same 32 bits: 4294967295 travels as -1, in both directions.
class Uint32PropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// An array of VT_I4 with the same bits. Cannot be taken from WMI.
class Uint32ArrayPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
};

// VT_BSTR with decimal digits in both directions.
class Uint64PropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

// VT_BOOL holding 0 or 1, not VARIANT_TRUE: clients of this provider compare with 1. Cannot be taken from WMI.
class BoolPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
};

// VT_BSTR with a CIM datetime, always whole seconds and UTC. Cannot be taken from WMI.
class DatetimePropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
};

// VT_BSTR. Goes out as the full path of the instance it refers to, with host and namespace; comes in as text, which is
// neither parsed nor looked up.
class RefPropertyConverter : public PropertyConverter
{
public:
    VARIANT propertyToVariant(core::CimProperty* property) override;
    core::CimProperty* variantToProperty(std::string name, const VARIANT* variant) override;
};

}  // namespace wa
