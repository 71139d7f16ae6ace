#pragma once

#include "broker/model/ServedClass.h"

// Every class that the broker serves, one line each. The file of that name in this folder holds the class's row, its
// columns, the source of its rows, and the definition that is listed here.
// clang-format off
#define BROKER_SERVED_CLASSES(CLASS) \
    CLASS(ethernetPort)              \
    CLASS(ethernetPortStatistics)    \
    CLASS(ipProtocolEndpoint)        \
    CLASS(ipConfiguration)           \
    CLASS(softwareIdentity)          \
    CLASS(registeredProfile)         \
    CLASS(adapterSetting)            \
    CLASS(diagnosticSetting)         \
    CLASS(concreteJob)               \
    CLASS(diagnosticResult)          \
    CLASS(affectedJobElement)        \
    CLASS(elementStatisticalData)    \
    CLASS(portImplementsEndpoint)    \
    CLASS(portIPConfiguration)       \
    CLASS(elementConformsToProfile)  \
    CLASS(elementSettingData)        \
    CLASS(portDiagnosticSetting)
// clang-format on

namespace broker {

#define BROKER_DECLARE_CLASS(name) extern const ServedClass name;
BROKER_SERVED_CLASSES(BROKER_DECLARE_CLASS)
#undef BROKER_DECLARE_CLASS

}  // namespace broker
