#include "adapters/wmi/PropertyConverter.h"

namespace wa {

core::CimProperty* PropertyConverter::variantToProperty(std::string /*name*/, const VARIANT* /*variant*/)
{
    return nullptr;
}

}  // namespace wa
