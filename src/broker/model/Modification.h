#pragma once

#include "broker/model/InstanceStore.h"
#include "broker/model/SettingsStore.h"
#include "core/CimPropertyList.h"

namespace broker {

// Changes the instance as a client's put asks, or throws and changes nothing. WMI clients send every property back, so
// an unchanged value is never refused.
//
// - A value that the property has already is skipped without a verification.
// - An unknown property is ignored when it is null and utils::EInvalidParameter otherwise.
// - Then every changed property is verified before the first one changes, and the changes are stored.
//
// Also throws the exceptions of the verification (utils::EForbidden, utils::EInvalidParameter) and of the store
// (utils::EForbidden, utils::EFailed). The record belongs to the store, and both to the calling thread.
void modify(const InstanceStore& store, const InstanceStore::Record& record, core::CimPropertyList& values,
            ReferenceResolver& references, SettingsStore& settings);

// Whether the two have the same type and are both null or equal. Arrays are compared element by element; a null array
// of texts equals an empty one. References are equal if they point to the same target. Datetimes are compared by whole
// seconds, since clients see no more.
bool holdSame(const core::CimProperty& property, const core::CimProperty& value, ReferenceResolver& references);

}  // namespace broker
