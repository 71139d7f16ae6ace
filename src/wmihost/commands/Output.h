#pragma once

#include "wmihost/commands/Requests.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Table.h"

namespace wmihost {

// Writes objects of one class to standard output in the chosen format: a table with a line for each object, a JSON
// array, MOF, or CSV with the names in the first record. Standard error gets the names of columns that do not fit the
// line.
void writeObjects(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options);

// An object of that class for programs: its class, its path and the properties to show.
Json objectJson(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options);

// Writes the names and descriptions of classes to standard output, or their definitions as MOF.
void writeClassList(const std::vector<ClassTarget>& classes, const CommandOptions& options);

// Writes one object: a line for each property, a JSON object, MOF, or two records of CSV.
void writeObject(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options);

// The columns of a table with a line for each property: its name, under the given heading, and its value.
std::vector<Table::Column> detailColumns(const std::string& name);

// The record of an object in a CSV file.
std::string csvOf(IWbemClassObject& object, const std::vector<const Property*>& properties);
// The names of the properties as the first record.
std::string csvHeader(const std::vector<const Property*>& properties);

// An object as MOF. Throws RequestError if the object refuses.
std::string mofOf(IWbemClassObject& object);

// A property for people with both its value and the word for it: "2 (Enabled)".
std::string valueAndWord(const Property& property, const VARIANT& value);

// The properties to show: the user's choice, or all. Throws RequestError for an unknown name.
std::vector<const Property*> shownProperties(const ClassDefinition& definition, const CommandOptions& options);

// Checks the user's properties and conditions before any request is made. Throws RequestError if the class does not
// have a property, and wql::QueryError if a condition does not fit its property.
void checkNames(const ClassDefinition& definition, const CommandOptions& options);

}  // namespace wmihost
