#include "wmihost/com/Guard.h"
#include "wmihost/commands/Output.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

namespace {

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
    putInstance(connection, instance.target, object.get(), options);
    // What the provider keeps may differ from what was sent.
    writeObject(*getInstance(connection, instance, options).get(), definition, options);
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
