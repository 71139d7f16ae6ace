#include <algorithm>

#include "wmihost/com/Guard.h"
#include "wmihost/commands/JobFollower.h"
#include "wmihost/commands/Limits.h"
#include "wmihost/commands/Output.h"
#include "wmihost/commands/Report.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Escape.h"
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

// The words for the return value are qualifiers of the method and not of the value.
std::string outputText(const Method& method, const Property& property, const VARIANT& value)
{
    if (property.name != L"ReturnValue") {
        return valueAndWord(property, value);
    }
    const std::wstring word = wordFor(method.qualifiers, value, property.type);
    const std::string number = visible(toUtf8(scalarText(value, property.type)));
    return word.empty() ? number : number + " (" + toUtf8(word) + ")";
}

Json jsonOfOutputs(IWbemClassObject& out, const Method& method)
{
    Json json = Json::object();
    for (const Property& property : method.out->properties) {
        json[toUtf8(property.name)] = jsonOf(valueOf(out, property.name).get(), property.type);
    }
    return json;
}

std::vector<const Property*> outputsOf(const Method& method)
{
    std::vector<const Property*> result;
    for (const Property& property : method.out->properties) {
        result.push_back(&property);
    }
    return result;
}

void writeOutputs(IWbemClassObject& out, const Method& method, const CommandOptions& options)
{
    switch (options.format) {
        case Format::JSON:
            writeOut(jsonText(jsonOfOutputs(out, method)));
            break;
        case Format::MOF:
            writeOut(mofOf(out));
            break;
        case Format::CSV: {
            const auto properties = outputsOf(method);
            writeOut(csvHeader(properties) + csvOf(out, properties));
            break;
        }
        default: {
            Table table(detailColumns("Output"));
            for (const Property& property : method.out->properties) {
                table.addRow({toUtf8(property.name), outputText(method, property, valueOf(out, property.name).get())});
            }
            writeOut(table.render(lineWidth()));
        }
    }
}

// Whether a return value means success or that a job was started. By convention these are 0 and 4096; other values,
// such as "Successful completion, reboot required", are recognised by their word.
bool isAccepted(const Method& method, const Property& property, const VARIANT& value)
{
    const std::wstring number = scalarText(value, property.type);
    if (!parseSigned(number) || number == L"0" || number == L"4096") {
        return true;
    }
    const std::wstring word = foldName(wordFor(method.qualifiers, value, property.type));
    return word.starts_with(L"SUCCESS") || word.starts_with(L"COMPLETED");
}

std::string objectionsTo(const Method& method, const std::vector<Assignment>& arguments)
{
    return method.in ? refusedArguments(*method.in, arguments) : std::string();
}

// Calls the method. If the provider refuses, the error also names the limits of the parameters that the arguments
// violate.
ComPtr<IWbemClassObject> call(Connection& connection, const InstanceTarget& instance, const Method& method,
                              const std::vector<Assignment>& arguments, const CommandOptions& options)
{
    try {
        return invokeMethod(connection, instance, method, arguments, options);
    } catch (const RequestError& error) {
        throwWithObjections(error, objectionsTo(method, arguments));
    }
}

// Returns whether the method succeeded. If not, reports its return value and the limits of the parameters that the
// arguments violate.
bool reportReturnValue(IWbemClassObject& out, const Method& method, const std::vector<Assignment>& arguments)
{
    const Property* property = method.out->findProperty(L"ReturnValue");
    const Variant value = valueOf(out, L"ReturnValue");
    if (property == nullptr || value.isNull() || isAccepted(method, *property, value.get())) {
        return true;
    }
    const std::string objections = objectionsTo(method, arguments);
    writeError("wmihost invoke: " + toUtf8(method.name) + " returned " + outputText(method, *property, value.get()) +
               "\n" + (objections.empty() ? "" : "  Reason: " + objections + "\n"));
    return false;
}

// Without keys, no path can name an instance of the class.
bool hasKeys(const ClassDefinition& definition)
{
    return std::any_of(definition.properties.begin(), definition.properties.end(),
                       [](const Property& property) { return property.isKey(); });
}

// A method needs an instance, unless it is static.
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
    const auto out = call(connection, instance, method, arguments, options);
    if (!out || !method.out) {
        writeHint(options, "the method delivered no outputs\n");
        writeOut(options.format == Format::JSON ? "{}\n" : "");
        return out || !method.out ? 0 : 1;
    }
    writeOutputs(*out.get(), method, options);
    if (!reportReturnValue(*out.get(), method, arguments)) {
        return 1;
    }
    const std::wstring job = textOf(*out.get(), L"Job");
    if (job.empty()) {
        return 0;
    }
    if (options.wait) {
        return followJob(connection, connection.findInstance(job, instance.target.nameSpace), options);
    }
    if (!options.jobsGoOn) {
        writeHint(options, "the job ends with this command; --wait follows it, and in 'wmihost shell' it goes on\n");
    }
    return 0;
}

}  // namespace wmihost
