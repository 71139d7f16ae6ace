#include "wmihost/com/Guard.h"
#include "wmihost/com/ObjectReader.h"
#include "wmihost/commands/Limits.h"
#include "wmihost/commands/Output.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

namespace {

std::string described(const Property& property, const Variant& value)
{
    return value.isNull() ? "no value" : "'" + displayText(property, value.get()) + "'";
}

// With another key the provider would be asked to change another instance, one that nobody has named.
void refuseKeys(const ClassDefinition& definition, const std::vector<Assignment>& values)
{
    for (const Assignment& value : values) {
        const Property& property = propertyOf(definition, value.first);
        if (property.isKey()) {
            throw RequestError(code(WBEM_E_READ_ONLY),
                               toUtf8(property.name) + " is a key: it says which instance is meant");
        }
    }
}

// Puts the instance; a refusal names what the class states against the changes.
void putChanges(Connection& connection, const ClassTarget& target, IWbemClassObject* object,
                const std::vector<Assignment>& changes, const CommandOptions& options)
{
    try {
        putInstance(connection, target, object, options);
    } catch (const RequestError& error) {
        throwWithObjections(error, refusedChanges(*target.definition, changes));
    }
}

// Says which of the values the provider keeps in another form than they were sent.
void reportDifferences(IWbemClassObject& sent, IWbemClassObject& kept, const ClassDefinition& definition,
                       const std::vector<Assignment>& changes)
{
    for (const Assignment& change : changes) {
        const Property& property = propertyOf(definition, change.first);
        const Variant before = valueOf(sent, property.name);
        const Variant after = valueOf(kept, property.name);
        if (!sameValue(before.get(), after.get())) {
            writeError("wmihost set: " + toUtf8(property.name) + " was sent as " + described(property, before) +
                       " and is kept as " + described(property, after) + "\n");
        }
    }
}

}  // namespace

int runSet(Connection& connection, const std::wstring& path, const std::vector<Assignment>& values,
           const CommandOptions& options)
{
    const InstanceTarget instance = connection.findInstance(path, options.nameSpace);
    const ClassDefinition& definition = *instance.target.definition;
    refuseKeys(definition, values);
    const auto object = getInstance(connection, instance, options);
    for (const Assignment& value : values) {
        assign(*object.get(), definition, value);
    }
    // A provider may keep the very object that it is given.
    ComPtr<IWbemClassObject> sent;
    if (FAILED(object->Clone(sent.put()))) {
        throw RequestError(code(WBEM_E_OUT_OF_MEMORY), "the instance cannot be copied");
    }
    putChanges(connection, instance.target, object.get(), values, options);
    const auto kept = getInstance(connection, instance, options);
    writeObject(*kept.get(), definition, options);
    reportDifferences(*sent.get(), *kept.get(), definition, values);
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
