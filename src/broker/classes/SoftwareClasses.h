#pragma once

#include "broker/model/InstanceStore.h"

namespace broker {

inline constexpr char SOFTWARE_IDENTITY[] = "Zerix_SoftwareIdentity";
inline constexpr char REGISTERED_PROFILE[] = "Zerix_RegisteredProfile";

// The product tells these things about itself: there is one row of each, and nothing to read.
struct SoftwareRow
{
};

struct ProfileRow
{
};

extern const ClassDescription<SoftwareRow> softwareIdentityClass;
extern const ClassDescription<ProfileRow> registeredProfileClass;

}  // namespace broker
