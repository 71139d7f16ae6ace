#include <algorithm>
#include <cctype>

#include "wmihost/commands/Output.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Csv.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::string accessOf(const Property& property)
{
    std::string access = property.isKey() ? "key" : "";
    if (hasQualifier(property.qualifiers, L"write")) {
        access += access.empty() ? "write" : ", write";
    }
    return access;
}

std::string typeOf(const Property& property)
{
    return toUtf8(typeText(property)) + (isArray(property.type) ? "[]" : "");
}

std::string description(const Qualifiers& qualifiers)
{
    return toUtf8(qualifierText(qualifiers, L"Description"));
}

std::string limitText(const Property& property, const wchar_t* qualifier)
{
    const Qualifier* found = findQualifier(property.qualifiers, qualifier);
    return found == nullptr ? std::string() : toUtf8(scalarText(found->value.get(), found->type));
}

// "2 Enabled, 3 Disabled"; empty without a value map.
std::string valueMapText(const Qualifiers& qualifiers)
{
    std::string text;
    for (const ValueWord& entry : valueWords(qualifiers)) {
        text += (text.empty() ? "" : ", ") + toUtf8(entry.value) + " " + toUtf8(entry.word);
    }
    return text;
}

// The description of a property and its other qualifiers of interest, as sentences.
std::string remarks(const Property& property)
{
    std::string text = description(property.qualifiers);
    if (const std::wstring units = qualifierText(property.qualifiers, L"Units"); !units.empty()) {
        text += (text.empty() ? "Unit: " : " Unit: ") + toUtf8(units) + ".";
    }
    if (const std::string words = valueMapText(property.qualifiers); !words.empty()) {
        text += (text.empty() ? "Values: " : " Values: ") + words + ".";
    }
    return visible(text);
}

struct Parameter
{
    const Property* property;
    std::string direction;
};

// Inputs, then outputs; without the return value.
std::vector<Parameter> parametersOf(const Method& method)
{
    std::vector<Parameter> result;
    for (const auto& [signature, direction] : {std::pair{method.in, "in"}, std::pair{method.out, "out"}}) {
        if (!signature) {
            continue;
        }
        for (const Property& parameter : signature->properties) {
            if (parameter.name != L"ReturnValue") {
                result.push_back({&parameter, direction});
            }
        }
    }
    return result;
}

std::string parameterList(const Method& method)
{
    std::string text;
    for (const auto& [parameter, direction] : parametersOf(method)) {
        text += (text.empty() ? "" : ", ") + direction + " " + typeOf(*parameter) + " " + toUtf8(parameter->name);
    }
    return text;
}

std::string returnType(const Method& method)
{
    const Property* value = method.out ? method.out->findProperty(L"ReturnValue") : nullptr;
    return value == nullptr ? "void" : typeOf(*value);
}

// The content of the remarks, for programs.
void addRemarks(Json& entry, const Qualifiers& qualifiers)
{
    entry["description"] = description(qualifiers);
    if (const std::wstring units = qualifierText(qualifiers, L"Units"); !units.empty()) {
        entry["units"] = toUtf8(units);
    }
    for (const ValueWord& pair : valueWords(qualifiers)) {
        entry["values"][toUtf8(pair.value)] = toUtf8(pair.word);
    }
}

Json parameterJson(const ClassPointer& signature)
{
    Json list = Json::array();
    if (signature) {
        for (const Property& parameter : signature->properties) {
            Json entry{{"name", toUtf8(parameter.name)}, {"type", typeOf(parameter)}};
            addRemarks(entry, parameter.qualifiers);
            list.push_back(std::move(entry));
        }
    }
    return list;
}

Json describeJson(const ClassTarget& target)
{
    const ClassDefinition& definition = *target.definition;
    Json json;
    json["class"] = toUtf8(definition.name);
    json["namespace"] = toUtf8(target.nameSpace);
    json["superclass"] = definition.ancestors.empty() ? Json() : Json(toUtf8(definition.ancestors.front()));
    json["description"] = description(definition.qualifiers);
    json["properties"] = Json::array();
    for (const Property& property : definition.properties) {
        Json entry{{"name", toUtf8(property.name)},
                   {"type", typeOf(property)},
                   {"key", property.isKey()},
                   {"writable", hasQualifier(property.qualifiers, L"write")}};
        addRemarks(entry, property.qualifiers);
        for (const auto* limit : {L"MinValue", L"MaxValue", L"MinLen", L"MaxLen"}) {
            if (const Qualifier* found = findQualifier(property.qualifiers, limit)) {
                entry[toUtf8(limit)] = jsonOf(found->value.get(), found->type);
            }
        }
        json["properties"].push_back(std::move(entry));
    }
    json["methods"] = Json::array();
    for (const Method& method : definition.methods) {
        Json entry{{"name", toUtf8(method.name)}};
        addRemarks(entry, method.qualifiers);
        entry["in"] = parameterJson(method.in);
        entry["out"] = parameterJson(method.out);
        json["methods"].push_back(std::move(entry));
    }
    return json;
}

// A method for people: its signature, and below it, indented, its description and values.
std::string methodText(const Method& method)
{
    std::string text = returnType(method) + " " + toUtf8(method.name) + "(" + parameterList(method) + ")\n";
    text += "    " + description(method.qualifiers) + "\n";
    for (const Parameter& parameter : parametersOf(method)) {
        if (const std::string meaning = remarks(*parameter.property); !meaning.empty()) {
            text += "    " + toUtf8(parameter.property->name) + ": " + meaning + "\n";
        }
    }
    if (const std::string words = valueMapText(method.qualifiers); !words.empty()) {
        text += "    Returns: " + words + "\n";
    }
    return text;
}

void describeTable(const ClassTarget& target)
{
    const ClassDefinition& definition = *target.definition;
    const auto width = lineWidth();
    std::string head = toUtf8(definition.name) + " in " + toUtf8(target.nameSpace) + "\n";
    if (!definition.ancestors.empty()) {
        head += "derived from " + toUtf8(definition.ancestors.front()) + "\n";
    }
    if (const std::string text = description(definition.qualifiers); !text.empty()) {
        head += text + "\n";
    }
    Table properties({{.heading = "Property", .longTexts = Table::Long::WHOLE},
                      {.heading = "Type", .longTexts = Table::Long::WHOLE},
                      {.heading = "Access", .longTexts = Table::Long::WHOLE},
                      {.heading = "Description", .longTexts = Table::Long::WRAPS}});
    for (const Property& property : definition.properties) {
        properties.addRow({toUtf8(property.name), typeOf(property), accessOf(property), remarks(property)});
    }
    writeOut(wrappedLines(head, width, 0) + "\n" + properties.render(width));
    for (const Method& method : definition.methods) {
        writeOut("\n" + wrappedLines(methodText(method), width, 4));
    }
}

std::string rangeText(const Property& property)
{
    const std::string low = limitText(property, L"MinValue");
    const std::string high = limitText(property, L"MaxValue");
    const std::string shortest = limitText(property, L"MinLen");
    const std::string longest = limitText(property, L"MaxLen");
    std::string text;
    if (!low.empty() || !high.empty()) {
        text = low + " to " + high;
    }
    if (!longest.empty()) {
        text = (shortest.empty() ? std::string("0") : shortest) + " to " + longest + " bytes";
    }
    return text;
}

// A vertical bar would end the cell of the table.
std::string markdownCell(const std::string& text)
{
    std::string cell;
    for (const char c : text) {
        cell += c == '|' ? "\\|" : std::string(1, c);
    }
    return cell;
}

// The names of the property in the classes of the DMTF or of the platform, for a cell of a table.
std::string namesElsewhere(const Property& property, bool inDmtfClasses)
{
    std::string names;
    const Qualifier* mapping = findQualifier(property.qualifiers, L"MappingStrings");
    if (mapping == nullptr || !mapping->value.isArray()) {
        return names;
    }
    for (const Variant& element : elementsOf(mapping->value.get())) {
        const std::string name = toUtf8(scalarText(element.get(), CIM_STRING));
        if (name.starts_with("CIM_") == inDmtfClasses) {
            names += (names.empty() ? "`" : ", `") + name + "`";
        }
    }
    return names;
}

// A table of the properties that classes of others have as well; empty if there is none.
std::string mappingTable(const ClassDefinition& definition)
{
    std::string rows;
    for (const Property& property : definition.properties) {
        const std::string dmtf = namesElsewhere(property, true);
        const std::string platform = namesElsewhere(property, false);
        if (!dmtf.empty() || !platform.empty()) {
            rows += "| `" + toUtf8(property.name) + "` | " + dmtf + " | " + platform + " |\n";
        }
    }
    return rows.empty() ? rows : "\n| property | as the DMTF has it | as Windows has it |\n|---|---|---|\n" + rows;
}

// The head of the reference of all classes: how it was made, and a list of links to the classes.
void writeReferenceHead(const std::vector<ClassTarget>& classes)
{
    std::string text =
        "# Classes\n\nWhat the provider serves, as the MOF declares it. `wmihost describe --format markdown` writes "
        "this "
        "page; change the MOF, not the page.\n\n";
    for (const ClassTarget& target : classes) {
        const std::string name = toUtf8(target.definition->name);
        std::string anchor = name;
        std::transform(anchor.begin(), anchor.end(), anchor.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        text += "- [" + name + "](#" + anchor + "): " + description(target.definition->qualifiers) + "\n";
    }
    writeOut(text);
}

void describeMarkdown(const ClassTarget& target)
{
    const ClassDefinition& definition = *target.definition;
    std::string text = "## " + toUtf8(definition.name) + "\n\n`" + toUtf8(target.nameSpace) + "`. " +
                       description(definition.qualifiers) + "\n\n";
    text += "| property | type | access | range | meaning |\n|---|---|---|---|---|\n";
    for (const Property& property : definition.properties) {
        text += "| `" + toUtf8(property.name) + "` | " + typeOf(property) + " | " + accessOf(property) + " | " +
                rangeText(property) + " | " + markdownCell(remarks(property)) + " |\n";
    }
    text += mappingTable(definition);
    for (const Method& method : definition.methods) {
        text += "\n### " + toUtf8(method.name) + "\n\n`" + returnType(method) + " " + toUtf8(method.name) + "(" +
                parameterList(method) + ")`. " + description(method.qualifiers) + "\n";
        const auto parameters = parametersOf(method);
        text += parameters.empty() ? "" : "\n";
        for (const Parameter& parameter : parameters) {
            const std::string meaning = remarks(*parameter.property);
            text += "- `" + toUtf8(parameter.property->name) + "`" + (meaning.empty() ? "" : ": " + meaning) + "\n";
        }
        if (const std::string words = valueMapText(method.qualifiers); !words.empty()) {
            text += "\nReturns: " + words + ".\n";
        }
    }
    writeOut(text);
}

Json listJson(const std::vector<ClassTarget>& classes)
{
    Json list = Json::array();
    for (const ClassTarget& target : classes) {
        list.push_back({{"class", toUtf8(target.definition->name)},
                        {"namespace", toUtf8(target.nameSpace)},
                        {"description", description(target.definition->qualifiers)}});
    }
    return list;
}

std::string listCsv(const std::vector<ClassTarget>& classes)
{
    std::string text = csvRecord({"Class", "Namespace", "Description"});
    for (const ClassTarget& target : classes) {
        text += csvRecord(
            {toUtf8(target.definition->name), toUtf8(target.nameSpace), description(target.definition->qualifiers)});
    }
    return text;
}

Table listTable(const std::vector<ClassTarget>& classes)
{
    Table table({{.heading = "Class", .longTexts = Table::Long::WHOLE},
                 {.heading = "Namespace", .longTexts = Table::Long::WHOLE},
                 {.heading = "Description", .longTexts = Table::Long::WRAPS}});
    for (const ClassTarget& target : classes) {
        table.addRow({toUtf8(target.definition->name), toUtf8(target.nameSpace),
                      visible(description(target.definition->qualifiers))});
    }
    return table;
}

std::string classMof(const ClassTarget& target)
{
    return withEscapes(toUtf8(classText(*target.definition, true)), "\\x");
}

}  // namespace

void writeClassList(const std::vector<ClassTarget>& classes, const CommandOptions& options)
{
    switch (options.format) {
        case Format::JSON:
            writeOut(jsonText(listJson(classes)));
            break;
        case Format::CSV:
            writeOut(listCsv(classes));
            break;
        case Format::MOF:
            for (const ClassTarget& target : classes) {
                writeOut(classMof(target) + "\n");
            }
            break;
        default:
            writeOut(listTable(classes).render(lineWidth()));
    }
}

int runClasses(const Connection& connection, const CommandOptions& options)
{
    writeClassList(connection.classes(options.nameSpace), options);
    return 0;
}

int runDescribe(const Connection& connection, const std::wstring& className, const CommandOptions& options)
{
    const auto classes = className.empty()
                             ? connection.classes(options.nameSpace)
                             : std::vector<ClassTarget>{connection.findClass(className, options.nameSpace)};
    const bool isReference = className.empty() && options.format == Format::MARKDOWN;
    if (isReference) {
        writeReferenceHead(classes);
    }
    Json list = Json::array();
    std::string_view gap = isReference ? "\n" : "";
    for (const ClassTarget& target : classes) {
        switch (options.format) {
            case Format::JSON:
                list.push_back(describeJson(target));
                break;
            case Format::MOF:
                writeOut(gap);
                writeOut(classMof(target));
                break;
            case Format::MARKDOWN:
                writeOut(gap);
                describeMarkdown(target);
                break;
            default:
                writeOut(gap);
                describeTable(target);
        }
        gap = "\n";
    }
    if (options.format == Format::JSON) {
        writeOut(jsonText(className.empty() ? list : list.front()));
    }
    return 0;
}

}  // namespace wmihost
