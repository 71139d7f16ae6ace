#pragma once

#include <array>
#include <cstddef>

#include "Os/Windows/Platform.h"

// The data of every benchmark: instances of one class with twenty properties, whose types are mixed as in the class of
// an adapter, and one method with the same number of parameters in each direction.
namespace bench {

struct PropertyShape
{
    const char* name;
    const wchar_t* wideName;
    CIMTYPE type;
};

inline constexpr std::size_t PROPERTY_COUNT = 20;

inline constexpr char CLASS_NAME[] = "Zerix_BenchPort";
inline constexpr wchar_t WIDE_CLASS_NAME[] = L"Zerix_BenchPort";
inline constexpr wchar_t PATH[] = L"\\\\HOST\\root\\DCIM\\vexal:Zerix_BenchPort.DeviceID=\"adapter\"";
inline constexpr wchar_t METHOD[] = L"ApplySettings";

// The first property is the key.
inline constexpr std::array<PropertyShape, PROPERTY_COUNT> PROPERTIES{{
    {"DeviceID", L"DeviceID", CIM_STRING},
    {"Name", L"Name", CIM_STRING},
    {"ElementName", L"ElementName", CIM_STRING},
    {"Description", L"Description", CIM_STRING},
    {"SystemName", L"SystemName", CIM_STRING},
    {"SystemCreationClassName", L"SystemCreationClassName", CIM_STRING},
    {"PermanentAddress", L"PermanentAddress", CIM_STRING},
    {"PortNumber", L"PortNumber", CIM_UINT16},
    {"PortType", L"PortType", CIM_UINT16},
    {"LinkTechnology", L"LinkTechnology", CIM_UINT16},
    {"EnabledState", L"EnabledState", CIM_UINT16},
    {"RequestedState", L"RequestedState", CIM_UINT16},
    {"HealthState", L"HealthState", CIM_UINT16},
    {"OtherPortIndex", L"OtherPortIndex", CIM_UINT32},
    {"InterfaceIndex", L"InterfaceIndex", CIM_UINT32},
    {"PriorityClass", L"PriorityClass", CIM_UINT8},
    {"Speed", L"Speed", CIM_UINT64},
    {"MaxSpeed", L"MaxSpeed", CIM_UINT64},
    {"ActiveMaximumTransmissionUnit", L"ActiveMaximumTransmissionUnit", CIM_UINT64},
    {"SupportedMaximumTransmissionUnit", L"SupportedMaximumTransmissionUnit", CIM_UINT64},
}};

inline constexpr char TEXT_VALUE[] = "Vexal Ethernet Adapter 12";
inline constexpr wchar_t WIDE_TEXT_VALUE[] = L"Vexal Ethernet Adapter 12";
inline constexpr unsigned NUMBER_VALUE = 7;
inline constexpr unsigned long long LARGE_VALUE = 10000000000ULL;
inline constexpr wchar_t WIDE_LARGE_VALUE[] = L"10000000000";

// The value of a property of this type as the provider sends it. The caller owns its texts.
VARIANT valueOf(CIMTYPE type);

// The VARIANT that the provider sends for a property of this type that has no value.
VARIANT emptyValueOf(CIMTYPE type);

}  // namespace bench
