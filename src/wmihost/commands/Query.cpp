#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/commands/Output.h"
#include "wmihost/commands/Related.h"
#include "wmihost/commands/Report.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/session/ClassReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Csv.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Condition.h"

namespace wmihost {
namespace {

// The instances of this class are the definitions of classes.
constexpr std::wstring_view META_CLASS = L"meta_class";

bool sameClass(const ClassTarget& left, const ClassTarget& right)
{
    return sameName(left.definition->name, right.definition->name) && sameName(left.nameSpace, right.nameSpace);
}

// The classes of the objects, each once, in the order in which they came.
std::vector<ClassTarget> classesOf(const std::vector<FoundObject>& found)
{
    std::vector<ClassTarget> classes;
    for (const FoundObject& item : found) {
        const auto isSame = [&item](const ClassTarget& other) { return sameClass(other, item.target); };
        if (std::none_of(classes.begin(), classes.end(), isSame)) {
            classes.push_back(item.target);
        }
    }
    return classes;
}

void writeJson(const std::vector<FoundObject>& found, const CommandOptions& options)
{
    Json list = Json::array();
    for (const FoundObject& item : found) {
        list.push_back(objectJson(*item.object.get(), *item.target.definition, options));
    }
    writeOut(jsonText(list));
}

// The names of the properties of all classes, each once, in the order in which the classes came.
std::vector<std::wstring> propertyNames(const std::vector<ClassTarget>& classes)
{
    std::vector<std::wstring> names;
    for (const ClassTarget& target : classes) {
        for (const Property& property : target.definition->properties) {
            const auto isSame = [&property](const std::wstring& other) { return sameName(other, property.name); };
            if (std::none_of(names.begin(), names.end(), isSame)) {
                names.push_back(property.name);
            }
        }
    }
    return names;
}

// One document, however many classes the objects are of: the class, then the properties of all classes. A property that
// an object's class does not have is an empty field.
void writeCsv(const std::vector<FoundObject>& found)
{
    const std::vector<std::wstring> names = propertyNames(classesOf(found));
    std::vector<std::optional<std::string>> header{"__CLASS"};
    std::transform(names.begin(), names.end(), std::back_inserter(header),
                   [](const std::wstring& name) { return toUtf8(name); });
    std::string text = csvRecord(header);
    for (const FoundObject& item : found) {
        std::vector<std::optional<std::string>> fields{toUtf8(item.target.definition->name)};
        for (const std::wstring& name : names) {
            const Property* property = item.target.definition->findProperty(name);
            fields.push_back(property == nullptr ? std::nullopt
                                                 : csvField(valueOf(*item.object.get(), name).get(), property->type));
        }
        text += csvRecord(fields);
    }
    writeOut(text);
}

// Programs get one list; people get a table for each class below its name.
void writeFound(const std::vector<FoundObject>& found, const CommandOptions& options)
{
    if (options.format == Format::JSON) {
        writeJson(found, options);
        return;
    }
    if (options.format == Format::CSV) {
        writeCsv(found);
        return;
    }
    std::string gap;
    for (const ClassTarget& target : classesOf(found)) {
        Objects objects;
        for (const FoundObject& item : found) {
            if (sameClass(item.target, target)) {
                objects.push_back(item.object);
            }
        }
        if (options.format == Format::TABLE) {
            writeOut(gap + toUtf8(target.definition->name) + "\n");
            gap = "\n";
        }
        writeObjects(objects, *target.definition, options);
    }
}

void reportIfEmpty(bool isEmpty, const CommandOptions& options)
{
    if (isEmpty) {
        writeHint(options, "the query found nothing\n");
    }
}

// The objects with their classes, which may be derived from the class in the query.
std::vector<FoundObject> withClasses(const Connection& connection, const Objects& objects,
                                     const std::wstring& nameSpace)
{
    std::vector<FoundObject> found;
    for (const auto& object : objects) {
        found.push_back({object, connection.findClass(textOf(*object.get(), L"__CLASS"), nameSpace)});
    }
    return found;
}

// The result of the query. The machine's WMI answers it unless `local` is true; otherwise it is evaluated here.
Objects select(Connection& connection, const wql::SelectQuery& query, const ClassTarget& target,
               const std::string& text, bool local, const CommandOptions& options)
{
    if (!local) {
        try {
            if (auto answer = queryService(connection, target.nameSpace, text, options)) {
                return std::move(*answer);
            }
        } catch (const RequestError& error) {
            // WMI does not say what is wrong with the query; this check may find it.
            if (query.where && error.status() == code(WBEM_E_INVALID_QUERY)) {
                wql::checkCondition(*query.where, *target.definition);
            }
            throw;
        }
    }
    CommandOptions filtered = options;
    if (query.where) {
        filtered.conditions = {*query.where};
    }
    checkNames(*target.definition, filtered);
    Objects objects = enumerateInstances(connection, target, options);
    applyConditions(objects, *target.definition, filtered);
    return objects;
}

int answerSelect(Connection& connection, const wql::SelectQuery& query, const std::string& text, bool local,
                 const CommandOptions& options)
{
    const ClassTarget target = connection.findClass(query.className, options.nameSpace);
    CommandOptions shown = options;
    shown.properties = query.properties;
    checkNames(*target.definition, shown);
    const Objects objects = select(connection, query, target, text, local, options);
    const std::vector<FoundObject> found = withClasses(connection, objects, target.nameSpace);
    const bool isOneClass = std::all_of(found.begin(), found.end(),
                                        [&target](const FoundObject& item) { return sameClass(item.target, target); });
    if (isOneClass || !query.properties.empty()) {
        writeObjects(objects, *target.definition, shown);
    } else {
        writeFound(found, options);
    }
    reportIfEmpty(objects.empty(), options);
    return 0;
}

// SELECT * FROM meta_class
int answerSchema(Connection& connection, const wql::SelectQuery& query, const std::string& text, bool local,
                 const CommandOptions& options)
{
    if (!query.properties.empty()) {
        throw wql::QueryError("meta_class takes SELECT * alone: the answer consists of whole classes");
    }
    const std::wstring nameSpace = options.nameSpace.empty() ? std::wstring(ADAPTER_NAMESPACE) : options.nameSpace;
    std::vector<ClassTarget> classes;
    if (auto answer = local ? std::nullopt : queryService(connection, nameSpace, text, options)) {
        for (const auto& object : *answer) {
            classes.push_back({nameSpace, readClass(*object.get(), nameSpace)});
        }
    } else {
        ClassDefinition withoutProperties;
        withoutProperties.name = META_CLASS;
        if (query.where) {
            wql::checkCondition(*query.where, withoutProperties);
        }
        classes = connection.classes(options.nameSpace);
        std::erase_if(classes, [&](const ClassTarget& target) {
            const auto object = ClassObject::ofClass(target.definition);
            return query.where && !wql::holds(*query.where, withoutProperties, *object.get()).value_or(false);
        });
    }
    writeClassList(classes, options);
    reportIfEmpty(classes.empty(), options);
    return 0;
}

int answerRelatedClasses(Connection& connection, const wql::RelatedQuery& query, const std::string& text, bool local,
                         const CommandOptions& options)
{
    std::vector<ClassTarget> classes;
    const std::wstring nameSpace = connection.findMethodTarget(query.path, options.nameSpace).target.nameSpace;
    if (auto answer = local ? std::nullopt : queryService(connection, nameSpace, text, options)) {
        for (const auto& object : *answer) {
            classes.push_back({nameSpace, readClass(*object.get(), nameSpace)});
        }
    } else {
        classes = query.schemaOnly ? findRelatedClasses(connection, query, options)
                                   : classesOf(findRelated(connection, query, options));
    }
    writeClassList(classes, options);
    reportIfEmpty(classes.empty(), options);
    return 0;
}

int answerRelated(Connection& connection, const wql::RelatedQuery& query, const std::string& text, bool local,
                  const CommandOptions& options)
{
    if (query.schemaOnly || query.classDefsOnly) {
        return answerRelatedClasses(connection, query, text, local, options);
    }
    std::vector<FoundObject> found;
    const std::wstring nameSpace = connection.findInstance(query.path, options.nameSpace).target.nameSpace;
    if (auto answer = local ? std::nullopt : queryService(connection, nameSpace, text, options)) {
        found = withClasses(connection, *answer, nameSpace);
    } else {
        found = findRelated(connection, query, options);
    }
    writeFound(found, options);
    reportIfEmpty(found.empty(), options);
    return 0;
}

}  // namespace

int runQuery(Connection& connection, const std::string& text, bool local, const CommandOptions& options)
{
    const wql::Query query = wql::parseQuery(text);
    const auto* selected = std::get_if<wql::SelectQuery>(&query);
    if (selected == nullptr) {
        return answerRelated(connection, std::get<wql::RelatedQuery>(query), text, local, options);
    }
    return sameName(selected->className, META_CLASS) ? answerSchema(connection, *selected, text, local, options)
                                                     : answerSelect(connection, *selected, text, local, options);
}

int runRelated(Connection& connection, const std::string& path, const RelatedOptions& related, bool local,
               const CommandOptions& options)
{
    // WMI only accepts paths in its own form, with double quotes and the names of all keys.
    const ObjectPath parsed = ObjectPath::parse(toWide(path));
    const std::wstring relative =
        parsed.isInstance() ? ObjectPath::parse(connection.findInstance(toWide(path), options.nameSpace).path).relative
                            : parsed.relative;
    const std::string text = std::string(related.references ? "REFERENCES" : "ASSOCIATORS") + " OF {" +
                             toUtf8(parsed.prefix + relative) + "}" +
                             (related.where.empty() ? "" : " WHERE " + related.where);
    return runQuery(connection, text, local, options);
}

}  // namespace wmihost
