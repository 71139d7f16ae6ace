#pragma once

#include "core/CimInstance.h"
#include "fakes/FakeClassObject.h"

namespace support {

// Appends a property of every type that the broker knows, and one that is null. The reference is to `referred`.
void addEveryType(core::CimInstance& instance, core::CimInstance& referred);

// Appends a property of every type that a client's object may carry, among them a key, a null, a system property, and
// such as the provider does not take.
void addEveryType(FakeClassObject& object);

// An array of VT_I4 or VT_BSTR that the receiver owns.
VARIANT numbersVariant(std::initializer_list<LONG> numbers);
VARIANT textsVariant(std::initializer_list<const char*> texts);

}  // namespace support
