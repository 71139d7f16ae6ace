#include "wmihost/com/Guard.h"
#include "wmihost/com/ObjectReader.h"
#include "wmihost/commands/JobFollower.h"
#include "wmihost/commands/Output.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

const Method& methodOf(const ClassDefinition& definition, const std::wstring& name)
{
    const Method* method = definition.findMethod(name);
    if (method == nullptr) {
        throw RequestError(code(WBEM_E_INVALID_METHOD), "the class " + toUtf8(definition.name) + " has no method " +
                                                            toUtf8(name) + suggestionAmong(name, definition.methods));
    }
    return *method;
}

// The return value's words stand at the method, not at the value.
std::string outputText(const Method& method, const Property& property, const VARIANT& value)
{
    if (property.name != L"ReturnValue") {
        return valueAndWord(property, value);
    }
    const std::wstring word = wordFor(method.qualifiers, value, property.type);
    const std::string number = toUtf8(scalarText(value, property.type));
    return word.empty() ? number : number + " (" + toUtf8(word) + ")";
}

void writeOutputs(IWbemClassObject& out, const Method& method, const CommandOptions& options)
{
    if (options.format == Format::json) {
        Json json;
        for (const Property& property : method.out->properties) {
            json[toUtf8(property.name)] = jsonOf(valueOf(out, property.name).get(), property.type);
        }
        writeOut(json.dump(2) + "\n");
        return;
    }
    if (options.format == Format::mof) {
        writeOut(mofOf(out));
        return;
    }
    Table table({{"Output"}, {.heading = "Value", .wraps = true}});
    for (const Property& property : method.out->properties) {
        table.addRow({toUtf8(property.name), outputText(method, property, valueOf(out, property.name).get())});
    }
    writeOut(table.render(lineWidth()));
}

}  // namespace

int runInvoke(Workspace& workspace, const std::wstring& path, const std::wstring& methodName,
              const std::vector<Assignment>& arguments, const CommandOptions& options)
{
    const InstanceTarget instance = workspace.findInstance(path, options.nameSpace);
    const Method& method = methodOf(*instance.target.definition, methodName);
    const auto out = invokeMethod(workspace, instance, method, arguments, options);
    if (!out || !method.out) {
        writeError("the method delivered no outputs\n");
        return out || !method.out ? 0 : 1;
    }
    writeOutputs(*out.get(), method, options);
    const std::wstring job = textOf(*out.get(), L"Job");
    if (!options.wait || job.empty()) {
        return 0;
    }
    return followJob(workspace, workspace.findInstance(job, instance.target.nameSpace->name()), options) ? 0 : 1;
}

}  // namespace wmihost
