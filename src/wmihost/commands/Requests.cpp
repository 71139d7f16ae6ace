#include "wmihost/commands/Requests.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "wmihost/com/Guard.h"
#include "wmihost/commands/Headings.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/objects/SystemProperties.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Condition.h"

#include <shlwapi.h>

namespace wmihost {
namespace {

// An enumeration of fewer objects ends before anybody could read its progress.
constexpr unsigned WORTH_REPORTING = 20;

void reportProgress(Progress progress)
{
    const unsigned done = progress.index + 1;
    if (progress.total < WORTH_REPORTING) {
        return;
    }
    const bool last = done == progress.total;
    writeStatus(std::to_string(done) + " of " + std::to_string(progress.total));
    writeError(last ? "\n" : "");
}

RequestOptions requestOptions(const CommandOptions& options)
{
    RequestOptions result;
    result.impersonation = options.impersonation;
    return result;
}

void check(const RequestResult& result)
{
    if (!result.exception.empty()) {
        throw RequestError(result.status, "the provider threw: " + result.exception);
    }
    if (FAILED(result.status)) {
        throw RequestError(result.status, "");
    }
}

ComPtr<IWbemClassObject> onlyObject(const RequestResult& result)
{
    check(result);
    if (result.objects.size() != 1) {
        throw RequestError(code(WBEM_E_PROVIDER_FAILURE),
                           "the provider delivered " + std::to_string(result.objects.size()) + " objects, not one");
    }
    return result.objects.front();
}

Objects enumerate(Connection& connection, const ClassTarget& target, const RequestOptions& options)
{
    RequestResult result = connection.sessionFor(target).enumerate(target.definition->name, options);
    check(result);
    return std::move(result.objects);
}

void checkCall(HRESULT result, const std::string& what)
{
    if (FAILED(result)) {
        throw RequestError(result, what);
    }
}

// The text, with the words of the property's value map replaced by their numbers.
std::wstring withoutWords(const Property& property, const std::wstring& text)
{
    if (const auto value = valueForWord(property.qualifiers, text)) {
        return *value;
    }
    if (!isArray(property.type)) {
        return text;
    }
    std::wstring result;
    const wchar_t* comma = L"";
    std::wistringstream elements(text);
    for (std::wstring element; std::getline(elements, element, L',');) {
        result += comma + valueForWord(property.qualifiers, element).value_or(element);
        comma = L",";
    }
    return result;
}

// The end of an error message about a value: the words of the value map, and the most similar one.
std::string wordsOf(const Qualifiers& qualifiers, const std::wstring& text)
{
    std::string list;
    std::vector<std::wstring> words;
    for (const ValueWord& entry : valueWords(qualifiers)) {
        list += (list.empty() ? ", or one of the words " : ", ") + toUtf8(entry.word);
        words.push_back(entry.word);
    }
    return list + suggestion(text, words);
}

}  // namespace

Objects enumerateInstances(Connection& connection, const ClassTarget& target, const CommandOptions& options)
{
    RequestOptions request = requestOptions(options);
    if (errorIsTerminal() && !options.quiet) {
        request.onProgress = reportProgress;
    }
    const std::vector<ClassTarget> derived = connection.derivedClasses(target);
    Objects objects;
    // A request for a class without a provider fails. It is made only if no derived class can answer.
    if (derived.empty() || connection.hasProvider(target)) {
        objects = enumerate(connection, target, request);
    }
    for (const ClassTarget& other : derived) {
        Objects more = enumerate(connection, other, request);
        std::move(more.begin(), more.end(), std::back_inserter(objects));
    }
    return objects;
}

Objects enumerateExactly(Connection& connection, const ClassTarget& target, const CommandOptions& options)
{
    RequestOptions request = requestOptions(options);
    request.withDerived = false;
    return enumerate(connection, target, request);
}

std::optional<Objects> queryService(Connection& connection, const std::wstring& nameSpace, const std::string& text,
                                    const CommandOptions& options)
{
    std::optional<RequestResult> result = connection.query(nameSpace, toWide(text), requestOptions(options));
    if (!result) {
        return std::nullopt;
    }
    check(*result);
    return std::move(result->objects);
}

ComPtr<IWbemClassObject> getInstance(Connection& connection, const InstanceTarget& instance,
                                     const CommandOptions& options)
{
    return onlyObject(connection.sessionFor(instance.target).get(instance.path, requestOptions(options)));
}

ComPtr<IWbemClassObject> getIfPresent(Connection& connection, const InstanceTarget& instance,
                                      const CommandOptions& options)
{
    const RequestResult result = connection.sessionFor(instance.target).get(instance.path, requestOptions(options));
    return result.status == code(WBEM_E_NOT_FOUND) ? ComPtr<IWbemClassObject>() : onlyObject(result);
}

void putInstance(Connection& connection, const ClassTarget& target, IWbemClassObject* object,
                 const CommandOptions& options)
{
    check(connection.sessionFor(target).put(object, requestOptions(options)));
}

void deleteInstance(Connection& connection, const InstanceTarget& instance, const CommandOptions& options)
{
    check(connection.sessionFor(instance.target).remove(instance.path, requestOptions(options)));
}

ComPtr<IWbemClassObject> invokeMethod(Connection& connection, const InstanceTarget& instance, const Method& method,
                                      const std::vector<Assignment>& arguments, const CommandOptions& options)
{
    // If the client gives no object or the method takes none, WMI hands the provider a null pointer, and so does this.
    ComPtr<IWbemClassObject> in;
    if (method.in && !arguments.empty()) {
        in = connection.makeArguments(instance.target, method);
    }
    for (const Assignment& argument : arguments) {
        if (!method.in || method.in->findProperty(argument.first) == nullptr) {
            throw RequestError(
                code(WBEM_E_INVALID_METHOD_PARAMETERS),
                "the method " + toUtf8(method.name) + " takes no argument " + toUtf8(argument.first) +
                    (method.in ? suggestionAmong(argument.first, method.in->properties) : std::string()));
        }
        assign(*in.get(), *method.in, argument);
    }
    RequestResult result = connection.sessionFor(instance.target)
                               .execMethod(instance.path, method.name, in.get(), requestOptions(options));
    check(result);
    return result.objects.empty() ? ComPtr<IWbemClassObject>() : result.objects.front();
}

Variant valueOfText(const Property& property, const std::wstring& text)
{
    if (sameName(text, L"null")) {
        return {};
    }
    try {
        return valueFromText(withoutWords(property, text), property.type);
    } catch (const ValueError& error) {
        throw UsageError(toUtf8(property.name) + ": " + error.what() + wordsOf(property.qualifiers, text));
    }
}

void assign(IWbemClassObject& object, const ClassDefinition& definition, const Assignment& assignment)
{
    const Property& property = propertyOf(definition, assignment.first);
    const Variant value = valueOfText(property, assignment.second);
    checkCall(object.Put(property.name.c_str(), 0, value.in(), 0), "the object takes no such value");
}

std::vector<const Property*> propertiesNamed(const ClassDefinition& definition, std::wstring_view pattern)
{
    if (pattern.find_first_of(L"*?") == std::wstring_view::npos) {
        return {&propertyOf(definition, pattern)};
    }
    std::vector<const Property*> result;
    for (const Property& property : isSystemName(pattern) ? systemProperties() : definition.properties) {
        if (PathMatchSpecW(property.name.c_str(), std::wstring(pattern).c_str()) != 0) {
            result.push_back(&property);
        }
    }
    if (result.empty()) {
        throw RequestError(code(WBEM_E_INVALID_PROPERTY),
                           "no property of the class " + toUtf8(definition.name) + " matches " + toUtf8(pattern));
    }
    return result;
}

const Property& propertyOf(const ClassDefinition& definition, std::wstring_view name)
{
    const Property* property = isSystemName(name) ? findSystemProperty(name) : findByHeading(definition, name);
    if (property == nullptr) {
        throw RequestError(code(WBEM_E_INVALID_PROPERTY), "the class " + toUtf8(definition.name) + " has no property " +
                                                              toUtf8(name) +
                                                              suggestionAmong(name, definition.properties));
    }
    return *property;
}

void applyConditions(Objects& objects, const ClassDefinition& definition, const CommandOptions& options)
{
    for (const wql::Condition& condition : options.conditions) {
        std::erase_if(objects, [&](const ComPtr<IWbemClassObject>& object) {
            return !wql::holds(condition, definition, *object.get()).value_or(false);
        });
    }
}

}  // namespace wmihost
