#pragma once

#include <optional>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassDefinition.h"
#include "wmihost/wql/Query.h"

namespace wmihost::wql {

// Throws where the condition does not fit the class: RequestError with WBEM_E_INVALID_PROPERTY for a property that the
// class does not have, QueryError for an operator or a value that does not fit the type of the property. Where a
// number is asked for, a word of the value map counts as one.
void checkCondition(const Condition& condition, const ClassDefinition& definition);

// Whether the condition holds for the object; nothing where a value that it asks for is null and the rest does not
// decide. Texts are compared without case, datetimes as points in time. The condition has been checked.
std::optional<bool> holds(const Condition& condition, const ClassDefinition& definition, IWbemClassObject& object);

}  // namespace wmihost::wql
