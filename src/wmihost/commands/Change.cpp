#include <cstddef>
#include <vector>

#include "wmihost/com/Guard.h"
#include "wmihost/commands/Limits.h"
#include "wmihost/commands/Output.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

namespace {

std::string described(const Property& property, const Variant& value)
{
    return value.isNull() ? "no value" : "'" + displayText(property, value.get()) + "'";
}

// A slip must not cost a request. Refuses new values for keys: they would change an instance that the user has not
// named.
void checkChanges(const ClassDefinition& definition, const std::vector<Assignment>& values)
{
    for (const Assignment& value : values) {
        const Property& property = propertyOf(definition, value.first);
        if (property.isKey()) {
            throw RequestError(code(WBEM_E_READ_ONLY),
                               toUtf8(property.name) + " is a key: it says which instance is meant");
        }
        valueOfText(property, value.second);
    }
}

// Puts the instance. If the provider refuses, the error also names the limits of the class that the changes violate.
void putChanges(Connection& connection, const ClassTarget& target, IWbemClassObject* object,
                const std::vector<Assignment>& changes, const CommandOptions& options)
{
    try {
        putInstance(connection, target, object, options);
    } catch (const RequestError& error) {
        throwWithObjections(error, refusedChanges(*target.definition, changes));
    }
}

// The values of the properties that are changed, as the object has them.
std::vector<Variant> changedValues(IWbemClassObject& object, const ClassDefinition& definition,
                                   const std::vector<Assignment>& changes)
{
    std::vector<Variant> values;
    for (const Assignment& change : changes) {
        values.push_back(valueOf(object, propertyOf(definition, change.first).name));
    }
    return values;
}

// Reports the values that the provider has stored differently from what was sent.
void reportDifferences(const std::vector<Variant>& sent, const std::vector<Variant>& kept,
                       const ClassDefinition& definition, const std::vector<Assignment>& changes)
{
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const Property& property = propertyOf(definition, changes[i].first);
        if (!sameValue(sent[i].get(), kept[i].get())) {
            writeError("wmihost set: " + toUtf8(property.name) + " was sent as " + described(property, sent[i]) +
                       " and is kept as " + described(property, kept[i]) + "\n");
        }
    }
}

}  // namespace

int runSet(Connection& connection, const std::wstring& path, const std::vector<Assignment>& values,
           const CommandOptions& options)
{
    const InstanceTarget instance = connection.findInstance(path, options.nameSpace);
    const ClassDefinition& definition = *instance.target.definition;
    checkChanges(definition, values);
    const auto object = getInstance(connection, instance, options);
    for (const Assignment& value : values) {
        assign(*object.get(), definition, value);
    }
    // The values are read before the call, since a provider may keep and change the object that it gets.
    const auto sent = changedValues(*object.get(), definition, values);
    putChanges(connection, instance.target, object.get(), values, options);
    const auto kept = getInstance(connection, instance, options);
    writeObject(*kept.get(), definition, options);
    reportDifferences(sent, changedValues(*kept.get(), definition, values), definition, values);
    return 0;
}

int runDelete(Connection& connection, const std::wstring& path, const CommandOptions& options)
{
    const InstanceTarget instance = connection.findInstance(path, options.nameSpace);
    deleteInstance(connection, instance, options);
    writeOut("deleted " + toUtf8(instance.path) + "\n");
    return 0;
}

}  // namespace wmihost
