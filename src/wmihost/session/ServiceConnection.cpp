#include "wmihost/session/ServiceConnection.h"

#include <algorithm>
#include <array>
#include <optional>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ClassRepository.h"
#include "wmihost/session/ClassReader.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr std::wstring_view PROFILE_NAMESPACE = L"root\\interop";
constexpr std::wstring_view MACHINE_NAMESPACE = L"root\\cimv2";

// The namespaces to search if the user names none.
constexpr std::array SEARCHED{ADAPTER_NAMESPACE, PROFILE_NAMESPACE, MACHINE_NAMESPACE};

}  // namespace

ServiceConnection::ServiceConnection(ServiceCalls calls, Impersonation impersonation) : m_calls(calls)
{
    m_options.impersonation = impersonation;
}

const ServiceSession& ServiceConnection::open(const std::wstring& nameSpace) const
{
    const std::lock_guard lock(m_mutex);
    auto& session = m_sessions[foldName(nameSpace)];
    if (!session) {
        session = std::make_unique<ServiceSession>(nameSpace, m_calls);
    }
    return *session;
}

ComPtr<IWbemClassObject> ServiceConnection::classObject(std::wstring_view className,
                                                        const std::wstring& nameSpace) const
{
    RequestResult result = open(nameSpace).get(className, m_options);
    if (result.status == code(WBEM_E_NOT_FOUND) || result.status == code(WBEM_E_INVALID_CLASS)) {
        return {};
    }
    if (FAILED(result.status) || result.objects.empty()) {
        throw RequestError(FAILED(result.status) ? result.status : code(WBEM_E_FAILED),
                           "WMI does not deliver the class " + toUtf8(className) + " of " + toUtf8(nameSpace));
    }
    return std::move(result.objects.front());
}

ClassTarget ServiceConnection::findClass(std::wstring_view className, std::wstring_view nameSpace) const
{
    const auto find = [&](const std::wstring& place) {
        const std::pair key(foldName(place), foldName(className));
        {
            const std::lock_guard lock(m_mutex);
            if (const auto known = m_classes.find(key); known != m_classes.end()) {
                return known->second;
            }
        }
        const auto object = classObject(className, place);
        ClassPointer definition = object ? readClass(*object.get(), place) : nullptr;
        if (definition) {
            const std::lock_guard lock(m_mutex);
            m_classes[key] = definition;
        }
        return definition;
    };
    if (!nameSpace.empty()) {
        const std::wstring place = ClassRepository::plainName(nameSpace);
        if (ClassPointer found = find(place)) {
            return {place, std::move(found)};
        }
        throw RequestError(code(WBEM_E_INVALID_CLASS),
                           "the namespace " + toUtf8(place) + " of this machine has no class " + toUtf8(className));
    }
    std::string places;
    for (const std::wstring_view candidate : SEARCHED) {
        const std::wstring place(candidate);
        places += (places.empty() ? "" : ", ") + toUtf8(place);
        try {
            if (ClassPointer found = find(place)) {
                return {place, std::move(found)};
            }
        } catch (const RequestError& error) {
            // A machine without the product does not have its namespaces.
            if (error.status() != code(WBEM_E_INVALID_NAMESPACE)) {
                throw;
            }
        }
    }
    throw RequestError(code(WBEM_E_INVALID_CLASS), "WMI has no class " + toUtf8(className) + " in " + places +
                                                       "; --namespace names another namespace");
}

std::vector<ClassTarget> ServiceConnection::classes(std::wstring_view nameSpace) const
{
    const std::vector<std::wstring> places =
        nameSpace.empty() ? std::vector<std::wstring>{std::wstring(ADAPTER_NAMESPACE), std::wstring(PROFILE_NAMESPACE)}
                          : std::vector<std::wstring>{ClassRepository::plainName(nameSpace)};
    std::vector<ClassTarget> result;
    for (const std::wstring& place : places) {
        const RequestResult listed = open(place).classes(m_options);
        if (FAILED(listed.status)) {
            throw RequestError(listed.status, "WMI does not list the classes of " + toUtf8(place));
        }
        for (const auto& object : listed.objects) {
            if (!textOf(*object.get(), L"__CLASS").starts_with(L"__")) {
                result.push_back({place, readClass(*object.get(), place)});
            }
        }
    }
    return result;
}

const ServiceSession& ServiceConnection::sessionFor(const ClassTarget& target)
{
    return open(target.nameSpace);
}

std::optional<RequestResult> ServiceConnection::query(const std::wstring& nameSpace, std::wstring_view text,
                                                      const RequestOptions& options)
{
    return open(nameSpace).query(text, options);
}

ComPtr<IWbemClassObject> ServiceConnection::makeArguments(const ClassTarget& target, const Method& method)
{
    if (!method.in) {
        return {};
    }
    const auto definition = classObject(target.definition->name, target.nameSpace);
    ComPtr<IWbemClassObject> signature;
    ComPtr<IWbemClassObject> arguments;
    HRESULT result = definition ? definition->GetMethod(method.name.c_str(), 0, signature.put(), nullptr)
                                : code(WBEM_E_INVALID_CLASS);
    if (SUCCEEDED(result) && !signature) {
        return {};
    }
    if (SUCCEEDED(result)) {
        result = signature->SpawnInstance(0, arguments.put());
    }
    if (FAILED(result)) {
        throw RequestError(result, "WMI makes no object for the arguments of " + toUtf8(method.name));
    }
    return arguments;
}

std::wstring ServiceConnection::requestPath(const std::wstring&, const std::wstring& relative) const
{
    return relative;
}

bool ServiceConnection::knowsKeys(const ClassDefinition& definition) const
{
    return std::any_of(definition.properties.begin(), definition.properties.end(),
                       [](const Property& property) { return property.isKey(); });
}

}  // namespace wmihost
