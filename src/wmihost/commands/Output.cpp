#include "wmihost/commands/Output.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>

#include "wmihost/com/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Condition.h"

namespace wmihost {
namespace {

// What a line of a table says of an instance at a glance; classes that are not named here show everything.
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

// Headings that are shorter than the property's name.
std::string headingOf(const Property& property)
{
    static const std::map<std::wstring, std::string> shorter{{L"ActiveMaximumTransmissionUnit", "MTU"},
                                                             {L"PermanentAddress", "MAC"},
                                                             {L"EnabledState", "State"},
                                                             {L"HealthState", "Health"}};
    const auto found = shorter.find(property.name);
    return found == shorter.end() ? toUtf8(property.name) : found->second;
}

std::vector<const Property*> tableColumns(const ClassDefinition& definition, const CommandOptions& options)
{
    const auto found = glances().find(definition.name);
    if (!options.properties.empty() || found == glances().end()) {
        auto columns = shownProperties(definition, options);
        if (options.properties.empty()) {
            // The same on every line.
            static const std::set<std::wstring> dull{L"SystemCreationClassName", L"SystemName", L"CreationClassName"};
            std::erase_if(columns, [](const Property* property) { return dull.count(property->name) != 0; });
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

void writeTable(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options)
{
    const auto properties = tableColumns(definition, options);
    std::vector<Table::Column> columns;
    for (const Property* property : properties) {
        columns.push_back({headingOf(*property), isNumber(*property)});
    }
    Table table(std::move(columns));
    for (const auto& object : objects) {
        std::vector<std::string> cells;
        for (const Property* property : properties) {
            cells.push_back(displayText(*property, valueOf(*object.get(), property->name).get()));
        }
        table.addRow(std::move(cells));
    }
    const auto width = lineWidth();
    writeOut(table.render(width));
    const std::size_t hidden = table.hiddenColumns(width);
    if (hidden == 1) {
        writeError("1 more property does not fit the terminal; --property A,B or --format json shows it\n");
    } else if (hidden > 1) {
        writeError(std::to_string(hidden) +
                   " more properties do not fit the terminal; --property A,B or --format json shows them\n");
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
        result.push_back(&propertyOf(definition, name));
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
    return toUtf8(text.view());
}

std::string valueAndWord(const Property& property, const VARIANT& value)
{
    const std::string shown = displayText(property, value);
    const bool hasWord = (value.vt & VT_ARRAY) == 0 && !wordFor(property.qualifiers, value, property.type).empty();
    return hasWord ? toUtf8(scalarText(value, property.type)) + " (" + shown + ")" : shown;
}

void writeObjects(const Objects& objects, const ClassDefinition& definition, const CommandOptions& options)
{
    switch (options.format) {
        case Format::json: {
            Json list = Json::array();
            for (const auto& object : objects) {
                list.push_back(objectJson(*object.get(), definition, options));
            }
            writeOut(list.dump(2) + "\n");
            break;
        }
        case Format::mof:
            for (const auto& object : objects) {
                writeOut(mofOf(*object.get()) + "\n");
            }
            break;
        default:
            writeTable(objects, definition, options);
    }
}

void writeObject(IWbemClassObject& object, const ClassDefinition& definition, const CommandOptions& options)
{
    if (options.format == Format::json) {
        writeOut(objectJson(object, definition, options).dump(2) + "\n");
        return;
    }
    if (options.format == Format::mof) {
        writeOut(mofOf(object));
        return;
    }
    Table table({{"Property"}, {.heading = "Value", .wraps = true}});
    for (const Property* property : shownProperties(definition, options)) {
        table.addRow({toUtf8(property->name), valueAndWord(*property, valueOf(object, property->name).get())});
    }
    writeOut(table.render(lineWidth()));
}

}  // namespace wmihost
