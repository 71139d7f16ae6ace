#include "broker/Methods.h"

#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/classes/ClassNames.h"
#include "broker/model/Names.h"
#include "core/MethodErrors.h"

namespace broker {

namespace {

// Return values that clients know from the class definitions.
constexpr std::uint32_t COMPLETED = 0;
constexpr std::uint32_t NOT_SUPPORTED = 1;
constexpr std::uint32_t FAILED = 4;
constexpr std::uint32_t INVALID_PARAMETER = 5;
constexpr std::uint32_t IN_USE = 6;
constexpr std::uint32_t JOB_STARTED = 4096;
constexpr std::uint32_t INVALID_STATE_TRANSITION = 4097;

// The only input argument of a method; null if it is missing or null. An argument with another name is an error unless
// it is null.
template <class Property>
auto onlyArgument(core::CimPropertyList& arguments, const char* name, core::CimProperty::EPropertyType type)
{
    std::optional<std::decay_t<decltype(std::declval<const Property&>().getValue())>> result;
    auto iterator = arguments.getIterator();
    while (const core::CimProperty* argument = iterator.next()) {
        if (argument->isNull()) {
            continue;
        }
        if (!sameName(argument->getName(), name)) {
            throw wa::EInvalidParameter("Unknown argument " + argument->getName());
        }
        if (argument->getType() != type) {
            throw wa::EInvalidParameter(
                utils::format("Argument %s is of type %d", argument->getName().c_str(), argument->getType()));
        }
        result = static_cast<const Property*>(argument)->getValue();
    }
    return result;
}

std::optional<std::uint16_t> numberArgument(core::CimPropertyList& arguments, const char* name)
{
    return onlyArgument<core::CimPropertyUint16>(arguments, name, core::CimProperty::EPT_UINT16);
}

std::uint16_t requiredArgument(core::CimPropertyList& arguments, const char* name)
{
    const std::optional<std::uint16_t> value = numberArgument(arguments, name);
    if (!value) {
        throw wa::EInvalidParameter(std::string("Argument ") + name + " is missing");
    }
    return *value;
}

// The name, as the class spells it, of the property that clients may change; empty when the class has no such property.
std::string writableProperty(const InstanceStore::Record& record, const std::string& name)
{
    const auto found =
        std::find_if(record.properties.begin(), record.properties.end(), [&name](const core::CimProperty* property) {
            return property->isModifiable() && sameName(property->getName(), name);
        });
    return found == record.properties.end() ? std::string() : (*found)->getName();
}

}  // namespace

const std::array<Methods::Method, 5> Methods::all{{
    {ETHERNET_PORT, "RunLinkDiagnostic", &Methods::runLinkDiagnostic},
    {ETHERNET_PORT, "RequestStateChange", &Methods::requestPortState},
    {CONCRETE_JOB, "RequestStateChange", &Methods::requestJobState},
    {ADAPTER_SETTING, "RestoreDefaults", &Methods::restoreDefaults},
    {DIAGNOSTIC_SETTING, "RestoreDefaults", &Methods::restoreDefaults},
}};

std::uint32_t Methods::invoke(Workspace& workspace, const std::string& methodName, const MethodCall& call)
{
    const std::string className = call.target.instance->getClassName();
    const auto* const method = std::find_if(all.begin(), all.end(), [&className, &methodName](const Method& candidate) {
        return className == candidate.className && sameName(candidate.name, methodName);
    });
    if (method == all.end()) {
        throw wa::EMethodNotSupported(className + " has no method " + methodName);
    }
    return (this->*method->run)(workspace, call);
}

std::uint32_t Methods::runLinkDiagnostic(Workspace& workspace, const MethodCall& call)
{
    const std::optional<std::uint16_t> argument = numberArgument(call.inArguments, "SampleCount");
    const DiagnosticSetting setting = m_settings.diagnosticSetting();
    const std::uint16_t sampleCount = argument.value_or(setting.sampleCount);
    if (!DiagnosticSetting::SAMPLE_COUNTS.contains(sampleCount)) {
        throw wa::EInvalidParameter(utils::format("Argument SampleCount is %d", sampleCount));
    }
    const Jobs::Start start = m_jobs.startDiagnostic(workspace.adapterOf(call.target), setting, sampleCount);
    switch (start.outcome) {
        case StartOutcome::STARTED:
            call.job = workspace.job(start.id);
            return JOB_STARTED;
        case StartOutcome::IN_USE:
            return IN_USE;
        default:
            return FAILED;
    }
}

std::uint32_t Methods::requestPortState(Workspace& workspace, const MethodCall& call)
{
    constexpr std::uint16_t ENABLED = 2;
    constexpr std::uint16_t DISABLED = 3;
    const std::uint16_t requested = requiredArgument(call.inArguments, "RequestedState");
    if (requested != ENABLED && requested != DISABLED) {
        return INVALID_PARAMETER;
    }
    const AdministrativeState state = requested == ENABLED ? AdministrativeState::UP : AdministrativeState::DOWN;
    switch (m_adapters.setAdministrativeState(workspace.adapterOf(call.target), state)) {
        case StateChange::DONE:
            return COMPLETED;
        case StateChange::NOT_SUPPORTED:
            return NOT_SUPPORTED;
        default:
            return FAILED;
    }
}

std::uint32_t Methods::requestJobState(Workspace& /*workspace*/, const MethodCall& call)
{
    constexpr std::uint16_t TERMINATE = 4;
    constexpr std::uint16_t KILL = 5;
    const std::uint16_t requested = requiredArgument(call.inArguments, "RequestedState");
    if (requested != TERMINATE && requested != KILL) {
        return INVALID_PARAMETER;
    }
    const JobState state = requested == TERMINATE ? JobState::TERMINATED : JobState::KILLED;
    const std::string& id = call.target.id;
    if (!m_jobs.isOwned(id) && !m_settings.mayWrite()) {
        throw utils::EForbidden("Ending of " + id + " is not allowed: it was started by somebody else");
    }
    switch (m_jobs.end(id, state)) {
        case EndOutcome::ENDED:
            return COMPLETED;
        case EndOutcome::NOT_RUNNING:
            return INVALID_STATE_TRANSITION;
        default:
            return FAILED;
    }
}

std::uint32_t Methods::restoreDefaults(Workspace& /*workspace*/, const MethodCall& call)
{
    const std::optional<std::vector<std::string>> given =
        onlyArgument<core::CimPropertyString_arr>(call.inArguments, "Names", core::CimProperty::EPT_STRING_ARR);
    if (given && given->empty()) {
        return INVALID_PARAMETER;
    }
    bool isAll = !given;
    std::vector<std::string> names;
    for (const std::string& name : given.value_or(std::vector<std::string>())) {
        if (name == "*") {
            isAll = true;
            continue;
        }
        names.push_back(writableProperty(call.target, name));
        if (names.back().empty()) {
            return INVALID_PARAMETER;
        }
    }
    const std::string key = call.target.instance->getClassName() == ADAPTER_SETTING
                                ? AdapterSetting::key(call.target.id)
                                : DiagnosticSetting::KEY;
    try {
        m_settings.restoreDefaults(key, isAll ? std::vector<std::string>() : names);
        return COMPLETED;
    } catch (const utils::EForbidden&) {
        // The failure has been logged; so has the next one.
        return FAILED;
    } catch (const utils::EFailed&) {
        return FAILED;
    }
}

}  // namespace broker
