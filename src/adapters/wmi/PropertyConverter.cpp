#include "adapters/wmi/PropertyConverter.h"

namespace wa {

// NOLINTNEXTLINE(performance-unnecessary-value-param): converters that make a property keep the name
core::CimProperty* PropertyConverter::variantToProperty(std::string /*name*/, const VARIANT* /*variant*/)
{
    return nullptr;
}

}  // namespace wa
