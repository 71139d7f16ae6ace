#pragma once

#include "broker/model/ServedClass.h"

// Every class that the broker serves, one line each. A class is one file of this folder, named like it: its row, its
// columns, where its rows come from, and the definition that stands here.
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
