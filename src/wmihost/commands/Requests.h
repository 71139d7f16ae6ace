#pragma once

#include <optional>
#include <vector>

#include "wmihost/commands/Commands.h"

namespace wmihost {

using Objects = std::vector<ComPtr<IWbemClassObject>>;

// The requests of the commands. They throw RequestError for every status that is no success.

// The instances of the class and of those derived from it. Shows the provider's progress reports on standard error if
// that is a terminal.
Objects enumerateInstances(Connection& connection, const ClassTarget& target, const CommandOptions& options);
// The instances of exactly that class.
Objects enumerateExactly(Connection& connection, const ClassTarget& target, const CommandOptions& options);
// What the machine's WMI answers to a query; nothing where the provider in this process is asked.
std::optional<Objects> queryService(Connection& connection, const std::wstring& nameSpace, const std::string& text,
                                    const CommandOptions& options);
ComPtr<IWbemClassObject> getInstance(Connection& connection, const InstanceTarget& instance,
                                     const CommandOptions& options);
void putInstance(Connection& connection, const ClassTarget& target, IWbemClassObject* object,
                 const CommandOptions& options);
void deleteInstance(Connection& connection, const InstanceTarget& instance, const CommandOptions& options);
// The out-parameters; null if the provider delivered none.
ComPtr<IWbemClassObject> invokeMethod(Connection& connection, const InstanceTarget& instance, const Method& method,
                                      const std::vector<Assignment>& arguments, const CommandOptions& options);

// Sets a property of an object to what a user's text means for its type; `null` is no value. Throws
// UsageError for a text that does not fit, RequestError for a property that does not exist.
void assign(IWbemClassObject& object, const ClassDefinition& definition, const Assignment& assignment);

// The property of that name, or one of the system properties that are texts. Throws RequestError with
// WBEM_E_INVALID_PROPERTY.
const Property& propertyOf(const ClassDefinition& definition, std::wstring_view name);

// Keeps the objects for which all conditions of the options hold. The conditions have been checked.
void applyConditions(Objects& objects, const ClassDefinition& definition, const CommandOptions& options);

}  // namespace wmihost
