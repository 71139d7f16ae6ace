#pragma once

#include <optional>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassDefinition.h"
#include "wmihost/wql/Query.h"

namespace wmihost::wql {

// Throws if the condition does not fit the class: RequestError with WBEM_E_INVALID_PROPERTY if the class does not have
// a property, QueryError if an operator or a value does not fit the type of the property. A word of the value map is
// accepted as its number.
void checkCondition(const Condition& condition, const ClassDefinition& definition);

// Whether the condition holds for the object. Nothing if a compared value is null and the other parts do not decide.
// Texts are compared without case, datetimes as points in time. The condition must have been checked.
std::optional<bool> holds(const Condition& condition, const ClassDefinition& definition, IWbemClassObject& object);

}  // namespace wmihost::wql
