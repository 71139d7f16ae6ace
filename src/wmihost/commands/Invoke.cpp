#include <algorithm>

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

// A class without keys has no instances that a path could name.
bool hasKeys(const ClassDefinition& definition)
{
    return std::any_of(definition.properties.begin(), definition.properties.end(),
                       [](const Property& property) { return property.isKey(); });
}

// A method acts on an instance, unless it is one of the class.
void checkTarget(const InstanceTarget& target, const Method& method)
{
    const ClassDefinition& definition = *target.target.definition;
    if (!ObjectPath::parse(target.path).isInstance() && !hasQualifier(method.qualifiers, L"static") &&
        hasKeys(definition)) {
        throw RequestError(code(WBEM_E_INVALID_OBJECT_PATH),
                           "the path names a class, and " + toUtf8(method.name) + " is a method of its instances");
    }
}

}  // namespace

int runInvoke(Connection& connection, const std::wstring& path, const std::wstring& methodName,
              const std::vector<Assignment>& arguments, const CommandOptions& options)
{
    const InstanceTarget instance = connection.findMethodTarget(path, options.nameSpace);
    const Method& method = methodOf(*instance.target.definition, methodName);
    checkTarget(instance, method);
    const auto out = invokeMethod(connection, instance, method, arguments, options);
    if (!out || !method.out) {
        writeError("the method delivered no outputs\n");
        return out || !method.out ? 0 : 1;
    }
    writeOutputs(*out.get(), method, options);
    const std::wstring job = textOf(*out.get(), L"Job");
    if (!options.wait || job.empty()) {
        return 0;
    }
    return followJob(connection, connection.findInstance(job, instance.target.nameSpace), options) ? 0 : 1;
}

}  // namespace wmihost
