#include "wmihost/commands/Requests.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "wmihost/com/Guard.h"
#include "wmihost/com/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"
#include "wmihost/wql/Condition.h"

namespace wmihost {
namespace {

// Below this, an enumeration is over before anybody could read how far it is.
constexpr unsigned worthReporting = 20;

void reportProgress(Progress progress)
{
    const unsigned done = progress.index + 1;
    if (progress.total < worthReporting) {
        return;
    }
    const bool last = done == progress.total;
    writeError("\r" + std::to_string(done) + " of " + std::to_string(progress.total) + (last ? "\n" : ""));
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

// A system property that a user may want to see; classes do not declare it.
Property systemText(const wchar_t* name)
{
    Property property;
    property.name = name;
    return property;
}

}  // namespace

Objects enumerateInstances(Connection& connection, const ClassTarget& target, const CommandOptions& options)
{
    RequestOptions request = requestOptions(options);
    if (errorIsTerminal()) {
        request.onProgress = reportProgress;
    }
    const std::vector<ClassTarget> derived = connection.derivedClasses(target);
    Objects objects;
    // A class without a provider is asked for only where nobody else could answer, and fails.
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
    RequestResult result = connection.sessionFor(instance.target).get(instance.path, requestOptions(options));
    check(result);
    if (result.objects.size() != 1) {
        throw RequestError(code(WBEM_E_PROVIDER_FAILURE),
                           "the provider delivered " + std::to_string(result.objects.size()) + " objects, not one");
    }
    return result.objects.front();
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
    // WMI hands the provider a null object when the client gave none or the method takes none, and so does this.
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

void assign(IWbemClassObject& object, const ClassDefinition& definition, const Assignment& assignment)
{
    const Property& property = propertyOf(definition, assignment.first);
    Variant value;
    if (!sameName(assignment.second, L"null")) {
        try {
            value = valueFromText(assignment.second, property.type);
        } catch (const ValueError& error) {
            throw UsageError(toUtf8(property.name) + ": " + error.what());
        }
    }
    checkCall(object.Put(property.name.c_str(), 0, value.in(), 0), "the object takes no such value");
}

const Property& propertyOf(const ClassDefinition& definition, std::wstring_view name)
{
    static const std::array systemTexts{
        systemText(L"__PATH"),   systemText(L"__RELPATH"),   systemText(L"__CLASS"),     systemText(L"__DYNASTY"),
        systemText(L"__SERVER"), systemText(L"__NAMESPACE"), systemText(L"__SUPERCLASS")};
    const auto* system = std::find_if(systemTexts.begin(), systemTexts.end(),
                                      [name](const Property& p) { return sameName(p.name, name); });
    const Property* property = system == systemTexts.end() ? definition.findProperty(name) : system;
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
