#pragma once

#include <map>
#include <string>

#include "core/CimProperty.h"

namespace support {

// Returns CIM's name of the type, as "uint16[]", or "type n" for a number that is not a type.
inline std::string typeName(core::CimProperty::EPropertyType type)
{
    using core::CimProperty;
    static const std::map<CimProperty::EPropertyType, std::string> NAMES{{CimProperty::EPT_UINT8, "uint8"},
                                                                         {CimProperty::EPT_UINT16, "uint16"},
                                                                         {CimProperty::EPT_UINT16_ARR, "uint16[]"},
                                                                         {CimProperty::EPT_UINT32, "uint32"},
                                                                         {CimProperty::EPT_UINT32_ARR, "uint32[]"},
                                                                         {CimProperty::EPT_UINT64, "uint64"},
                                                                         {CimProperty::EPT_STRING, "string"},
                                                                         {CimProperty::EPT_STRING_ARR, "string[]"},
                                                                         {CimProperty::EPT_BOOL, "boolean"},
                                                                         {CimProperty::EPT_DATETIME, "datetime"},
                                                                         {CimProperty::EPT_REF, "ref"}};
    const auto name = NAMES.find(type);
    return name == NAMES.end() ? "type " + std::to_string(static_cast<int>(type)) : name->second;
}

}  // namespace support
