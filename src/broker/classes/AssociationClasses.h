#pragma once

#include "broker/model/InstanceStore.h"

namespace broker {

inline constexpr char PORT_IMPLEMENTS_ENDPOINT[] = "Zerix_PortImplementsEndpoint";
inline constexpr char ELEMENT_CONFORMS_TO_PROFILE[] = "Zerix_ElementConformsToProfile";
inline constexpr char ELEMENT_SETTING_DATA[] = "Zerix_ElementSettingData";

// The two ends of an association: records of the same workspace, refreshed before the row is made.
struct AssociationRow
{
    const InstanceStore::Record& first;
    const InstanceStore::Record& second;
};

// From port to endpoint, from profile to port, from port to setting.
extern const ClassDescription<AssociationRow> portImplementsEndpointClass;
extern const ClassDescription<AssociationRow> elementConformsToProfileClass;
extern const ClassDescription<AssociationRow> elementSettingDataClass;

}  // namespace broker
