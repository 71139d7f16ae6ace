#pragma once

#include "wmihost/commands/Requests.h"
#include "wmihost/terminal/Json.h"

namespace wmihost {

// Writes objects of one class to standard output in the chosen format: a table with a line an object, a JSON
// array, or MOF. Columns that do not fit the terminal are mentioned on standard error.
void writeObjects(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options);

// An object of that class for programs: its class, its path and the properties to show.
Json objectJson(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options);

// Writes the names and descriptions of classes to standard output, or their definitions as MOF.
void writeClassList(const std::vector<ClassTarget>& classes, const CommandOptions& options);

// Writes one object: a line a property, a JSON object, or MOF.
void writeObject(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options);

// An object as MOF. Throws RequestError if the object refuses.
std::string mofOf(IWbemClassObject& object);

// A property for people with both its value and the word for it: "2 (Enabled)".
std::string valueAndWord(const Property& property, const VARIANT& value);

// The properties to show: those the user chose, else all. Throws RequestError for an unknown name.
std::vector<const Property*> shownProperties(const ClassDefinition& definition, const CommandOptions& options);

// Throws RequestError for a property that the user chose or sets a condition for and that the class does not have, and
// wql::QueryError for a condition that does not fit its property: a slip must not cost a request.
void checkNames(const ClassDefinition& definition, const CommandOptions& options);

}  // namespace wmihost
