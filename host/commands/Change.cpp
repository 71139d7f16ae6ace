#include "host/Console.h"
#include "host/Text.h"
#include "host/commands/Output.h"

namespace host {

int runSet(Workspace& workspace, const std::wstring& path, const std::vector<Assignment>& values,
           const CommandOptions& options)
{
    const InstanceTarget instance = workspace.findInstance(path, options.nameSpace);
    const ClassDefinition& definition = *instance.target.definition;
    const auto object = getInstance(workspace, instance, options);
    for (const Assignment& value : values) {
        assign(*object.get(), definition, value);
    }
    putInstance(workspace, instance.target, object.get(), options);
    // What the provider keeps may differ from what was sent.
    writeObject(*getInstance(workspace, instance, options).get(), definition, options);
    return 0;
}

int runDelete(Workspace& workspace, const std::wstring& path, const CommandOptions& options)
{
    const InstanceTarget instance = workspace.findInstance(path, options.nameSpace);
    deleteInstance(workspace, instance, options);
    writeOut("deleted " + toUtf8(instance.path) + "\n");
    return 0;
}

}  // namespace host
