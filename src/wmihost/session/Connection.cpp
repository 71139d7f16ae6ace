#include "wmihost/session/Connection.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::vector<const Property*> keysOf(const ClassDefinition& definition)
{
    std::vector<const Property*> keys;
    for (const Property& property : definition.properties) {
        if (property.isKey()) {
            keys.push_back(&property);
        }
    }
    return keys;
}

std::vector<std::wstring> namesOf(const std::vector<const Property*>& properties)
{
    std::vector<std::wstring> names;
    for (const Property* property : properties) {
        names.push_back(property->name);
    }
    return names;
}

std::string listed(const std::vector<std::wstring>& names)
{
    std::string text;
    for (const std::wstring& name : names) {
        text += (text.empty() ? "" : ", ") + toUtf8(name);
    }
    return text;
}

[[noreturn]] void refuse(const std::string& reason)
{
    throw RequestError(code(WBEM_E_INVALID_OBJECT_PATH), reason);
}

// Refuses slips before a request is made: a name that is not a key of the class, a text without its quotes, or a key
// without a value.
void checkKeys(const ObjectPath& path, const ClassDefinition& definition)
{
    const std::string className = toUtf8(definition.name);
    const auto keys = keysOf(definition);
    std::vector<std::wstring> missing = namesOf(keys);
    const std::vector<std::wstring> all = missing;
    for (const PathKey& key : path.keys) {
        const std::wstring& name = key.name.empty() ? all.front() : key.name;
        const auto found =
            std::find_if(keys.begin(), keys.end(), [&name](const Property* p) { return sameName(p->name, name); });
        if (found == keys.end()) {
            refuse("the class " + className + " has no key " + toUtf8(name) + suggestion(name, all));
        }
        if (!key.quoted && isTextual((*found)->type)) {
            refuse("the key " + toUtf8((*found)->name) + " is a text, and its value stands without quotes; " +
                   quotesAdvice());
        }
        std::erase_if(missing, [&name](const std::wstring& other) { return sameName(other, name); });
    }
    if (!missing.empty()) {
        refuse("the path lacks the " + std::string(missing.size() == 1 ? "key " : "keys ") + listed(missing) +
               "; a path of the class " + className + " names each of " + listed(all));
    }
}

// The path; the short form Class="value" gets the name of the only key.
std::wstring withKeyName(const ObjectPath& path, const ClassDefinition& definition)
{
    const std::vector<std::wstring> keys = namesOf(keysOf(definition));
    if (keys.size() != 1) {
        refuse("the class " + toUtf8(definition.name) +
               (keys.empty() ? " has no keys" : " has several keys, and the path must name each: " + listed(keys)));
    }
    std::wstring text = path.relative;
    return text.insert(path.className.size(), L"." + keys.front());
}

void checkServer(const std::wstring& server)
{
    if (!server.empty() && server != L"." && !sameName(server, serverName()) && !sameName(server, L"localhost")) {
        throw RequestError(code(WBEM_E_TRANSPORT_FAILURE),
                           "the path leads to the machine " + toUtf8(server) + "; this is " + toUtf8(serverName()));
    }
}

}  // namespace

InstanceTarget Connection::find(const ObjectPath& path, std::wstring_view nameSpace) const
{
    checkServer(path.server);
    ClassTarget target = findClass(path.className, path.nameSpace.empty() ? nameSpace : path.nameSpace);
    std::wstring relative = path.relative;
    if (!path.keys.empty() && knowsKeys(*target.definition)) {
        if (path.keys.front().name.empty()) {
            relative = withKeyName(path, *target.definition);
        }
        checkKeys(path, *target.definition);
    }
    return {std::move(target), requestPath(path.prefix, relative)};
}

InstanceTarget Connection::findInstance(std::wstring_view path, std::wstring_view nameSpace) const
{
    const ObjectPath parsed = ObjectPath::parse(path);
    InstanceTarget result = find(parsed, nameSpace);
    if (!parsed.isInstance()) {
        refuse("the path names a class; the path of an instance has keys");
    }
    return result;
}

InstanceTarget Connection::findMethodTarget(std::wstring_view path, std::wstring_view nameSpace) const
{
    return find(ObjectPath::parse(path), nameSpace);
}

std::vector<ClassTarget> Connection::derivedClasses(const ClassTarget&) const
{
    return {};
}

bool Connection::hasProvider(const ClassTarget&) const
{
    return true;
}

std::optional<RequestResult> Connection::query(const std::wstring&, std::wstring_view, const RequestOptions&)
{
    return std::nullopt;
}

std::wstring Connection::requestPath(const std::wstring& prefix, const std::wstring& relative) const
{
    return prefix + relative;
}

bool Connection::knowsKeys(const ClassDefinition&) const
{
    return true;
}

}  // namespace wmihost
