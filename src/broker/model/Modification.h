#pragma once

#include "broker/model/InstanceStore.h"
#include "broker/model/SettingsStore.h"
#include "core/CimPropertyList.h"

namespace broker {

// Changes the instance as a client's put asks, or throws and changes nothing. WMI clients send every property back:
// what they leave as it is costs nothing and is refused nowhere.
//
// - A value that the property has already is skipped without a verification.
// - An unknown property is ignored when it is null and utils::EInvalidParameter otherwise.
// - Then every changed property is verified before the first one changes, and the changes are stored.
//
// Besides, throws what the verification does (utils::EForbidden, utils::EInvalidParameter) and what the store does
// (utils::EForbidden, utils::EFailed). The record belongs to the store, and both to the calling thread.
void modify(const InstanceStore& store, const InstanceStore::Record& record, core::CimPropertyList& values,
            ReferenceResolver& references, SettingsStore& settings);

// True when the two hold the same: the same type, and both null or equal. Arrays are compared element by element, and
// no array of texts is the same as an empty one; references by what they point to; datetimes to the second, which is
// all that a client sees of them.
bool holdSame(const core::CimProperty& property, const core::CimProperty& value, ReferenceResolver& references);

}  // namespace broker
