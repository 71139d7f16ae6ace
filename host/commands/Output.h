#pragma once

#include "host/commands/Requests.h"

namespace host {

// Writes objects of one class to standard output in the chosen format: a table with a line an object, a JSON
// array, or MOF. Columns that do not fit the terminal are mentioned on standard error.
void writeObjects(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options);

// Writes one object: a line a property, a JSON object, or MOF.
void writeObject(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options);

// A property for people with both its value and the word for it: "2 (Enabled)".
std::string valueAndWord(const Property& property, const VARIANT& value);

// The properties to show: those the user chose, else all. Throws RequestError for an unknown name.
std::vector<const Property*> shownProperties(const ClassDefinition& definition, const CommandOptions& options);

}  // namespace host
