#include "wmihost/commands/Output.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include "wmihost/commands/Headings.h"
#include "wmihost/commands/Report.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Csv.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Condition.h"

namespace wmihost {
namespace {

using Rows = std::vector<std::vector<std::string>>;

// The properties that a line of a table shows by default. Classes that are not listed here show all of theirs.
const std::map<std::wstring, std::vector<std::wstring>>& glances()
{
    static const std::map<std::wstring, std::vector<std::wstring>> columns{
        {L"Zerix_EthernetPort",
         {L"Name", L"PermanentAddress", L"Speed", L"ActiveMaximumTransmissionUnit", L"EnabledState", L"HealthState",
          L"DeviceID"}},
        {L"Zerix_EthernetPortStatistics",
         {L"InstanceID", L"BytesReceived", L"BytesTransmitted", L"PacketsReceived", L"PacketsTransmitted",
          L"TotalRxErrors", L"TotalTxErrors"}},
        {L"Zerix_IPProtocolEndpoint",
         {L"IPv4Address", L"IPv6Address", L"PrefixLength", L"ProtocolIFType", L"AddressOrigin", L"Name"}},
        {L"Zerix_ConcreteJob",
         {L"InstanceID", L"Name", L"JobState", L"PercentComplete", L"StartTime", L"ElapsedTime", L"JobStatus"}}};
    return columns;
}

// Whether the property is the same on every line and so is not worth showing.
bool isDull(const Property& property)
{
    static const std::set<std::wstring> dull{L"SystemCreationClassName", L"SystemName", L"CreationClassName"};
    return dull.contains(property.name);
}

std::vector<const Property*> tableColumns(const ClassDefinition& definition, const CommandOptions& options)
{
    const auto found = glances().find(definition.name);
    if (!options.properties.empty() || found == glances().end()) {
        auto columns = shownProperties(definition, options);
        if (options.properties.empty()) {
            std::erase_if(columns, [](const Property* property) { return isDull(*property); });
        }
        return columns;
    }
    std::vector<const Property*> columns;
    for (const std::wstring& name : found->second) {
        if (const Property* property = definition.findProperty(name)) {
            columns.push_back(property);
        }
    }
    return columns;
}

// "Class.Name="x",SystemName="y"" without the keys that are the same for every instance; other texts as they are.
std::string withoutDullKeys(const std::string& reference)
{
    static const std::regex dull("(SystemCreationClassName|SystemName|CreationClassName)=\"[^\"\\\\]*\"");
    static const std::regex commas(",{2,}");
    static const std::regex leadingComma("\\.,");
    std::string kept = std::regex_replace(reference, dull, "");
    kept = std::regex_replace(std::regex_replace(kept, commas, ","), leadingComma, ".");
    return kept.ends_with(",") ? kept.substr(0, kept.size() - 1) : kept;
}

Rows rowsOf(const Objects& objects, const std::vector<const Property*>& properties)
{
    Rows rows;
    for (const auto& object : objects) {
        std::vector<std::string> cells;
        for (const Property* property : properties) {
            cells.push_back(displayText(*property, valueOf(*object.get(), property->name).get()));
        }
        rows.push_back(std::move(cells));
    }
    return rows;
}

// The columns that identify the rows: the first one if its values are unique, otherwise the keys.
std::vector<bool> identifying(const std::vector<const Property*>& properties, const Rows& rows)
{
    std::set<std::string> values;
    for (const auto& row : rows) {
        values.insert(properties.empty() ? "" : row.front());
    }
    const bool firstSuffices = values.size() == rows.size() && !values.contains("");
    std::vector<bool> result;
    for (const Property* property : properties) {
        result.push_back(firstSuffices ? result.empty() : property->isKey());
    }
    return result;
}

Table::Long longTextsOf(const Property& property, bool identifies)
{
    if (property.type == CIM_REFERENCE) {
        return Table::Long::MIDDLE;
    }
    return identifies || property.isKey() ? Table::Long::WHOLE : Table::Long::CUT;
}

// Removes the dull keys from references.
void shortenReferences(const std::vector<const Property*>& properties, Rows& rows)
{
    for (auto& row : rows) {
        for (std::size_t i = 0; i < properties.size(); ++i) {
            if (properties[i]->type == CIM_REFERENCE) {
                row[i] = withoutDullKeys(row[i]);
            }
        }
    }
}

Table tableOf(const std::vector<const Property*>& properties, const ClassDefinition& definition, const Rows& rows)
{
    const std::vector<bool> identifies = identifying(properties, rows);
    std::vector<Table::Column> columns;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const Property& property = *properties[i];
        columns.push_back(
            {headingOf(definition, property), isNumber(property), longTextsOf(property, identifies[i]), identifies[i]});
    }
    Table table(std::move(columns));
    for (const auto& row : rows) {
        table.addRow(row);
    }
    return table;
}

// Says which properties were left out, and how to see them.
void reportHidden(const std::vector<std::string>& hidden, const ClassDefinition& definition,
                  const CommandOptions& options)
{
    std::string names;
    for (const std::string& heading : hidden) {
        names += (names.empty() ? "" : ",") + heading;
    }
    const bool one = hidden.size() == 1;
    const std::string count = std::to_string(hidden.size()) + (one ? " property does" : " properties do");
    writeHint(options, options.hasPropertyOption ? count + " not fit the line; --property " + names + " shows " +
                                                       (one ? "it" : "them") + ", --format json shows all\n"
                                                 : toUtf8(definition.name) + ": " + count + " not fit the line (" +
                                                       names + "); --format json shows all\n");
}

void writeTable(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options)
{
    const auto properties = tableColumns(definition, options);
    Rows rows = rowsOf(objects, properties);
    Table table = tableOf(properties, definition, rows);
    if (!table.fits(lineWidth())) {
        shortenReferences(properties, rows);
        table = tableOf(properties, definition, rows);
    }
    const auto width = lineWidth();
    writeOut(table.render(width));
    if (const auto hidden = table.hiddenColumns(width); !hidden.empty()) {
        reportHidden(hidden, definition, options);
    }
}

}  // namespace

Json objectJson(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options)
{
    Json json;
    json["__CLASS"] = toUtf8(textOf(object, L"__CLASS"));
    if (const Variant path = valueOf(object, L"__PATH"); !path.isNull()) {
        json["__PATH"] = toUtf8(viewOf(path.get().bstrVal));
    }
    for (const Property* property : shownProperties(definition, options)) {
        json[toUtf8(property->name)] = jsonOf(valueOf(object, property->name).get(), property->type);
    }
    return json;
}

std::vector<const Property*> shownProperties(const ClassDefinition& definition, const CommandOptions& options)
{
    std::vector<const Property*> result;
    for (const std::wstring& name : options.properties) {
        const auto named = propertiesNamed(definition, name);
        result.insert(result.end(), named.begin(), named.end());
    }
    if (result.empty()) {
        for (const Property& property : definition.properties) {
            result.push_back(&property);
        }
    }
    return result;
}

void checkNames(const ClassDefinition& definition, const CommandOptions& options)
{
    shownProperties(definition, options);
    for (const wql::Condition& condition : options.conditions) {
        wql::checkCondition(condition, definition);
    }
}

std::string mofOf(IWbemClassObject& object)
{
    Bstr text;
    const HRESULT result = object.GetObjectText(0, text.put());
    if (FAILED(result)) {
        throw RequestError(result, "the object cannot be written as MOF");
    }
    return withEscapes(toUtf8(text.view()), "\\x");
}

std::string valueAndWord(const Property& property, const VARIANT& value)
{
    const std::string shown = displayText(property, value);
    const bool hasWord = (value.vt & VT_ARRAY) == 0 && !wordFor(property.qualifiers, value, property.type).empty();
    return hasWord ? visible(toUtf8(scalarText(value, property.type))) + " (" + shown + ")" : shown;
}

std::string csvHeader(const std::vector<const Property*>& properties)
{
    std::vector<std::optional<std::string>> names;
    for (const Property* property : properties) {
        names.emplace_back(toUtf8(property->name));
    }
    return csvRecord(names);
}

std::string csvOf(IWbemClassObject& object, const std::vector<const Property*>& properties)
{
    std::vector<std::optional<std::string>> fields;
    for (const Property* property : properties) {
        fields.push_back(csvField(valueOf(object, property->name).get(), property->type));
    }
    return csvRecord(fields);
}

void writeObjects(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options)
{
    switch (options.format) {
        case Format::JSON: {
            Json list = Json::array();
            for (const auto& object : objects) {
                list.push_back(objectJson(*object.get(), definition, options));
            }
            writeOut(jsonText(list));
            break;
        }
        case Format::MOF:
            for (const auto& object : objects) {
                writeOut(mofOf(*object.get()) + "\n");
            }
            break;
        case Format::CSV: {
            const auto properties = shownProperties(definition, options);
            std::string text = csvHeader(properties);
            for (const auto& object : objects) {
                text += csvOf(*object.get(), properties);
            }
            writeOut(text);
            break;
        }
        default:
            writeTable(objects, definition, options);
    }
}

void writeObject(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options)
{
    switch (options.format) {
        case Format::JSON:
            writeOut(jsonText(objectJson(object, definition, options)));
            break;
        case Format::MOF:
            writeOut(mofOf(object));
            break;
        case Format::CSV: {
            const auto properties = shownProperties(definition, options);
            writeOut(csvHeader(properties) + csvOf(object, properties));
            break;
        }
        default: {
            Table table(detailColumns("Property"));
            for (const Property* property : shownProperties(definition, options)) {
                table.addRow({toUtf8(property->name), valueAndWord(*property, valueOf(object, property->name).get())});
            }
            writeOut(table.render(lineWidth()));
        }
    }
}

std::vector<Table::Column> detailColumns(const std::string& name)
{
    return {{.heading = name, .longTexts = Table::Long::WHOLE}, {.heading = "Value", .longTexts = Table::Long::WRAPS}};
}

}  // namespace wmihost
