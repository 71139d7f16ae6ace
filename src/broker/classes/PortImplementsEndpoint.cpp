#include "broker/classes/AssociationClasses.h"

#include <array>

namespace broker {

namespace {

core::CimInstance* first(const AssociationRow& row)
{
    return row.first.instance.get();
}
core::CimInstance* second(const AssociationRow& row)
{
    return row.second.instance.get();
}

// An identity holds no blank, so the two cannot run together in another way.
std::string identity(const AssociationRow& row)
{
    return row.first.identity + " " + row.second.identity;
}

constexpr std::array implementsColumns{key<&first>("Antecedent"), key<&second>("Dependent")};
constexpr std::array conformsColumns{key<&first>("ConformantStandard"), key<&second>("ManagedElement")};
constexpr std::array settingDataColumns{key<&first>("ManagedElement"), key<&second>("SettingData")};

}  // namespace

const ClassDescription<AssociationRow> portImplementsEndpointClass{PORT_IMPLEMENTS_ENDPOINT, implementsColumns,
                                                                   &identity};
const ClassDescription<AssociationRow> elementConformsToProfileClass{ELEMENT_CONFORMS_TO_PROFILE, conformsColumns,
                                                                     &identity};
const ClassDescription<AssociationRow> elementSettingDataClass{ELEMENT_SETTING_DATA, settingDataColumns, &identity};

}  // namespace broker
