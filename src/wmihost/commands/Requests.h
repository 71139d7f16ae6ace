#pragma once

#include <optional>
#include <vector>

#include "wmihost/commands/Commands.h"

namespace wmihost {

using Objects = std::vector<ComPtr<IWbemClassObject>>;

// The requests of the commands. They throw RequestError for every status that is not a success.

// The instances of the class and of those derived from it. Shows the provider's progress reports on standard error if
// that is a terminal.
Objects enumerateInstances(Connection& connection, const ClassTarget& target, const CommandOptions& options);
// The instances of exactly that class.
Objects enumerateExactly(Connection& connection, const ClassTarget& target, const CommandOptions& options);
// The answer of the machine's WMI to a query. Nothing if the connection leads to the provider in this process.
std::optional<Objects> queryService(Connection& connection, const std::wstring& nameSpace, const std::string& text,
                                    const CommandOptions& options);
// The instance at the path. Throws RequestError if there is none.
ComPtr<IWbemClassObject> getInstance(Connection& connection, const InstanceTarget& instance,
                                     const CommandOptions& options);
// The instance at the path, or null if there is none.
ComPtr<IWbemClassObject> getIfPresent(Connection& connection, const InstanceTarget& instance,
                                      const CommandOptions& options);
void putInstance(Connection& connection, const ClassTarget& target, IWbemClassObject* object,
                 const CommandOptions& options);
void deleteInstance(Connection& connection, const InstanceTarget& instance, const CommandOptions& options);
// The out-parameters; null if the provider delivered none.
ComPtr<IWbemClassObject> invokeMethod(Connection& connection, const InstanceTarget& instance, const Method& method,
                                      const std::vector<Assignment>& arguments, const CommandOptions& options);

// The value of a property that a user's text spells. `null` is the null value; a word of the property's value map is
// its number. Throws UsageError for a text that does not fit.
Variant valueOfText(const Property& property, const std::wstring& text);

// Sets a property of an object to the value that the text spells. Throws as valueOfText does, and RequestError for a
// property that does not exist.
void assign(IWbemClassObject& object, const ClassDefinition& definition, const Assignment& assignment);

// The property of that name or heading, or one of the system properties. Throws RequestError with
// WBEM_E_INVALID_PROPERTY.
const Property& propertyOf(const ClassDefinition& definition, std::wstring_view name);

// The properties of the class whose names match a pattern with * and ?. A name without these gives the result of
// propertyOf. Throws RequestError with WBEM_E_INVALID_PROPERTY if there is none.
std::vector<const Property*> propertiesNamed(const ClassDefinition& definition, std::wstring_view pattern);

// Keeps the objects for which all conditions of the options hold. The conditions must have been checked.
void applyConditions(Objects& objects, const ClassDefinition& definition, const CommandOptions& options);

}  // namespace wmihost
