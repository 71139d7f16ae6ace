#pragma once

#include "core/CimInstance.h"
#include "fakes/FakeClassObject.h"

namespace support {

// Appends a property of every type that the broker knows, and a null property. The reference points to `referred`.
void addEveryType(core::CimInstance& instance, core::CimInstance& referred);

// Appends a property of every type that a client's object may hold. They include a key, a null, a system property and
// types that the provider does not accept.
void addEveryType(FakeClassObject& object);

// Returns an array of VT_I4 or VT_BSTR. The caller owns it.
VARIANT numbersVariant(std::initializer_list<LONG> numbers);
VARIANT textsVariant(std::initializer_list<const char*> texts);

}  // namespace support
